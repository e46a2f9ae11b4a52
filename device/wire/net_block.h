/// The net service's status block, as it fills it: absolute offsets, 32-bit words, terminated
/// texts. What is not named stays zero.
#pragma once

#include <cstddef>
#include <cstdint>

namespace varn::wire::net {

inline constexpr std::size_t block_size = 1384712;
inline constexpr std::size_t interfaces = 3; ///< eth0, wlan0, wlan1

/// What a read refreshes besides the settings and the live state.
enum class Mode : std::uint32_t {
    settings = 0,
    eth0_statistics = 1,
    wlan0_statistics = 2,
    wlan1_statistics = 3,
    scan_list = 4,
    client_list = 5,
    cancel_push_button = 6,
};

/// What a write carries.
enum class Command : std::uint32_t {
    host_name = 10,   ///< 64 bytes, zero-filled
    eth0_power = 11,  ///< word
    wlan0_power = 12, ///< word
    wlan1_power = 13, ///< word
    message = 14,     ///< text without terminator
};

/// A text's place; it has room for width - 1 bytes and its terminator.
struct Text {
    std::size_t offset;
    std::size_t width;

    constexpr Text at(std::size_t more) const { return {offset + more, width}; }
};

inline constexpr std::size_t address_width = 40;

/// Saved settings: stride per interface, then per IPv4 or IPv6 record in it.
namespace saved {
inline constexpr std::size_t interface_stride = 137696;
inline constexpr std::size_t records = 3;
inline constexpr std::size_t ipv4_stride = 1264;
inline constexpr std::size_t ipv6_stride = 432;

inline constexpr Text default_host_name{396, 64};
inline constexpr std::size_t ipv4_enabled = 940;
inline constexpr std::size_t ipv4_static = 944;
inline constexpr std::size_t ipv4_dhcp = 952;
inline constexpr std::size_t ipv4_auto_ip = 956;
inline constexpr std::size_t ipv4_static_dns = 1248;
inline constexpr Text ipv4_dns[2] = {{1252, address_width}, {1292, address_width}};
inline constexpr Text address{1424, address_width};
inline constexpr Text mask{1464, address_width};
inline constexpr Text gateway{1504, address_width};
inline constexpr std::size_t ipv6_enabled = 4732;
inline constexpr std::size_t ipv6_static = 4740;
inline constexpr Text ipv6_address{4768, address_width};
inline constexpr std::size_t ipv6_prefix_length = 4808;
inline constexpr std::size_t ipv6_static_dns = 5080;

inline constexpr Text station_ssid{144828, 136};
inline constexpr Text station_security{144964, 64};
inline constexpr Text station_pass_phrase{145408, 128};
inline constexpr Text direct_ssid{409884, 136};
inline constexpr Text direct_pass_phrase{410156, 128};
} // namespace saved

/// Words of a statistics record from its start; eth0 has one, the two radios share the other.
namespace statistics {
inline constexpr std::size_t eth0 = 1275944;
inline constexpr std::size_t wireless = 1306532;
inline constexpr std::size_t bad_received = 4;
inline constexpr std::size_t received = 8;
inline constexpr std::size_t sent = 20;
inline constexpr std::size_t unicast_received = 28;
inline constexpr std::size_t broadcast_received = 36;
inline constexpr std::size_t broadcast_sent = 40;
inline constexpr std::size_t link_downs = 1359012; ///< absolute
} // namespace statistics

namespace scan {
inline constexpr std::size_t count = 1276288;
inline constexpr std::size_t first = 1276292;
inline constexpr std::size_t stride = 756;
inline constexpr std::size_t most = 40; ///< the radios' statistics follow
inline constexpr Text ssid{0, 136};
inline constexpr Text bssid{256, 40};
inline constexpr std::size_t signal = 340;
inline constexpr std::size_t channel = 344;
inline constexpr std::size_t dbm = 348;
inline constexpr Text security{392, 40};
inline constexpr Text encryption{432, 40};
inline constexpr std::size_t wps = 556; ///< a byte
} // namespace scan
static_assert(scan::first + scan::most * scan::stride == statistics::wireless);

namespace clients {
inline constexpr std::size_t count = 1378372;
inline constexpr std::size_t first = 1378376;
inline constexpr std::size_t stride = 216;
inline constexpr std::size_t most = 20; ///< the power of wlan1 follows
inline constexpr Text name{0, 136};
inline constexpr Text address{136, address_width};
inline constexpr Text mac{176, address_width};
} // namespace clients

namespace wps {
inline constexpr Text pin{1306624, 16};
inline constexpr std::size_t running = 1367892;
inline constexpr std::size_t no_partner = 1367896;
inline constexpr std::size_t bad_pin = 1367900;
inline constexpr std::size_t cancelled = 1367904;
inline constexpr std::size_t succeeded = 1367908;
} // namespace wps

/// Live state. The stride is between interfaces; host names and what is named for an interface
/// stand once.
namespace live {
inline constexpr std::size_t interface_stride = 14864;

inline constexpr Text host_name{1337948, 80};
inline constexpr Text default_host_name{1338028, 80};
inline constexpr Text lease_name{1338404, 64};
inline constexpr Text mac{1338604, 40};
inline constexpr std::size_t dhcp_in_use = 1338728;
inline constexpr Text address{1338860, address_width};
inline constexpr Text mask{1338900, address_width};
inline constexpr Text gateway{1338940, address_width};
inline constexpr Text domain{1338980, 256};
inline constexpr Text dns[2] = {{1339240, address_width}, {1339280, address_width}};
inline constexpr Text dhcp_server{1340448, address_width};
inline constexpr std::size_t dhcp_t1 = 1340576;
inline constexpr std::size_t dhcp_t2 = 1340580;
inline constexpr std::size_t ipv6_count = 1340752;
inline constexpr std::size_t most_ipv6 = 20;
inline constexpr Text ipv6_scope{1340756, address_width};
inline constexpr Text ipv6_address{1341556, address_width};
inline constexpr std::size_t ipv6_prefix_length = 1342356;
inline constexpr std::size_t ipv6_valid_s = 1342436;
inline constexpr std::size_t ipv6_preferred_s = 1342516;
inline constexpr Text ipv6_domain{1342596, 256};
inline constexpr Text ipv6_dns[2] = {{1342856, address_width}, {1342896, address_width}};
inline constexpr std::size_t speed_mbit = 1343520;
inline constexpr std::size_t full_duplex = 1343524;
inline constexpr std::size_t power_on = 1352972;
inline constexpr std::size_t connected = 1352976;

inline constexpr std::size_t wlan0_is_request_interface = 1355432;
inline constexpr Text wlan0_ssid{1358436, 136};
inline constexpr Text wlan0_bssid{1358572, 40};
inline constexpr Text wlan1_bssid{1373436, 40};
inline constexpr std::size_t wlan0_channel = 1358612;
inline constexpr std::size_t wlan0_signal = 1358624;
} // namespace live

} // namespace varn::wire::net
