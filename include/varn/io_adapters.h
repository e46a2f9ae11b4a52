/// The network adapters: one document about all, the resources of each, and their power.
///
/// Four adapters exist: "usb", "eth0", "wifi0" (station, interface wlan0) and "wifi1" (access
/// point, interface wlan1). The functions that take an adapter's name give 404 for any other name
/// (null included), for an adapter that has no such resource, and when the ticket cannot be read
/// back. Values come from the status block of the net service, read afresh by each call
/// (iomgmt/status_block.h). A GET stores a calloc block that the caller frees. A document that does
/// not parse is acted on as far as it was read; a null one gives -1 and does nothing.
///
/// What must not overlap: two calls with the same ticket, two PUTs or POSTs (shared reader), two
/// GETs that use MyMalloc.
#ifndef VARN_IO_ADAPTERS_H
#define VARN_IO_ADAPTERS_H

#include "varn/base.h"

struct soap;
struct io__Adapter;
struct io__Adapters;
struct io__WifiNetwork;
struct io__WifiNetworks;
struct io__Profile;
struct io__Protocol;

VARN_BEGIN_DECLS

/// GET of "/IoMgmt/Adapters": usb, eth0, wifi0 and wifi1. Ticket "/tmp/xml_tickets/IoMgmt/
/// Adapters.xml". 0 or -1.
VARN_API int32_t VARN_GetIoMgmtAdapters(char **out_buf, uint32_t *out_len);
/// PUT of "/IoMgmt/Adapters/{adapter}": power on or off (VARN_SetAdapterPower). For all four. 0,
/// -1 or 404.
VARN_API int32_t VARN_PutIoMgmtAdaptersItem(const char *adapter, const char *xml);
/// GET of ".../Profiles/{id}" for eth0, wifi0, wifi1. Every id names the one profile that there
/// is. Ticket "/tmp/xml_tickets/IoMgmt/Profiles.xml". 0 or 404.
VARN_API int32_t VARN_GetIoMgmtAdaptersProfiles(const char *adapter, const char *profile_id,
                                                char **out_buf, uint32_t *out_len);
/// PUT of the same (WifiProfile_put). A profile of wifi0 that names a network takes eight seconds:
/// the net service joins it meanwhile. 0, -1 or 404.
VARN_API int32_t VARN_PutIoMgmtAdaptersProfiles(const char *adapter, const char *profile_id,
                                                const char *xml);
/// GET of ".../Protocols": what is live, IPv4 then IPv6. Ticket "/tmp/xml_tickets/IoMgmt/
/// Protocols.xml". 0 or 404.
VARN_API int32_t VARN_GetIoMgmtAdaptersProtocols(const char *adapter, char **out_buf,
                                                 uint32_t *out_len);
/// GET of ".../NetworkStats". Ticket "/tmp/xml_tickets/IoMgmt/NetStat.xml". 0 or 404.
VARN_API int32_t VARN_GetIoMgmtAdaptersNetworkStats(const char *adapter, char **out_buf,
                                                    uint32_t *out_len);
/// GET of ".../WifiNetworks" (wifi0, wifi1): the networks in range; with `ssid` the first of that
/// exact name, and 404 when there is none. Null or "" is all. Ticket "/tmp/xml_tickets/IoMgmt/
/// WifiNetworks.xml". 0 or 404.
VARN_API int32_t VARN_GetIoMgmtAdaptersWifiNetworks(const char *adapter, const char *ssid,
                                                    char **out_buf, uint32_t *out_len);
/// GET of the access point's clients. Ticket "/tmp/xml_tickets/IoMgmt/ClientList.xml". 0 or 404.
VARN_API int32_t VARN_GetIoMgmtClientList(const char *adapter, char **out_buf, uint32_t *out_len);
/// GET of a fixed report. Ticket "/tmp/xml_tickets/IoMgmt/VsaCodes.xml". 0 or 404.
VARN_API int32_t VARN_GetIoMgmtVsaCodes(const char *adapter, char **out_buf, uint32_t *out_len);
/// GET of the device's own WPS PIN (wifi0). The service is asked for it and read at once. Ticket
/// "/tmp/xml_tickets/IoMgmt/WPSPIN.xml". 0 or 404.
VARN_API int32_t VARN_GetIoMgmtAdaptersWPSPIN(const char *adapter, char **out_buf,
                                              uint32_t *out_len);
/// The WPS sessions of wifi0. There is one session, in the net service: an id is not looked at.
/// Starting one by PIN, which goes out as it came; a document without PIN starts nothing. 0, -1
/// or 404.
VARN_API int32_t VARN_PostIoMgmtAdaptersPinSession(const char *adapter, const char *xml);
/// How it goes: processing, success (also when none ever ran) or failure. Ticket
/// "/tmp/xml_tickets/IoMgmt/PinSession.xml". 0 or 404.
VARN_API int32_t VARN_GetIoMgmtAdaptersPinSession(const char *adapter, const char *session_id,
                                                  char **out_buf, uint32_t *out_len);
VARN_API int32_t VARN_DeleteIoMgmtAdaptersPinSession(const char *adapter, const char *session_id);
/// The same by push button. Ticket "/tmp/xml_tickets/IoMgmt/PushButton.xml".
VARN_API int32_t VARN_PostIoMgmtAdaptersPushButton(const char *adapter);
VARN_API int32_t VARN_GetIoMgmtAdaptersPushButton(const char *adapter, const char *session_id,
                                                  char **out_buf, uint32_t *out_len);
VARN_API int32_t VARN_DeleteIoMgmtAdaptersPushButton(const char *adapter, const char *session_id);

/// GET of "/IoMgmt/IoMgmtCap.xml": the ticket "/tmp/xml_tickets/IoMgmt/IoMgmtCap.xml" with the
/// USB link's values. 0 or -1.
VARN_API int32_t VARN_GetIoMgmtCap(char **out_buf, uint32_t *out_len);
/// GET of "/IoMgmt/IoMgmtManifest.xml": the static ticket of that name. 0 or -1.
VARN_API int32_t VARN_GetIoMgmtManifest(char **out_buf, uint32_t *out_len);

/// 0 for "wifi0", "wifi1", "eth0" and "usb", else -1.
VARN_API int32_t is_valid_adapter_name(const char *name);
/// Link of an interface from its carrier file: 1 eth0, 2 wlan0, 3 wlan1. 0 up; -1 down, without a
/// file, or for another type.
VARN_API int32_t get_plugstat(int32_t type);
/// First 16 bytes of "/tmp/usbdinfo.dat", as the USB driver leaves them.
struct varn_usbd_info {
    uint16_t vendor_id;
    uint16_t product_id;
    uint16_t highest_speed; /**< 5 USB 3.0, 3 USB 2.0 high, 2 USB 2.0 full, 1 USB 1.1 */
    uint16_t current_speed;
    uint8_t link_state;
    uint8_t class1;
    uint8_t subclass1;
    uint8_t protocol1;
    uint8_t class2;
    uint8_t subclass2;
    uint8_t protocol2;
    uint8_t reserved15;
};
/// Enters the USB link's values into the capabilities ticket.
/// record    zeroed by the caller; filled from the file when there is one
/// returns   result of common_find_and_update_xmlfile; -1 for null and without memory
VARN_API int32_t update_usbd_information(struct varn_usbd_info *record);
/// Sends the power command of an `io:Adapter` document's `dd:Power`: 13 for a name that holds
/// "wifi1", 12 for "wifi0", else 11, so that "usb" switches eth0.
/// length, ignored   not used: the document is terminated
/// returns           0; -1 for null
VARN_API int32_t VARN_SetAdapterPower(const char *adapter, const char *xml, uint32_t length,
                                      uint32_t ignored);
/// Writes the adapters document for a mask: 1 usb, 2 eth0, 4 wifi0, 8 wifi1. Returns 0.
VARN_API int32_t VARN_SGetIoMgmtAdapters(uint32_t mask);
/// Prepare the document's empty structures in `context`; `flag` is not used, `wifi` 1 adds the
/// network. Return 0; -1 without memory.
VARN_API int32_t varn_default_io__Adapters(struct soap *context, struct io__Adapters *adapters,
                                           uint32_t mask, uint32_t flag);
VARN_API int32_t varn_default_io__Adapter(struct soap *context, struct io__Adapter *adapter,
                                          uint32_t wifi);
/// Fill one prepared adapter, in the memory of MyMalloc's context. Return 0.
VARN_API int32_t varn_GetUsbAdpapter(struct io__Adapter *adapter);
VARN_API int32_t varn_GetLanAdpapter(struct io__Adapter *adapter);
VARN_API int32_t varn_GetWiFi0Adpapter(struct io__Adapter *adapter);
VARN_API int32_t varn_GetWiFi1Adpapter(struct io__Adapter *adapter);

/// Write the ticket of a profile; an unknown adapter is treated as wifi0 is not: only radio
/// features. `profile_id` is not used. Return 0.
VARN_API int32_t WifiProfile_get(const char *adapter, const char *profile_id);
VARN_API int32_t EthProfile_get(const char *adapter);
/// Reads an `io:Profile` and applies it (varn_PutIoProfile), for all three network adapters.
/// length    not used. Returns 0; -1 for null
VARN_API int32_t WifiProfile_put(const char *adapter, const char *xml, uint32_t length);
/// Turns a profile into messages to the net service, in their fixed order, each sent at once. Of
/// the two IPv4 DNS servers an absent one counts as empty. Texts are cut to 255 bytes. Returns 0.
VARN_API int32_t varn_PutIoProfile(const char *adapter, struct io__Profile *profile);
/// Writes the ticket of the live protocols; 0 eth0 (and any other number), 1 wlan0, 2 wlan1.
/// Returns 0.
VARN_API int32_t Protocol_all_part2(int32_t id);
/// Prepares one protocol in `context`: `ip_version` 0 IPv4, 1 IPv6 with as many addresses as the
/// interface has. Returns 0; -1 without memory.
VARN_API int32_t varn_default__io__Protocol(struct soap *context, struct io__Protocol *protocol,
                                            uint32_t ip_version, int32_t id);

/// Write the ticket of the networks in range: all, or the first of exactly this name. Return 0.
VARN_API int32_t Adapter_WifiNetworks(uint32_t ignored);
VARN_API int32_t Adapter_WifiNetworks_SSID(const char *ssid);
/// Fills one prepared entry from a block read for it alone. Returns 0; -1 for null.
VARN_API int32_t varn_GetWifiNetwork(struct io__WifiNetwork *network, uint32_t index);
/// Prepare the list and one entry in `context`. Return 0; -1 without memory.
VARN_API int32_t varn_default__io__WifiNetworks(struct soap *context,
                                                struct io__WifiNetworks *networks, uint32_t count);
VARN_API int32_t varn_default__io__WifiNetwork(struct soap *context,
                                               struct io__WifiNetwork *network);
/// Write the tickets of clients, vendor codes and statistics (`second` 1: wifi1). Return 0.
VARN_API int32_t ClientList_get(void);
VARN_API int32_t VSACodes(void);
VARN_API int32_t NetworkStats_eth0(void);
VARN_API int32_t NetworkStats_wifi0(uint32_t second);

/// The steps behind the WPS resources; 0, -1 for a null document.
VARN_API int32_t Adapters_wifi0_WPS_PinSessions_PUT(const char *xml);
VARN_API int32_t Adapters_wifi0_WPS_PinSessions(void);
VARN_API int32_t Adapters_wifi0_WPS_Delete_PinSessions(void);
VARN_API int32_t Adapters_wifi0_WPS_PushButtonRun(void);
VARN_API int32_t Adapters_wifi0_WPS_PushButtonSessions(void);
VARN_API int32_t Adapters_wifi0_WPS_PushButtonCancel(void);
VARN_API int32_t Adapters_Wifi0_WPS_PinSessions_Start(void);

VARN_END_DECLS

#endif
