#include "device/web/handlers.h"

#include "varn/events.h"

#include <algorithm>
#include <cstring>

namespace varn::web {
namespace {

/// "3-17", short enough for the filter.
bool is_stamp(std::string_view text) {
    const auto is_number = [](std::string_view digits) {
        return !digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos;
    };
    const auto dash = std::min(text.find('-'), text.size());
    return text.size() < sizeof varn_event_filter::stamp && is_number(text.substr(0, dash)) &&
           is_number(text.substr(std::min(dash + 1, text.size())));
}

/// What the device says that it can tell of.
bool is_category(const std::string &name) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    const bool read = VARN_GetEventCapabilities(&buffer, &length) == 0;
    const Document capabilities(buffer, length);
    return read && name.size() < sizeof varn_event_filter::category &&
           capabilities.text().find(">" + name + "<") != std::string_view::npos;
}

/// None after a refusal.
std::optional<varn_event_filter> read_filter(const std::string &query, Response &refusal) {
    varn_event_filter filter = {};
    const auto fields = decode_query(query);
    if (!fields) {
        refusal = error_response(400, "query");
        return std::nullopt;
    }
    for (const auto &[name, value] : *fields) {
        if (name == "AgingStamp" && is_stamp(value)) {
            filter.flags |= VARN_EVENT_FILTER_STAMP;
            std::strcpy(filter.stamp, value.c_str());
        } else if (name == "EventCategory" && is_category(value)) {
            filter.flags |= VARN_EVENT_FILTER_CATEGORY;
            std::strcpy(filter.category, value.c_str());
        } else {
            refusal = error_response(400, "the filters are AgingStamp=3-17 and EventCategory with "
                                          "one of /EventMgmt/EventCapabilities");
            return std::nullopt;
        }
    }
    return filter;
}

} // namespace

Response get_event_table(Device &, const Request &request) {
    Response response;
    const auto filter = read_filter(request.query, response);
    if (!filter)
        return response;
    char *buffer = nullptr;
    std::uint32_t length = 0;
    char stamp[VARN_EVENT_STAMP_SIZE] = "";
    const std::int32_t result = VARN_GetEventTable(&*filter, &buffer, &length, stamp);
    if (result != 0) {
        std::free(buffer);
        return error_response(http_status(result), "");
    }
    if (length == 0)
        response.status = 204;
    else
        response = document_response(buffer, length);
    response.entity_tag = stamp;
    return response;
}

} // namespace varn::web
