/// The net service: text messages that ask it for a change, and the small texts around them.
///
/// A message has the look of XML and is taken as text: blanks and the one unclosed tag belong to
/// it. Everything that these functions send goes over the engine link of VARN_Init
/// (mvtc_write2_NetworkServer, command 14). The status block that the service answers with is
/// described in iomgmt/status_block.h.
///
/// Every builder `nmsg_*` writes one message, terminated:
/// msg        VARN_NET_MESSAGE_SIZE bytes, the caller's
/// group      "WIRELESS" or "ETHERNET"
/// interface  "eth0", "wlan0" or "wlan1"
/// returns    length of the message; -1 with an empty `msg` when the values do not fit
/// Values go into the message as they are: only nmsg_wlan0_ssid_encryption_password escapes.
#ifndef VARN_NET_SERVICE_H
#define VARN_NET_SERVICE_H

#include <pthread.h>

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Room for every message: the longest template with two escaped texts of 2047 bytes.
#define VARN_NET_MESSAGE_SIZE 8192
/// Room that StrToStrXml asks for.
#define VARN_ESCAPED_SIZE 2048

/// For callers that want their messages in one piece with others; the library never takes it.
extern VARN_API pthread_mutex_t NetClient_Msg_mutex;

/// Sends a message (without its terminator). Returns what the engine link returned; -1 for null.
VARN_API int32_t NetClient_Msg(const char *text);

/// `enable` is "1" or "0".
VARN_API int32_t nmsg_ipv6enable(char *msg, const char *group, const char *interface,
                                 const char *enable);
/// A static IPv6 address with its prefix length.
VARN_API int32_t nmsg_ipv6_prefixlength(char *msg, const char *group, const char *interface,
                                        const char *address, int32_t prefix_length);
/// Static IPv6 DNS servers, which never reach the service: what `msg` already holds goes to
/// standard output and stays in `msg`, so that the caller sends its last message once more.
/// msg        terminated text; returns its length. The other arguments are not used
VARN_API int32_t nmsg_ipv6dns(char *msg, const char *group, const char *interface, const char *dns1,
                              const char *dns2);
/// First and second static IPv4 DNS server.
VARN_API int32_t nmsg_ipv4_dns_ip1(char *msg, const char *group, const char *interface,
                                   const char *dns1);
VARN_API int32_t nmsg_ipv4_dns_ip2(char *msg, const char *group, const char *interface,
                                   const char *dns2);
/// IPv4 gateway.
VARN_API int32_t nmsg_gateway(char *msg, const char *group, const char *interface,
                              const char *gateway);
/// Static IPv4 address and subnet mask.
VARN_API int32_t nmsg_ip_submask(char *msg, const char *group, const char *interface,
                                 const char *address, const char *submask);
/// DHCP client on; `auto_ip` is "1" or "0".
VARN_API int32_t nmsg_dhcpdhcp_autoip(char *msg, const char *group, const char *interface,
                                      const char *auto_ip);
/// Static address over a DHCP client. Its second tag is an opening tag on purpose.
VARN_API int32_t nmsg_dhcpmanual(char *msg, const char *group, const char *interface);

/// Joins an open network.
VARN_API int32_t nmsg_wlan0_ssid(char *msg, const char *ssid);
/// Joins a protected network; both texts are escaped (StrToStrXml), `encryption` is not used.
VARN_API int32_t nmsg_wlan0_ssid_encryption_password(char *msg, const char *ssid,
                                                     const char *encryption, const char *password);
/// The access point's own network; the second form names encryption and channel.
VARN_API int32_t nmsg_wlan1_ssid_password(char *msg, const char *ssid, const char *password);
VARN_API int32_t nmsg_wlan1_ssid_encryption_password_channel(char *msg, const char *ssid,
                                                             const char *encryption,
                                                             const char *password,
                                                             const char *channel);

/// Index of the interface that the text names: 0 "eth0" (and none, and null), 1 "wlan0",
/// 2 "wlan1"; the first in this order when it names several.
VARN_API int32_t Get_Interfance_ID(const char *text);
/// Writes the value in decimal. out at least 12 bytes.
VARN_API void int2str(int32_t value, char *out);
/// Escapes double quote, ampersand and angle brackets of `in`; an apostrophe stays.
/// out       VARN_ESCAPED_SIZE bytes; a result that does not fit is cut behind the last whole
///           character that does
/// returns   `out`; null when one of the two is null
VARN_API char *StrToStrXml(char *out, const char *in);
/// Bytes from pairs of hexadecimal digits; a pair that has none is 0, a last digit alone counts.
/// out       half of the input, rounded up, and one byte more
/// returns   1; 0 once a byte was not printable (it is stored all the same), and for null
VARN_API int32_t Hex2Ascii(char *out, const char *in);
/// 1 for an IPv6 address, else -1.
VARN_API int32_t isVaildIPv6(const char *text);
/// Reads what stands between two tags of a flat XML text.
/// out       with a limit: exactly `limit` bytes are written, padded with zeros; a value of
///           `limit` bytes has no terminator, a longer one is cut to limit - 1. With limit 0: the
///           value and its terminator; at most 3500 bytes either way
/// returns   1; 0 with `out` left alone when a tag is missing
VARN_API int32_t scan_tag_text(const char *text, const char *open_tag, const char *close_tag,
                               char *out, uint32_t limit);

VARN_END_DECLS

#endif
