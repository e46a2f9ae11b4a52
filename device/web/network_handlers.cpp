#include "device/web/network_handlers.h"

#include "varn/io_adapters.h"
#include "varn/io_config.h"

#include <unistd.h>

namespace varn::web {
namespace {

constexpr char only_session[] = "/1";

Response answer_post(const Request &request, const std::function<std::int32_t()> &post) {
    const Response response = library_change(post);
    return response.status == 200 ? created_at(request, request.path + only_session) : response;
}

} // namespace

Response library_get(const std::function<std::int32_t(char **, std::uint32_t *)> &get) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    const std::int32_t result = get(&buffer, &length);
    return get_response(result, buffer, length);
}

Response library_change(const std::function<std::int32_t()> &change) {
    return unless_engine_was_away([&] {
        const std::int32_t result = change();
        return result == 0 ? Response() : error_response(http_status(result), "");
    });
}

Response put_profile(Device &, const Request &request) {
    return library_change([&] {
        return VARN_PutIoMgmtAdaptersProfiles(request.ids[0].c_str(), request.ids[1].c_str(),
                                              request.body.c_str());
    });
}

Response get_wifi_networks(Device &, const Request &request) {
    std::string ssid;
    if (!request.query.empty()) {
        const auto fields = decode_query(request.query);
        if (!fields || fields->size() != 1 || fields->front().first != "SSID")
            return error_response(400, "the query is SSID=NAME");
        ssid = fields->front().second;
    }
    return library_get([&](char **out, std::uint32_t *length) {
        return VARN_GetIoMgmtAdaptersWifiNetworks(request.ids[0].c_str(), ssid.c_str(), out,
                                                  length);
    });
}

Response post_pin_session(Device &, const Request &request) {
    return answer_post(request, [&] {
        return VARN_PostIoMgmtAdaptersPinSession(request.ids[0].c_str(), request.body.c_str());
    });
}

Response post_push_button(Device &, const Request &request) {
    return answer_post(request,
                       [&] { return VARN_PostIoMgmtAdaptersPushButton(request.ids[0].c_str()); });
}

Response put_io_config(Device &, const Request &request) {
    return library_change(
        [&] { return VARN_PutIoConfig(request.path.c_str(), request.body.c_str()); });
}

Response put_snmp_document(const Device &device, const Request &request,
                           std::int32_t (*put)(const char *xml)) {
    const std::string file = device.root() + "/datafs/snmp.xml";
    return unless_engine_was_away([&]() -> Response {
        // -1 is a document that cannot be read, or the size of a file that was made just now.
        const bool was_there = access(file.c_str(), F_OK) == 0;
        const bool done = put(request.body.c_str()) >= 0;
        if (done || (!was_there && access(file.c_str(), F_OK) == 0))
            return {};
        return error_response(400, "not a document of this resource");
    });
}

} // namespace varn::web
