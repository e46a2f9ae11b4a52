/// What is around the device: networks in range, a DHCP server, clients, a WPS partner, a cable.
#pragma once

#include "device/netservice/config.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace varn::netservice {

inline constexpr std::uint32_t strongest_signal = 5;

struct Network {
    std::string ssid;
    std::string security; ///< one of securities()
    std::string pass_phrase;
    std::string bssid;
    std::uint32_t channel = 1;
    std::uint32_t signal = 4; ///< 0 to 5
    bool wps = false;

    std::int32_t dbm() const { return -90 + 10 * static_cast<std::int32_t>(signal); }
    const char *encryption() const;
};

struct World {
    std::vector<Network> networks;
    std::vector<std::string> clients; ///< names, each at most 63 bytes
    bool wps_partner = false;
    bool dhcp = true;
    std::string dhcp_host_name; ///< what the DHCP server names the device; empty: nothing
    bool eth0_cable = true;
};

World factory_world();

/// Each throws std::runtime_error, with words for the user, when it cannot be done. Adding a
/// network that there is replaces it.
void add_network(World &world, Network network);
void remove_network(World &world, const std::string &ssid);
void join_client(World &world, const std::string &name);
void leave_client(World &world, const std::string &name);

/// The network that the station's settings join; null when none is in range or fits.
const Network *joined_network(const World &world, const StationConfig &station);
/// The network that a WPS partner gives out; null when there is none.
const Network *wps_network(const World &world);

nlohmann::json to_json(const World &world);
/// Throws what the JSON library throws.
World world_from_json(const nlohmann::json &saved);

} // namespace varn::netservice
