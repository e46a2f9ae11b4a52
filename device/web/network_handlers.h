/// Answers of the network resources. The adapter is the first {id} of a path, a profile, session or
/// network the second; an adapter that has no such resource gives 404.
#pragma once

#include "device/web/handlers.h"

namespace varn::web {

/// A plain GET of the library.
Response library_get(const std::function<std::int32_t(char **, std::uint32_t *)> &get);
/// A change that the library made, with the status of its result.
Response library_change(const std::function<std::int32_t()> &change);

/// A GET that takes the adapter.
template <auto function>
Response get_of_adapter(Device &, const Request &request) {
    return library_get([&](char **out, std::uint32_t *length) {
        return function(request.ids[0].c_str(), out, length);
    });
}
/// A GET that takes the adapter and what stands behind it.
template <auto function>
Response get_item(Device &, const Request &request) {
    return library_get([&](char **out, std::uint32_t *length) {
        return function(request.ids[0].c_str(), request.ids[1].c_str(), out, length);
    });
}
template <auto function>
Response delete_item(Device &, const Request &request) {
    return library_change([&] { return function(request.ids[0].c_str(), request.ids[1].c_str()); });
}
/// A PUT that takes the adapter and the document.
template <auto function>
Response change_adapter(Device &, const Request &request) {
    return library_change([&] { return function(request.ids[0].c_str(), request.body.c_str()); });
}

Response put_profile(Device &device, const Request &request);
/// Every network in range, or the first of that name: "?SSID=NAME".
Response get_wifi_networks(Device &device, const Request &request);
/// 201 with a Location. There is one session in the device, so it is always the same.
Response post_pin_session(Device &device, const Request &request);
Response post_push_button(Device &device, const Request &request);
Response put_io_config(Device &device, const Request &request);

/// A PUT that may write the SNMP file and then gives its size.
Response put_snmp_document(const Device &device, const Request &request,
                           std::int32_t (*put)(const char *xml));
template <auto function>
Response put_snmp(Device &device, const Request &request) {
    return put_snmp_document(device, request, function);
}

} // namespace varn::web
