/// The net service's status block: one owner, and the place of every field that is used.
///
/// 1384712 bytes, little-endian words of 32 bits, terminated texts. The service is a program of
/// its own, so nothing in the block is trusted: a text ends at its field's or the block's end, a
/// count never exceeds what the block can hold, and a place outside of it reads as 0 or "".
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace varn::net {

/// What a read refreshes.
enum class Refresh : uint32_t {
    settings = 0, ///< saved settings and live state of all interfaces
    eth0_statistics = 1,
    wlan0_statistics = 2,
    wlan1_statistics = 3,
    scan_list = 4,
    client_list = 5,
    cancel_push_button = 6, ///< nothing: the read itself cancels the session
};

enum class Interface : uint32_t { eth0 = 0, wlan0 = 1, wlan1 = 2 };

struct Word {
    uint64_t offset;
};
struct Text {
    uint64_t offset;
    uint32_t width; ///< bytes; 0 up to the end of the block
};

/// The same field of another record of a row.
template <typename Field>
constexpr Field step(Field field, uint64_t index, uint64_t stride) {
    field.offset += index * stride;
    return field;
}

class StatusBlock {
public:
    static constexpr size_t size = 1384712;

    /// Reads a fresh block. Without memory or an answer every field is 0 or "".
    explicit StatusBlock(Refresh refresh);

    uint32_t word(Word field) const;
    bool flag(Word field) const { return word(field) != 0; }
    std::string text(Text field) const;
    /// A count as the service gives it, but at most as many records as fit into the block.
    uint32_t count(Word field, Text first_record, uint64_t stride) const;

private:
    struct Free {
        void operator()(uint8_t *bytes) const { free(bytes); }
    };
    std::unique_ptr<uint8_t, Free> bytes_;
};

/// Saved settings of an interface. `n` is which of its IPv4 or IPv6 records.
namespace saved {

constexpr uint64_t interface_stride = 137696;
constexpr uint64_t ipv4_stride = 1264;
constexpr uint64_t ipv6_stride = 432;

template <typename Field>
constexpr Field of(Field field, Interface id) {
    return step(field, static_cast<uint64_t>(id), interface_stride);
}
template <typename Field>
constexpr Field ipv4(Field field, Interface id, uint64_t n) {
    return step(of(field, id), n, ipv4_stride);
}
template <typename Field>
constexpr Field ipv6(Field field, Interface id, uint64_t n) {
    return step(of(field, id), n, ipv6_stride);
}

constexpr Text default_host_name{396, 0}; ///< eth0's alone
constexpr Word ipv4_enabled{940};
constexpr Word ipv4_static{944};
constexpr Word ipv4_dhcp{952};
constexpr Word ipv4_auto_ip{956};
constexpr Word ipv4_static_dns{1248};
constexpr Text ipv4_dns1{1252, 40};
constexpr Text ipv4_dns2{1292, 40};
constexpr Text static_address{1424, 40};
constexpr Text static_mask{1464, 40};
constexpr Text static_gateway{1504, 40};
constexpr Word ipv6_enabled{4732};
constexpr Word ipv6_static{4740};
constexpr Text ipv6_address{4768, 40};
constexpr Word ipv6_prefix_length{4808};
constexpr Word ipv6_static_dns{5080};
constexpr Text ipv6_dns1{5084, 40};
constexpr Text ipv6_dns2{5124, 40};

constexpr Text wlan0_ssid{144828, 0};
constexpr Text wlan0_security{144964, 0};
constexpr Text wlan0_pass_phrase{145408, 0};
constexpr Text wlan1_ssid{409884, 0};
constexpr Text wlan1_pass_phrase{410156, 0};

} // namespace saved

/// Live state. Host names are the device's; the rest is per interface.
namespace live {

constexpr uint64_t interface_stride = 14864;

template <typename Field>
constexpr Field of(Field field, Interface id) {
    return step(field, static_cast<uint64_t>(id), interface_stride);
}

constexpr Text host_name{1337948, 0};
constexpr Text default_host_name{1338028, 0};

constexpr Text lease_name{1338404, 0}; ///< the interface in names of lease files
constexpr Text mac_address{1338604, 0};
constexpr Word dhcp_in_use{1338728};
constexpr Text ipv4_address{1338860, 40};
constexpr Text ipv4_mask{1338900, 40};
constexpr Text ipv4_gateway{1338940, 40};
constexpr Text ipv4_domain{1338980, 0};
constexpr Text ipv4_dns1{1339240, 40};
constexpr Text ipv4_dns2{1339280, 40};
constexpr Text dhcp_server{1340448, 0};
constexpr Word dhcp_t1{1340576};
constexpr Word dhcp_t2{1340580};
constexpr Word ipv6_count{1340752};
constexpr uint32_t most_ipv6_addresses = 20;
constexpr Text ipv6_scope{1340756, 40};   ///< rows of 40 bytes
constexpr Text ipv6_address{1341556, 40}; ///< rows of 40 bytes
constexpr Word ipv6_prefix_length{1342356};
constexpr Word ipv6_valid_s{1342436};
constexpr Word ipv6_preferred_s{1342516};
constexpr Text ipv6_domain{1342596, 0};
constexpr Text ipv6_dns1{1342856, 40};
constexpr Text ipv6_dns2{1342896, 40};
constexpr Word speed_mbit{1343520};
constexpr Word full_duplex{1343524};
constexpr Word power_on{1352972};
constexpr Word connected{1352976};

constexpr Word wlan0_is_request_interface{1355432};
constexpr Text wlan0_ssid{1358436, 0};
constexpr Text bssid_wlan0{1358572, 0};
constexpr Text bssid_wlan1{1373436, 0};
constexpr Word wlan0_channel{1358612};
constexpr Word wlan0_signal{1358624};

} // namespace live

/// The WPS session.
namespace wps {

constexpr Text pin_code{1306624, 0};
constexpr Word running{1367892};
constexpr Word failed1{1367896};
constexpr Word failed2{1367900};
constexpr Word failed3{1367904};
constexpr Word succeeded{1367908};

} // namespace wps

} // namespace varn::net
