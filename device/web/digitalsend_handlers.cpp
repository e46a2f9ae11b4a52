#include "device/web/digitalsend_handlers.h"

#include "device/web/network_handlers.h"
#include "varn/send_usb.h"
#include "varn/sharepoint.h"

namespace varn::web {
namespace {

constexpr std::string_view sharepoint_jobs = "/DevMgmt/SharePoint/PredefinedJobs/";
constexpr std::string_view usb_jobs = "/DevMgmt/SendUSB/PredefinedJobs/";
constexpr std::size_t uuid_room = 64;

/// The change, if the body is a document with that root.
Response with_document(const char *root, const Request &request,
                       const std::function<Response()> &change) {
    if (VARN_CheckSharePointDocument(root, request.body.c_str()) != 0)
        return error_response(400, "not a document of this resource");
    return unless_engine_was_away(change);
}

Response answer_create(std::int32_t result, const Request &request, std::string_view path,
                       const char *uuid) {
    if (result == 413)
        return error_response(413, "no room for another job");
    if (result != 0)
        return error_response(http_status(result), "");
    return created_at(request, std::string(path) + uuid);
}

bool has_job(const char *uuid) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    const bool found = VARN_GetSharePointPredefinedJobs_id(uuid, &buffer, &length) == 0;
    std::free(buffer);
    return found;
}

} // namespace

Response post_sharepoint_job(Device &, const Request &request) {
    return with_document("PredefinedJob", request, [&] {
        const std::int32_t result = VARN_PostSharePointDynPredefinedjobs(request.body.c_str());
        // The document was read before: what is left to fail inside is the search for a slot.
        return answer_create(result == -1 ? 413 : result, request, sharepoint_jobs,
                             varn_SP_predefindjob_uuid);
    });
}

Response get_sharepoint_job(Device &, const Request &request) {
    return library_get([&](char **out, std::uint32_t *length) {
        return VARN_GetSharePointPredefinedJobs_id(request.uuid.c_str(), out, length);
    });
}

Response put_sharepoint_job(Device &, const Request &request) {
    return with_document("PredefinedJob", request, [&] {
        if (!has_job(request.uuid.c_str()))
            return error_response(404, "no such job");
        const std::int32_t result =
            VARN_PutSharePointPredefinedJobs_id(request.uuid.c_str(), request.body.c_str());
        return result == 0 ? Response() : error_response(http_status(result), "");
    });
}

Response delete_sharepoint_job(Device &, const Request &request) {
    return library_change(
        [&] { return VARN_DeleteSharePointPredefinedJobs_id(request.uuid.c_str()); });
}

Response clone_sharepoint_job(Device &, const Request &request) {
    return with_document("PredefinedJob", request, [&] {
        char uuid[uuid_room] = {};
        const std::int32_t result =
            VARN_CloneSharePointPredefinedJobs_id(request.body.c_str(), request.uuid.c_str(), uuid);
        return answer_create(result, request, sharepoint_jobs, uuid);
    });
}

Response test_sharepoint_job(Device &, const Request &request) {
    return library_change(
        [&] { return VARN_PostTestSharePointPredefinedJobs_id(request.uuid.c_str()); });
}

Response get_sharepoint_test_result(Device &, const Request &request) {
    return library_get([&](char **out, std::uint32_t *length) {
        return VARN_GetTestResultSharePointPredefinedJobs_id(request.uuid.c_str(), out, length);
    });
}

Response put_sharepoint_service(Device &, const Request &request) {
    return with_document("SharePointService", request, [&] {
        const std::int32_t result = VARN_PutSharePointDyn(request.body.c_str());
        return result == 0 ? Response() : error_response(http_status(result), "");
    });
}

Response put_send_usb(Device &, const Request &request) {
    return unless_engine_was_away([&]() -> Response {
        if (VARN_PutSendUSBServiceDyn(request.body.c_str()) == 0)
            return {};
        return error_response(400, "not a document of this resource, or a path with a sign other "
                                   "than ASCII or one of \\ * ? : \" < > | .");
    });
}

Response post_usb_job(Device &, const Request &request) {
    char uuid[uuid_room] = {};
    if (VARN_PostSendUSBServicePredefinedJobs(request.body.c_str(), uuid) != 0)
        return error_response(400, "not a document of this resource");
    return created_at(request, std::string(usb_jobs) + uuid);
}

} // namespace varn::web
