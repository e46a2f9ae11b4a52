#include "fuzz/device.h"
#include "fuzz/targets.h"

#include "device/web/device.h"
#include "device/web/request_check.h"
#include "device/web/resource_map.h"

#include <algorithm>
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

void serve(web::Interface interface, std::string_view text) {
    const Head head(text);
    web::CheckedRequest checked = web::check_request(head.head, interface, "127.0.0.1:8080");
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
    constexpr web::Interface interfaces[] = {web::Interface::eth0, web::Interface::usb,
                                             web::Interface::https};
    const web::Interface interface = choose(interfaces, input);
    // The engine is not there: its answers are zeros.
    serve(interface, {reinterpret_cast<const char *>(input.data()), input.size()});
}

} // namespace varn::fuzz
