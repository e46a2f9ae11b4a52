#include "fuzz/device.h"
#include "fuzz/targets.h"

#include "device/web/device.h"
#include "device/web/login.h"
#include "device/web/request_check.h"
#include "device/web/resource_map.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace varn::fuzz {
namespace {

std::string_view take_until(std::string_view &text, std::string_view end) {
    const size_t at = std::min(text.find(end), text.size());
    const std::string_view part = text.substr(0, at);
    text.remove_prefix(std::min(at + end.size(), text.size()));
    return part;
}

/// A head as the HTTP library hands it over: lines split, the query apart from its path.
struct Head {
    std::vector<web::Field> fields;
    web::RequestHead head;

    explicit Head(std::string_view &text) {
        std::string_view line = take_until(text, "\r\n");
        head.method = take_until(line, " ");
        std::string_view target = take_until(line, " ");
        head.version = line.substr(std::min<size_t>(line.find('/') + 1, line.size()));
        head.target = take_until(target, "?");
        head.query = target;
        while (!text.empty()) {
            std::string_view field = take_until(text, "\r\n");
            if (field.empty())
                break;
            const std::string_view name = take_until(field, ":");
            fields.push_back(
                {name, field.substr(std::min(field.find_first_not_of(' '), field.size()))});
        }
        head.fields = fields;
    }
};

/// What waits for somebody else has no end here.
bool waits(const web::Resource &resource) {
    return std::holds_alternative<web::Stream>(resource.adapter) ||
           std::holds_alternative<web::LocksLater>(resource.adapter);
}

web::Device &served_device() {
    static web::Device served(device().root(), -1);
    return served;
}

/// Of a device whose administrator has set a password, in a place of its own: the library's calls
/// meet none.
web::Login &login() {
    static web::Login required = [] {
        const std::string root = device().root() + "/login";
        std::filesystem::create_directories(root + "/etc");
        return web::Login(root);
    }();
    static const bool is_set = required.set_password("scanner");
    if (!is_set)
        abort();
    return required;
}

struct Entrance {
    web::Interface interface;
    bool asks_for_login;
};

void serve(const Entrance &entrance, std::string_view text) {
    const Head head(text);
    web::Peer peer;
    peer.address = "192.0.2.1";
    peer.login = entrance.asks_for_login ? &login() : nullptr;
    web::CheckedRequest checked =
        web::check_request(head.head, entrance.interface, "127.0.0.1:8080", peer);
    if (checked.refusal || checked.plan.resource == nullptr) {
        if (checked.refusal)
            web::response_head(*checked.refusal, 0, false, false);
        return;
    }
    web::Plan &plan = checked.plan;
    if (plan.has_body()) {
        const auto read = [&](char *buffer, size_t size) {
            const size_t n = text.copy(buffer, size);
            text.remove_prefix(n);
            return static_cast<int>(n);
        };
        if (web::read_body(read, plan.framing, {64 * 1024, std::chrono::seconds(1)},
                           plan.request.body) != 0 ||
            plan.request.body.find('\0') != std::string::npos)
            return;
    }
    if (waits(*plan.resource))
        return;
    web::ImageSink sink;
    const web::SharedResponse response = served_device().answer(*plan.resource, plan.request, sink);
    if (response)
        web::response_head(*response, response->body().size(), false, true);
}

} // namespace

void take_http(Input input) {
    constexpr Entrance entrances[] = {
        {web::Interface::eth0, false}, {web::Interface::usb, false}, {web::Interface::https, false},
        {web::Interface::eth0, true},  {web::Interface::usb, true},  {web::Interface::https, true}};
    const Entrance &entrance = choose(entrances, input);
    // The engine is not there: its answers are zeros.
    serve(entrance, {reinterpret_cast<const char *>(input.data()), input.size()});
}

} // namespace varn::fuzz
