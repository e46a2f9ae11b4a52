/// Message texts that have no builder of their own, and how every message is put together.
#pragma once

#include <cstdint>

#include "varn/net_service.h"

namespace varn::net {

/// Formats into a message buffer. Returns the length; -1 with an empty message when it does not
/// fit, since half a message would be worse than none.
[[gnu::format(printf, 2, 3)]] int32_t format_message(char *msg, const char *format, ...);

/// Group and interface come first and last in these.
inline constexpr char ipv6_dns_off[] =
    "<%s><%s><IPv6>  <EnableDnsIPStatic>0</EnableDnsIPStatic></IPv6></%s></%s>";
inline constexpr char ipv6_static[] =
    "<%s><%s><IPv6><EnableAUTOCONF>0</EnableAUTOCONF><EnableStaticIP>1</EnableStaticIP></IPv6>"
    "</%s></%s>";
inline constexpr char ipv6_autoconf[] =
    "<%s><%s><IPv6><EnableAUTOCONF>1</EnableAUTOCONF><EnableStaticIP>0</EnableStaticIP></IPv6>"
    "</%s></%s>";
inline constexpr char ipv4_auto_ip[] =
    "<%s><%s><IPv4><EnableAutoIP>1</EnableAutoIP></IPv4></%s></%s>";
inline constexpr char ipv4_static[] =
    "<%s><%s><IPv4><EnableStaticIP>1</EnableStaticIP><EnableDhcpClient>0</EnableDhcpClient></IPv4>"
    "</%s></%s>";
inline constexpr char ipv4_dhcp[] =
    "<%s><%s><IPv4><EnableStaticIP>0</EnableStaticIP><EnableDhcpClient>1</EnableDhcpClient></IPv4>"
    "</%s></%s>";

/// SSID, encryption word, key index, key index, key, key index.
inline constexpr char wlan0_wep[] =
    "<WIRELESS><wlan0><EnableInterface>1</EnableInterface><WirelessMode>STATION</WirelessMode>"
    "<Wireless> <Station> <SSID>%s</SSID> <Security>WEP64+WEP128</Security> <Channel>0</Channel> "
    "<Wep> <Encryption>%s</Encryption> <tx_keyidx>%d</tx_keyidx> <key%d>%s</key%d> </Wep> "
    "</Station></Wireless></wlan0></WIRELESS>";

/// Sent for whichever adapter is meant: both name wlan0.
inline constexpr char wlan0_ipv4_dhcp[] =
    "<WIRELESS><wlan0><IPv4><EnableStaticIP>0</EnableStaticIP>"
    "<EnableDhcpClient>1</EnableDhcpClient></IPv4></wlan0></WIRELESS>";
inline constexpr char wlan0_ipv6_names_off[] =
    "<WIRELESS><wlan0><IPv6><EnableDomainNameStatic>0</EnableDomainNameStatic>"
    "<EnableDnsIPStatic>0</EnableDnsIPStatic></IPv6></wlan0></WIRELESS>";

inline constexpr char wlan1_on[] =
    "<WIRELESS><wlan1><EnableInterface>1</EnableInterface></wlan1></WIRELESS>";
inline constexpr char wlan1_off[] =
    "<WIRELESS><wlan1><EnableInterface>0</EnableInterface></wlan1></WIRELESS>";

inline constexpr char wps_run_pin[] =
    "<SETVALUE><wlan0><Wireless><WPS><RunPinCode>%s</RunPinCode></WPS></Wireless></wlan0>"
    "</SETVALUE>";
inline constexpr char wps_cancel[] =
    "<SETVALUE><wlan0><Wireless><WPS><Cancel>1</Cancel></WPS></Wireless></wlan0></SETVALUE>";
inline constexpr char wps_push_button[] =
    "<SETVALUE><wlan0><Wireless><WPS><PushButton>1</PushButton></WPS></Wireless></wlan0>"
    "</SETVALUE>";
inline constexpr char wps_get_pin[] =
    "<SETVALUE><wlan0><Wireless><WPS><GetPinCode>1</GetPinCode></WPS></Wireless></wlan0>"
    "</SETVALUE>";

inline constexpr char system_hostname[] = "<SYSTEM><Hostname>%s</Hostname></SYSTEM>";
inline constexpr char system_ipv6_on[] = "<SYSTEM><EnableIPv6>1</EnableIPv6></SYSTEM>";
inline constexpr char system_ipv6_off[] = "<SYSTEM><EnableIPv6>0</EnableIPv6></SYSTEM>";

} // namespace varn::net
