#include "iomgmt/messages.h"

#include "platform/mvtc.h"
#include "varn/frame.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

constexpr uint32_t text_message = 14;

} // namespace

namespace varn::net {

int32_t format_message(char *msg, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyzer does not know va_start here
    const int length = vsnprintf(msg, VARN_NET_MESSAGE_SIZE, format, arguments);
    va_end(arguments);
    if (length >= 0 && length < VARN_NET_MESSAGE_SIZE)
        return length;
    msg[0] = '\0';
    return -1;
}

} // namespace varn::net

using varn::net::format_message;

extern "C" {

pthread_mutex_t NetClient_Msg_mutex = PTHREAD_MUTEX_INITIALIZER;

int32_t NetClient_Msg(const char *text) {
    if (text == nullptr)
        return -1;
    printf("NetClient_Msg: %s", text);
    return mvtc_write2_NetworkServer(static_cast<uint32_t>(varn_mvt_fd), text_message, text,
                                     static_cast<uint32_t>(strlen(text)));
}

int32_t nmsg_ipv6enable(char *msg, const char *group, const char *interface, const char *enable) {
    return format_message(msg, "<%s><%s><IPv6><Enable_>%s</Enable_></IPv6></%s></%s>", group,
                          interface, enable, interface, group);
}

int32_t nmsg_ipv6_prefixlength(char *msg, const char *group, const char *interface,
                               const char *address, int32_t prefix_length) {
    return format_message(msg,
                          "<%s><%s><IPv6>  <Address>%s</Address>  "
                          "<PrefixLength>%d</PrefixLength></IPv6></%s></%s>",
                          group, interface, address, prefix_length, interface, group);
}

int32_t nmsg_ipv6dns(char *msg, const char *, const char *, const char *, const char *) {
    // The servers stay unsent on purpose. The buffer is printed as text: what it holds came from a
    // host and must not be taken for a format.
    return printf("%s", msg);
}

int32_t nmsg_ipv4_dns_ip1(char *msg, const char *group, const char *interface, const char *dns1) {
    return format_message(msg,
                          "<%s><%s><IPv4>  <EnableDomainNameStatic>1</EnableDomainNameStatic>  "
                          "<EnableDnsIPStatic>1</EnableDnsIPStatic>  <DnsIP1>%s</DnsIP1></IPv4>"
                          "</%s></%s>",
                          group, interface, dns1, interface, group);
}

int32_t nmsg_ipv4_dns_ip2(char *msg, const char *group, const char *interface, const char *dns2) {
    return format_message(msg,
                          "<%s><%s><IPv4>  <EnableDomainNameStatic>1</EnableDomainNameStatic>  "
                          "<EnableDnsIPStatic>1</EnableDnsIPStatic>  <DnsIP2>%s</DnsIP2></IPv4>"
                          "</%s></%s>",
                          group, interface, dns2, interface, group);
}

int32_t nmsg_gateway(char *msg, const char *group, const char *interface, const char *gateway) {
    return format_message(msg, "<%s><%s><IPv4><Gateway>%s</Gateway></IPv4></%s></%s>", group,
                          interface, gateway, interface, group);
}

int32_t nmsg_ip_submask(char *msg, const char *group, const char *interface, const char *address,
                        const char *submask) {
    return format_message(msg,
                          "<%s><%s><IPv4>  <EnableStaticIP>1</EnableStaticIP>  "
                          "<Address>%s</Address>  <Submask>%s</Submask></IPv4></%s></%s>",
                          group, interface, address, submask, interface, group);
}

int32_t nmsg_dhcpdhcp_autoip(char *msg, const char *group, const char *interface,
                             const char *auto_ip) {
    return format_message(msg,
                          "<%s><%s><IPv4>  <EnableStaticIP>0</EnableStaticIP>  "
                          "<EnableDhcpClient>1</EnableDhcpClient>  "
                          "<EnableAutoIP>%s</EnableAutoIP></IPv4></%s></%s>",
                          group, interface, auto_ip, interface, group);
}

int32_t nmsg_dhcpmanual(char *msg, const char *group, const char *interface) {
    // The service knows the second EnableDhcpClient as an opening tag.
    return format_message(msg,
                          "<%s><%s><IPv4>  <EnableStaticIP>1</EnableStaticIP>  "
                          "<EnableDhcpClient>1<EnableDhcpClient></IPv4></%s></%s>",
                          group, interface, interface, group);
}

int32_t nmsg_wlan0_ssid(char *msg, const char *ssid) {
    return format_message(msg,
                          "<WIRELESS><wlan0><EnableInterface>1</EnableInterface>"
                          "<WirelessMode>STATION</WirelessMode><Wireless>  <Station>    "
                          "<SSID>%s</SSID>    <Security>NONE</Security>    "
                          "<Channel>0</Channel>  </Station></Wireless></wlan0></WIRELESS>",
                          ssid);
}

int32_t nmsg_wlan0_ssid_encryption_password(char *msg, const char *ssid, const char *,
                                            const char *password) {
    char escaped_ssid[VARN_ESCAPED_SIZE] = "";
    char escaped_password[VARN_ESCAPED_SIZE] = "";
    StrToStrXml(escaped_ssid, ssid);
    StrToStrXml(escaped_password, password);
    return format_message(msg,
                          "<WIRELESS><wlan0><EnableInterface>1</EnableInterface>"
                          "<WirelessMode>STATION</WirelessMode><Wireless>  <Station>    "
                          "<SSID>%s</SSID>    <Security>WPA-PSK+WPA2-PSK</Security>    <Wpa>      "
                          "<Encryption>AES+TKIP</Encryption>      <Password>%s</Password>    "
                          "</Wpa>  </Station></Wireless></wlan0></WIRELESS>",
                          escaped_ssid, escaped_password);
}

int32_t nmsg_wlan1_ssid_password(char *msg, const char *ssid, const char *password) {
    return format_message(msg,
                          "<WIRELESS><Wlan1><WirelessMode>DIRECT-GO</WirelessMode><Wireless>  "
                          "<Direct>    <EnableGroupOwner>1</EnableGroupOwner>    "
                          "<EnableAutoBushButton>1</EnableAutoBushButton>    "
                          "<EnablePersistent>0</EnablePersistent>    <SSID>%s</SSID>    "
                          "<Password>%s</Password>    <Channel>6</Channel>  </Direct></Wireless>"
                          "</Wlan1></WIRELESS>",
                          ssid, password);
}

int32_t nmsg_wlan1_ssid_encryption_password_channel(char *msg, const char *ssid,
                                                    const char *encryption, const char *password,
                                                    const char *channel) {
    return format_message(msg,
                          "<WIRELESS><Wlan1><WirelessMode>DIRECT-GO</WirelessMode><Wireless>  "
                          "<Direct>    <EnableGroupOwner>1</EnableGroupOwner>    "
                          "<EnableAutoBushButton>1</EnableAutoBushButton>    "
                          "<EnablePersistent>0</EnablePersistent>    <SSID>%s</SSID>    "
                          "<Encryption>%s</Encryption>    <Password>%s</Password>    "
                          "<Channel>%s</Channel>  </Direct></Wireless></Wlan1></WIRELESS>",
                          ssid, encryption, password, channel);
}
}
