/// The resources of an adapter: who has which, and what answers.

#include "frame/document.h"
#include "iomgmt/adapters.h"
#include "varn/io_adapters.h"

#include <cstdio>
#include <cstring>

namespace varn::net {
namespace {

constexpr int32_t not_found = 404;

enum AdapterSet : uint32_t { eth = 1, station = 2, access_point = 4, usb = 8 };
constexpr uint32_t wifi = station | access_point;
constexpr uint32_t networked = eth | wifi;

uint32_t bit_of(const char *adapter) {
    if (strcmp(adapter, "usb") == 0)
        return usb;
    switch (interface_of(adapter)) {
    case Interface::wlan0:
        return station;
    case Interface::wlan1:
        return access_point;
    default:
        return eth;
    }
}

/// Whether the resource exists for the adapter.
bool serves(const char *caller, const char *adapter, uint32_t adapters, const char *detail = "") {
    printf("%s adapter=%s %s\n", caller, adapter != nullptr ? adapter : "", detail);
    if (adapter == nullptr || is_valid_adapter_name(adapter) != 0) {
        printf("Can't find valie name: %s\n", adapter != nullptr ? adapter : "");
        return false;
    }
    return (bit_of(adapter) & adapters) != 0;
}

int32_t ticket_or_404(const char *ticket, char **out_buf, uint32_t *out_len) {
    return common_read_file_data(ticket, out_buf, out_len) < 0 ? not_found : 0;
}

} // namespace
} // namespace varn::net

using namespace varn::net;

extern "C" {

int32_t VARN_GetIoMgmtAdapters(char **out_buf, uint32_t *out_len) {
    constexpr uint32_t all = 15;
    VARN_SGetIoMgmtAdapters(all);
    return common_read_file_data("/tmp/xml_tickets/IoMgmt/Adapters.xml", out_buf, out_len);
}

int32_t VARN_PutIoMgmtAdaptersItem(const char *adapter, const char *xml) {
    if (!serves(__func__, adapter, networked | usb))
        return not_found;
    return VARN_SetAdapterPower(adapter, xml, 0, 0);
}

int32_t VARN_GetIoMgmtAdaptersProfiles(const char *adapter, const char *profile_id, char **out_buf,
                                       uint32_t *out_len) {
    if (!serves(__func__, adapter, networked, profile_id != nullptr ? profile_id : ""))
        return not_found;
    if (interface_of(adapter) == Interface::eth0)
        EthProfile_get(adapter);
    else
        WifiProfile_get(adapter, profile_id);
    return ticket_or_404("/tmp/xml_tickets/IoMgmt/Profiles.xml", out_buf, out_len);
}

int32_t VARN_PutIoMgmtAdaptersProfiles(const char *adapter, const char *profile_id,
                                       const char *xml) {
    if (!serves(__func__, adapter, networked, profile_id != nullptr ? profile_id : ""))
        return not_found;
    return WifiProfile_put(adapter, xml, 0);
}

int32_t VARN_GetIoMgmtAdaptersProtocols(const char *adapter, char **out_buf, uint32_t *out_len) {
    if (!serves(__func__, adapter, networked))
        return not_found;
    Protocol_all_part2(static_cast<int32_t>(interface_of(adapter)));
    return ticket_or_404("/tmp/xml_tickets/IoMgmt/Protocols.xml", out_buf, out_len);
}

int32_t VARN_GetIoMgmtAdaptersNetworkStats(const char *adapter, char **out_buf, uint32_t *out_len) {
    if (!serves(__func__, adapter, networked))
        return not_found;
    if (interface_of(adapter) == Interface::eth0)
        NetworkStats_eth0();
    else
        NetworkStats_wifi0(interface_of(adapter) == Interface::wlan1 ? 1 : 0);
    return ticket_or_404("/tmp/xml_tickets/IoMgmt/NetStat.xml", out_buf, out_len);
}

int32_t VARN_GetIoMgmtAdaptersWifiNetworks(const char *adapter, const char *ssid, char **out_buf,
                                           uint32_t *out_len) {
    if (!serves(__func__, adapter, wifi, ssid != nullptr ? ssid : "@ALL"))
        return not_found;
    if (ssid == nullptr || ssid[0] == '\0')
        Adapter_WifiNetworks(0);
    else
        Adapter_WifiNetworks_SSID(ssid);
    return ticket_or_404("/tmp/xml_tickets/IoMgmt/WifiNetworks.xml", out_buf, out_len);
}

int32_t VARN_GetIoMgmtClientList(const char *adapter, char **out_buf, uint32_t *out_len) {
    if (!serves(__func__, adapter, networked))
        return not_found;
    ClientList_get();
    return ticket_or_404("/tmp/xml_tickets/IoMgmt/ClientList.xml", out_buf, out_len);
}

int32_t VARN_GetIoMgmtVsaCodes(const char *adapter, char **out_buf, uint32_t *out_len) {
    if (!serves(__func__, adapter, networked))
        return not_found;
    VSACodes();
    return ticket_or_404("/tmp/xml_tickets/IoMgmt/VsaCodes.xml", out_buf, out_len);
}

int32_t VARN_GetIoMgmtAdaptersWPSPIN(const char *adapter, char **out_buf, uint32_t *out_len) {
    if (!serves(__func__, adapter, station))
        return not_found;
    Adapters_Wifi0_WPS_PinSessions_Start();
    return ticket_or_404("/tmp/xml_tickets/IoMgmt/WPSPIN.xml", out_buf, out_len);
}

int32_t VARN_PostIoMgmtAdaptersPinSession(const char *adapter, const char *xml) {
    if (!serves(__func__, adapter, station))
        return not_found;
    return Adapters_wifi0_WPS_PinSessions_PUT(xml);
}

int32_t VARN_GetIoMgmtAdaptersPinSession(const char *adapter, const char *session_id,
                                         char **out_buf, uint32_t *out_len) {
    if (!serves(__func__, adapter, station, session_id != nullptr ? session_id : ""))
        return not_found;
    Adapters_wifi0_WPS_PinSessions();
    return ticket_or_404("/tmp/xml_tickets/IoMgmt/PinSession.xml", out_buf, out_len);
}

int32_t VARN_DeleteIoMgmtAdaptersPinSession(const char *adapter, const char *session_id) {
    if (!serves(__func__, adapter, station, session_id != nullptr ? session_id : ""))
        return not_found;
    return Adapters_wifi0_WPS_Delete_PinSessions();
}

int32_t VARN_PostIoMgmtAdaptersPushButton(const char *adapter) {
    if (!serves(__func__, adapter, station))
        return not_found;
    return Adapters_wifi0_WPS_PushButtonRun();
}

int32_t VARN_GetIoMgmtAdaptersPushButton(const char *adapter, const char *session_id,
                                         char **out_buf, uint32_t *out_len) {
    if (!serves(__func__, adapter, station, session_id != nullptr ? session_id : ""))
        return not_found;
    Adapters_wifi0_WPS_PushButtonSessions();
    return ticket_or_404("/tmp/xml_tickets/IoMgmt/PushButton.xml", out_buf, out_len);
}

int32_t VARN_DeleteIoMgmtAdaptersPushButton(const char *adapter, const char *session_id) {
    if (!serves(__func__, adapter, station, session_id != nullptr ? session_id : ""))
        return not_found;
    return Adapters_wifi0_WPS_PushButtonCancel();
}

int32_t VARN_GetIoMgmtCap(char **out_buf, uint32_t *out_len) {
    varn_usbd_info record = {};
    update_usbd_information(&record);
    return common_read_file_data("/tmp/xml_tickets/IoMgmt/IoMgmtCap.xml", out_buf, out_len);
}

int32_t VARN_GetIoMgmtManifest(char **out_buf, uint32_t *out_len) {
    return common_read_file_data("/tmp/xml_tickets/IoMgmt/IoMgmtManifest.xml", out_buf, out_len);
}
}
