/// What the device is told about its network and keeps over a restart.
#pragma once

#include "device/netservice/message.h"

#include <array>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace varn::netservice {

enum Interface : std::size_t { eth0 = 0, wlan0 = 1, wlan1 = 2 };
inline constexpr std::size_t interface_count = 3;

/// Addresses are texts that an address parser takes, or empty.
struct Ipv4Config {
    bool is_static = false; ///< goes before DHCP
    bool dhcp = true;
    bool auto_ip = false; ///< link-local address when DHCP gives none
    bool static_dns = false;
    std::string address, mask, gateway;
    std::array<std::string, 2> dns;
};

struct Ipv6Config {
    bool enabled = true;
    bool is_static = false;
    bool static_dns = false;
    std::string address;
    std::uint32_t prefix_length = 64;
};

struct InterfaceConfig {
    bool power = true;
    Ipv4Config ipv4;
    Ipv6Config ipv6;
};

struct StationConfig {
    std::string ssid; ///< empty: joins nothing
    std::string security = "NONE";
    std::string pass_phrase; ///< or the WEP key
};

struct DirectConfig {
    std::string ssid;
    std::string pass_phrase;
    std::uint32_t channel = 6;
};

struct NetConfig {
    std::array<InterfaceConfig, interface_count> interfaces;
    StationConfig station;
    DirectConfig direct;
    std::string host_name; ///< empty: the default one
};

/// What a WPS message asks for.
enum class WpsRequest { none, push_button, pin, cancel, get_pin };

struct Change {
    bool valid = false;
    WpsRequest wps = WpsRequest::none;
    std::string pin;
};

inline constexpr std::size_t longest_host_name = 63;
inline constexpr std::size_t longest_ssid = 32;
inline constexpr std::size_t longest_pass_phrase = 64;

bool set_host_name(NetConfig &config, const std::string &name);
/// Applies a message as a whole: a value that is out of its range, or a message without any
/// setting that the device has, is not valid and `config` is then to be thrown away.
Change apply(NetConfig &config, const std::vector<Setting> &settings);

nlohmann::json to_json(const NetConfig &config);
/// Throws what the JSON library throws when something is missing or of another kind.
NetConfig config_from_json(const nlohmann::json &saved);

} // namespace varn::netservice
