#include "device/netservice/world.h"

#include "device/wire/net_block.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace varn::netservice {
namespace {

using nlohmann::json;

struct Security {
    std::string_view name;
    const char *encryption;
    bool has_pass_phrase;
    std::size_t shortest_pass_phrase;
};
constexpr Security securities[] = {
    {"NONE", "NONE", false, 0},
    {"WEP", "WEP", true, 5},
    {"WPA-PSK", "TKIP", true, 8},
    {"WPA2-PSK", "AES", true, 8},
    {"WPA-PSK+WPA2-PSK", "AES+TKIP", true, 8},
    {"WPA-EAP", "TKIP", false, 0},
    {"WPA2-EAP", "AES", false, 0},
};

const Security *security_named(std::string_view name) {
    const auto *found = std::ranges::find(securities, name, &Security::name);
    return found == std::end(securities) ? nullptr : found;
}

bool is_name(const std::string &text, std::size_t most) {
    return !text.empty() && text.size() <= most &&
           std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

void check(const Network &network) {
    const Security *security = security_named(network.security);
    if (!is_name(network.ssid, longest_ssid))
        throw std::runtime_error("a network's name has 1 to 32 bytes");
    if (security == nullptr)
        throw std::runtime_error("no such security: " + network.security +
                                 "; there are NONE, WEP, WPA-PSK, WPA2-PSK, WPA-PSK+WPA2-PSK, "
                                 "WPA-EAP and WPA2-EAP");
    if (security->has_pass_phrase && (network.pass_phrase.size() < security->shortest_pass_phrase ||
                                      network.pass_phrase.size() > longest_pass_phrase))
        throw std::runtime_error(network.security + " needs a pass phrase of " +
                                 std::to_string(security->shortest_pass_phrase) + " to 64 bytes");
    if (network.signal > strongest_signal)
        throw std::runtime_error("a signal is 0 to 5");
}

/// Address and channel of a network follow from its name, so that they stay the same.
void place(Network &network) {
    std::uint32_t hash = 2166136261U;
    for (const char c : network.ssid)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    char bssid[24];
    std::snprintf(bssid, sizeof bssid, "02:1A:%02X:%02X:%02X:%02X", hash >> 24, (hash >> 16) & 0xFF,
                  (hash >> 8) & 0xFF, hash & 0xFF);
    network.bssid = bssid;
    network.channel = 1 + 5 * (hash % 3);
    network.wps = network.security.find("PSK") != std::string::npos;
}

bool fits(const Network &network, const StationConfig &station) {
    const auto asks_for = [&](std::string_view kind) {
        return station.security.find(kind) != std::string::npos &&
               network.security.find(kind) != std::string::npos;
    };
    if (network.security == "NONE")
        return station.security == "NONE";
    return (asks_for("WEP") || asks_for("WPA-PSK") || asks_for("WPA2-PSK")) &&
           station.pass_phrase == network.pass_phrase;
}

} // namespace

const char *Network::encryption() const {
    const Security *found = security_named(security);
    return found == nullptr ? "NONE" : found->encryption;
}

World factory_world() {
    World world;
    add_network(world, {"Office", "WPA2-PSK", "office-pass", {}, 1, 5, false});
    add_network(world, {"Warehouse", "WPA-PSK+WPA2-PSK", "warehouse-pass", {}, 1, 3, false});
    add_network(world, {"Guest", "NONE", {}, {}, 1, 2, false});
    return world;
}

void add_network(World &world, Network network) {
    check(network);
    place(network);
    const auto found = std::ranges::find(world.networks, network.ssid, &Network::ssid);
    if (found != world.networks.end())
        *found = std::move(network);
    else if (world.networks.size() < wire::net::scan::most)
        world.networks.push_back(std::move(network));
    else
        throw std::runtime_error("at most 40 networks are in range");
}

void remove_network(World &world, const std::string &ssid) {
    if (std::erase_if(world.networks, [&](const Network &n) { return n.ssid == ssid; }) == 0)
        throw std::runtime_error("no such network: " + ssid);
}

void join_client(World &world, const std::string &name) {
    if (!is_name(name, longest_host_name))
        throw std::runtime_error("a client's name has 1 to 63 bytes");
    if (std::ranges::find(world.clients, name) != world.clients.end())
        return;
    if (world.clients.size() >= wire::net::clients::most)
        throw std::runtime_error("at most 20 clients join");
    world.clients.push_back(name);
}

void leave_client(World &world, const std::string &name) {
    if (std::erase(world.clients, name) == 0)
        throw std::runtime_error("no such client: " + name);
}

const Network *joined_network(const World &world, const StationConfig &station) {
    const auto found = std::ranges::find(world.networks, station.ssid, &Network::ssid);
    return found != world.networks.end() && fits(*found, station) ? &*found : nullptr;
}

const Network *wps_network(const World &world) {
    const auto found = std::ranges::find(world.networks, true, &Network::wps);
    return world.wps_partner && found != world.networks.end() ? &*found : nullptr;
}

json to_json(const World &world) {
    json saved = {{"clients", world.clients},
                  {"wpsPartner", world.wps_partner},
                  {"dhcp", world.dhcp},
                  {"dhcpHostName", world.dhcp_host_name},
                  {"eth0Cable", world.eth0_cable},
                  {"networks", json::array()}};
    for (const Network &network : world.networks)
        saved["networks"].push_back({{"ssid", network.ssid},
                                     {"security", network.security},
                                     {"passPhrase", network.pass_phrase},
                                     {"signal", network.signal}});
    return saved;
}

World world_from_json(const json &saved) {
    World world;
    for (const json &name : saved.at("clients"))
        join_client(world, name.get<std::string>());
    saved.at("wpsPartner").get_to(world.wps_partner);
    saved.at("dhcp").get_to(world.dhcp);
    saved.at("dhcpHostName").get_to(world.dhcp_host_name);
    saved.at("eth0Cable").get_to(world.eth0_cable);
    for (const json &entry : saved.at("networks")) {
        Network network;
        entry.at("ssid").get_to(network.ssid);
        entry.at("security").get_to(network.security);
        entry.at("passPhrase").get_to(network.pass_phrase);
        entry.at("signal").get_to(network.signal);
        add_network(world, std::move(network));
    }
    return world;
}

} // namespace varn::netservice
