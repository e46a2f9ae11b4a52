#include "device/web/handlers.h"

#include "device/wire/places.h"
#include "platform/mvtc.h"
#include "varn/varn.h"

#include <array>

namespace varn::web {

using namespace std::chrono_literals;

Response created_at(const Request &request, std::string_view path) {
    const bool secure = request.interface == Interface::https;
    Response response;
    response.status = 201;
    response.location.append(secure ? "https://" : "http://").append(request.host).append(path);
    return response;
}

Response get_scanner_capabilities(Device &, const Request &request) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    eSCL_GetScanCapa(&buffer, &length, connection_word(request.interface));
    return document_response(buffer, length);
}

Response get_scanner_status(Device &device, const Request &) {
    EngineSocket &engine = device.status_socket();
    char *buffer = nullptr;
    std::uint32_t length = 0;
    // The engine may have been started again since the last request: one new connection then.
    for (int attempt = 0; attempt < 2 && !buffer; ++attempt) {
        if (!engine || attempt > 0)
            engine = EngineSocket(device.root(), wire::action_socket);
        if (!engine)
            break;
        const std::int32_t result = escl_get_scanner_status(engine.get(), &buffer, &length);
        if (result != 0) {
            std::free(buffer);
            return error_response(http_status(result), "");
        }
    }
    if (!buffer)
        return error_response(503, "the scan engine does not answer");
    return document_response(buffer, length);
}

Response put_scan_buffer_info(Device &, const Request &request) {
    std::string xml = request.body;
    char *buffer = nullptr;
    std::uint32_t length = 0;
    if (escl_get_scanbufferinfo(xml.data(), static_cast<std::uint32_t>(xml.size()), &buffer,
                                &length) == 0)
        return document_response(buffer, length);
    std::free(buffer);
    return error_response(500, "");
}

namespace {

Response answer_start(const ScanJobs::Started &started, const Request &request) {
    switch (started.status) {
    case 201:
        break;
    case 409:
        return error_response(409, "settings refused, or no paper in the feeder");
    case 503:
        return error_response(503, "the scanner is busy or not available");
    default:
        return error_response(started.status, "");
    }
    return created_at(request, "/eSCL/ScanJobs/" + started.uuid);
}

/// What eSCLConfig says. An engine that does not answer will say so when the scan starts.
bool is_switched_off() {
    std::array<std::uint8_t, 212> block = {};
    constexpr std::size_t escl_switch = 27;
    return mvtc_read_h1_parameter(static_cast<std::uint32_t>(varn_mvt_fd), block.data(),
                                  block.size(), MVTC_PARAM_WEB) >= 0 &&
           block[escl_switch] == 0;
}

} // namespace

Response post_scan_job(Device &device, const Request &request, const WithLocks &with_locks) {
    if (is_switched_off())
        return error_response(404, "scanning by hosts is switched off");
    const bool only_stored = request.body.find("StoredJobRequest") != std::string::npos;
    ScanJobs::Claim claim = device.jobs().claim(request.interface, only_stored);
    if (!claim.granted)
        return answer_start({503, {}}, request);
    return with_locks([&] {
        std::string xml = request.body;
        return answer_start(device.jobs().start(claim.job, xml, request.interface), request);
    });
}

Response delete_scan_job(Device &device, const Request &request, const WithLocks &with_locks) {
    const ScanJobPtr job = device.jobs().find(request.uuid);
    if (!job)
        return error_response(404, "no such job");
    if (job->has_ended())
        return with_locks([&] {
            if (parse_ReserveScanJob_Setting(nullptr, job->uuid.c_str()) == 0)
                escl_cancel_RJscan(varn_mvt_fd, job->uuid.c_str());
            return Response();
        });
    device.jobs().cancel(job);
    // The client's next request finds the device free.
    device.jobs().wait_for_end(job, 2s);
    return {};
}

Response get_scan_image_info(Device &device, const Request &request) {
    const ScanJobPtr job = device.jobs().find(request.uuid);
    if (!job || !device.jobs().is_latest(job))
        return error_response(404, "no such job");
    char *buffer = nullptr;
    std::uint32_t length = 0;
    if (escl_get_scanimageinfo(&buffer, &length, job->uuid.c_str()) == 0)
        return document_response(buffer, length);
    std::free(buffer);
    return error_response(404, "no image yet");
}

} // namespace varn::web
