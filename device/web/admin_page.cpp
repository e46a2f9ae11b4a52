#include "device/web/admin_page.h"

#include "device/web/panel_files.h"

#include <algorithm>

namespace varn::web {
namespace {

constexpr std::size_t longest_password = 200;

} // namespace

Response admin_page(Device &, const Request &request) {
    const std::optional<PanelFile> file = admin_file(request.path);
    if (!file)
        return error_response(404, "");
    Response response;
    response.content_type = file->content_type;
    response.text = file->content;
    return response;
}

Response get_password_state(Device &device, const Request &) {
    Response response;
    response.content_type = "text/plain; charset=utf-8";
    response.text = device.login().is_required() ? "set\n" : "none\n";
    return response;
}

Response put_password(Device &device, const Request &request) {
    const auto is_control = [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
    };
    if (request.body.size() > longest_password || std::ranges::any_of(request.body, is_control))
        return error_response(400, "at most 200 bytes, no control character");
    if (!device.login().set_password(request.body))
        return error_response(500, "the password could not be kept");
    return {};
}

} // namespace varn::web
