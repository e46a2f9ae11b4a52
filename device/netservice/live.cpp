#include "device/netservice/live.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>

namespace varn::netservice {
namespace {

constexpr std::uint32_t forever_s = 0xFFFFFFFF;
constexpr std::uint32_t advertised_valid_s = 2592000;
constexpr std::uint32_t advertised_preferred_s = 604800;
constexpr char domain_name[] = "scanner.test";

template <typename... Values>
std::string format(const char *form, Values... values) {
    char text[128];
    std::snprintf(text, sizeof text, form, values...);
    return text;
}

std::uint32_t hash_of(std::string_view text) {
    std::uint32_t hash = 2166136261U;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    return hash;
}

unsigned weighted_digits(std::string_view digits) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < digits.size(); ++i)
        sum += static_cast<unsigned>(digits[i] - '0') * (i % 2 == 0 ? 3 : 1);
    return sum;
}

/// The third number of the addresses on an interface's network.
unsigned subnet(Interface id) { return 10 * (static_cast<unsigned>(id) + 1); }

unsigned mac_byte(const std::string &mac, std::size_t index) {
    return static_cast<unsigned>(std::stoul(mac.substr(3 * index, 2), nullptr, 16));
}

/// The lower half of an IPv6 address that is made from the MAC.
std::string interface_identifier(const std::string &mac) {
    return format("%x:%xff:fe%02x:%x", (mac_byte(mac, 0) ^ 2U) << 8 | mac_byte(mac, 1),
                  mac_byte(mac, 2), mac_byte(mac, 3), mac_byte(mac, 4) << 8 | mac_byte(mac, 5));
}

/// As an address parser writes it, so that equal addresses are equal texts.
std::string canonical_ipv6(const std::string &text) {
    in6_addr address;
    char out[INET6_ADDRSTRLEN] = {};
    if (inet_pton(AF_INET6, text.c_str(), &address) == 1)
        inet_ntop(AF_INET6, &address, out, sizeof out);
    return out;
}

void lease(LiveInterface &live, Interface id, const std::string &mac) {
    live.dhcp_in_use = true;
    live.address = format("192.168.%u.%u", subnet(id), 20 + mac_byte(mac, 5) % 200);
    live.mask = "255.255.255.0";
    live.gateway = format("192.168.%u.1", subnet(id));
    live.dhcp_server = live.gateway;
    live.domain = domain_name;
    live.dns = {live.gateway, format("192.168.%u.2", subnet(id))};
}

void address_ipv4(LiveInterface &live, const Ipv4Config &ipv4, const World &world, Interface id,
                  const std::string &mac) {
    if (id == wlan1) { // the access point is the one who gives addresses out
        live.address = "192.168.223.1";
        live.mask = "255.255.255.0";
    } else if (!ipv4.is_static && ipv4.dhcp && world.dhcp) {
        lease(live, id, mac);
    }
    if (ipv4.is_static && !ipv4.address.empty()) {
        live.address = ipv4.address;
        live.mask = ipv4.mask.empty() ? "255.255.255.0" : ipv4.mask;
        if (!ipv4.gateway.empty())
            live.gateway = ipv4.gateway;
    } else if (ipv4.auto_ip && !live.dhcp_in_use && id != wlan1) {
        live.address = format("169.254.%u.%u", 1 + mac_byte(mac, 4) % 254, mac_byte(mac, 5));
        live.mask = "255.255.0.0";
    }
    if (ipv4.static_dns)
        live.dns = ipv4.dns;
}

void address_ipv6(LiveInterface &live, const Ipv6Config &ipv6, Interface id,
                  const std::string &mac) {
    const std::string lower = interface_identifier(mac);
    live.ipv6.push_back({"link", canonical_ipv6("fe80::" + lower), 64, forever_s, forever_s});
    if (ipv6.is_static && !ipv6.address.empty()) {
        live.ipv6.push_back({"manual", ipv6.address, ipv6.prefix_length, forever_s, forever_s});
    } else if (!ipv6.is_static && id != wlan1) {
        const std::string prefix = format("2001:db8:0:%u:", subnet(id));
        live.ipv6.push_back({"global", canonical_ipv6(prefix + lower), 64, advertised_valid_s,
                             advertised_preferred_s});
        live.ipv6_dns[0] = format("2001:db8:0:%u::1", subnet(id));
    }
}

} // namespace

Identity identity_of(std::string_view uuid) {
    const std::uint32_t hash = hash_of(uuid);
    Identity identity;
    for (unsigned id = 0; id < interface_count; ++id)
        identity.macs[id] = format("02:5C:%02X:%02X:%02X:%02X", hash >> 24, (hash >> 16) & 0xFF,
                                   (hash >> 8) & 0xFF, ((hash & 0x3F) << 2) | id);
    identity.default_host_name = format("VARN%06X", hash >> 8);
    identity.wps_pin = format("%07u", hash % 10000000);
    identity.wps_pin += static_cast<char>('0' + (10 - weighted_digits(identity.wps_pin) % 10) % 10);
    return identity;
}

bool is_wps_pin(std::string_view pin) {
    const bool digits = std::ranges::all_of(pin, [](char c) { return c >= '0' && c <= '9'; });
    return digits && (pin.size() == 4 || (pin.size() == 8 && weighted_digits(pin) % 10 == 0));
}

LiveInterface live_interface(const NetConfig &config, const World &world, const Identity &identity,
                             Interface id, bool carrier) {
    const InterfaceConfig &interface = config.interfaces[id];
    LiveInterface live;
    live.power = interface.power;
    live.connected = interface.power && carrier;
    if (live.connected) {
        address_ipv4(live, interface.ipv4, world, id, identity.macs[id]);
        if (interface.ipv6.enabled)
            address_ipv6(live, interface.ipv6, id, identity.macs[id]);
    }
    return live;
}

std::string host_name(const NetConfig &config, const World &world, const Identity &identity,
                      bool leased) {
    if (!config.host_name.empty())
        return config.host_name;
    return leased && !world.dhcp_host_name.empty() ? world.dhcp_host_name
                                                   : identity.default_host_name;
}

std::string lease_file(const LiveInterface &live, Interface id, const World &world) {
    if (!live.dhcp_in_use)
        return {};
    const auto line = [](const char *name, const std::string &value) {
        return "  " + std::string(name) + " " + value + ";\n";
    };
    std::string text = "lease {\n";
    text += line("interface", "\"" + std::string(interface_names[id]) + "\"");
    text += line("fixed-address", live.address);
    text += line("option subnet-mask", live.mask);
    text += line("option routers", live.gateway);
    text += line("option domain-name-servers", live.dns[0]);
    text += line("option dhcp-server-identifier", live.dhcp_server);
    text += line("option domain-name", "\"" + live.domain + "\"");
    if (!world.dhcp_host_name.empty()) // readers look for the name at column 20
        text += line("option host-name", "\"" + world.dhcp_host_name + "\"");
    return text + "}\n";
}

std::string access_point_ssid(const NetConfig &config, const Identity &identity) {
    return config.direct.ssid.empty() ? "DIRECT-" + identity.default_host_name : config.direct.ssid;
}

std::string client_address(std::size_t place) {
    return format("192.168.223.%u", static_cast<unsigned>(100 + place));
}

std::string client_mac(std::size_t place) {
    return format("02:C1:1E:17:00:%02X", static_cast<unsigned>(place));
}

} // namespace varn::netservice
