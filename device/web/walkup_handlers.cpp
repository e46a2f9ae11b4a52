#include "device/web/handlers.h"

#include "varn/walkup_destinations.h"
#include "varn/walkup_subscriptions.h"

namespace varn::web {
namespace {

constexpr std::string_view subscriptions_path = "/eSCL/WalkupSubscriptions/";
constexpr std::string_view destinations_path = "/WalkupScanToComp/WalkupScanToCompDestinations/";

Response answer_create(int status, const Request &request, std::string_view path,
                       const char *uuid) {
    switch (status) {
    case 200:
        break;
    case 400:
        return error_response(400, "not a document of this resource");
    case 409:
        return error_response(409, "no room for another host, or more shortcuts than it may have");
    default:
        return error_response(status, "");
    }
    // The engine may have told it: nothing else gets into a field of the response.
    if (!uuid || !is_uuid(uuid))
        return error_response(500, "no identifier");
    return created_at(request, std::string(path) + uuid);
}

std::string destination_uri(const Request &request) {
    return std::string(destinations_path) + request.uuid;
}

Response get_subscription_of(const char *uuid) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    const std::int32_t result = eSCL_GetWalkupSubscription(uuid, &buffer, &length);
    return get_response(result, buffer, length);
}

/// A document of no length is the library's word for one that is not there.
Response get_destination_of(const char *uri) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    const std::int32_t result = VARN_GetWalkupScanDestination(uri, &buffer, &length);
    if (result == 0 && length == 0) {
        std::free(buffer);
        return error_response(404, "no such destination");
    }
    return get_response(result, buffer, length);
}

} // namespace

Response get_walkup_subscriptions(Device &, const Request &) {
    return get_subscription_of(nullptr);
}

Response get_walkup_subscription(Device &, const Request &request) {
    return get_subscription_of(request.uuid.c_str());
}

Response post_walkup_subscription(Device &, const Request &request) {
    char *uuid = nullptr;
    const std::int32_t result = eSCL_CreateWalkupSubscription(request.body.c_str(), &uuid);
    return answer_create(http_status(result), request, subscriptions_path, uuid);
}

Response delete_walkup_subscription(Device &, const Request &request) {
    eSCL_DeleteWalkupSubscription(request.uuid.c_str()); // which knows no failure
    return {};
}

Response take_walkup_event(Device &, const Request &request) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    if (eSCL_GetWalkupScanEvent(request.uuid.c_str(), &buffer, &length) == 1)
        return document_response(buffer, length);
    Response nothing;
    nothing.status = 204;
    return nothing;
}

Response get_walkup_destinations(Device &, const Request &) { return get_destination_of(nullptr); }

Response get_walkup_destination(Device &, const Request &request) {
    return get_destination_of(destination_uri(request).c_str());
}

Response post_walkup_destination(Device &, const Request &request) {
    char *uuid = nullptr;
    const std::int32_t result = VARN_CreateWalkupScanDestination(request.body.c_str(), &uuid, 1);
    // What fails inside is nearly always the document.
    const int status = result == -1 ? 400 : http_status(result);
    return answer_create(status, request, destinations_path, uuid);
}

Response delete_walkup_destination(Device &, const Request &request) {
    if (VARN_DeleteWalkupScanDestination(destination_uri(request).c_str()) != 0)
        return error_response(404, "no such destination");
    return {};
}

Response get_walkup_capabilities(Device &, const Request &) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    const std::int32_t result = VARN_GetWalkupScanCapabilities(&buffer, &length, 0);
    return get_response(result, buffer, length);
}

Response get_destination_event(Device &, const Request &) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    if (VARN_GetWalkupScanEvent(&buffer, &length) == 0)
        return document_response(buffer, length);
    std::free(buffer);
    return error_response(404, "no event yet");
}

} // namespace varn::web
