/// The live state of an interface: what follows from the settings and from what is around.
#pragma once

#include "device/netservice/world.h"

#include <array>
#include <string>
#include <vector>

namespace varn::netservice {

inline constexpr const char *interface_names[] = {"eth0", "wlan0", "wlan1"};

/// What a device is born with.
struct Identity {
    std::array<std::string, interface_count> macs;
    std::string default_host_name;
    std::string wps_pin; ///< eight digits, the last of them a checksum
};
/// All of it follows from the device's UUID.
Identity identity_of(std::string_view uuid);

/// Whether it has four digits, or eight with the right checksum.
bool is_wps_pin(std::string_view pin);

struct LiveIpv6 {
    const char *scope;
    std::string address;
    std::uint32_t prefix_length;
    std::uint32_t valid_s;
    std::uint32_t preferred_s;
};

struct LiveInterface {
    bool power = false;
    bool connected = false;
    bool dhcp_in_use = false;
    std::string address = "0.0.0.0", mask = "0.0.0.0", gateway = "0.0.0.0";
    std::string domain, dhcp_server;
    std::array<std::string, 2> dns, ipv6_dns;
    std::vector<LiveIpv6> ipv6;
};

inline constexpr std::uint32_t dhcp_t1_s = 43200;
inline constexpr std::uint32_t dhcp_t2_s = 75600;

LiveInterface live_interface(const NetConfig &config, const World &world, const Identity &identity,
                             Interface id, bool carrier);

/// The host name that the device goes by.
std::string host_name(const NetConfig &config, const World &world, const Identity &identity,
                      bool leased);

/// The lease file of a DHCP client; empty without a lease.
std::string lease_file(const LiveInterface &live, Interface id, const World &world);

std::string access_point_ssid(const NetConfig &config, const Identity &identity);
/// Address and MAC of the client at that place of the list.
std::string client_address(std::size_t place);
std::string client_mac(std::size_t place);

} // namespace varn::netservice
