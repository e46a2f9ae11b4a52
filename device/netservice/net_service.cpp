#include "device/netservice/net_service.h"

#include "device/netservice/block.h"
#include "device/wire/endian.h"
#include "device/wire/local_socket.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace varn::netservice {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;
namespace net = wire::net;

constexpr std::size_t state_limit = 256 * 1024; // bytes

fs::path config_file(const fs::path &root) { return root / "datafs/engine/network"; }
fs::path world_file(const fs::path &root) { return root / "run/varn/network-world"; }
fs::path restarts_file(const fs::path &root) { return root / "run/varn/snmp-restarts"; }
fs::path leases_file(const fs::path &root, Interface id) {
    return root / "var/db" / ("dhclient_v4" + std::string(interface_names[id]) + ".leases");
}

/// Names on the air are bytes of any kind, which this form keeps. For the owner's eyes only:
/// there are pass phrases in it.
template <typename State>
bool store(const fs::path &path, const State &state) {
    const auto bytes = json::to_cbor(to_json(state));
    return engine::replace_file(path, std::as_bytes(std::span(bytes)), 0600);
}

template <typename State>
State load(const fs::path &path, State (*from_json)(const json &), const State &factory) {
    const auto content = engine::read_file(path, state_limit);
    if (!content)
        return factory;
    try {
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(content->data());
        return from_json(json::from_cbor(bytes, bytes + content->size()));
    } catch (const std::exception &error) {
        engine::log_line(path.string() + " is damaged and starts anew: " + error.what());
        return factory;
    }
}

/// The access point is off until somebody switches it on.
NetConfig factory_config() {
    NetConfig config;
    config.interfaces[wlan1].power = false;
    config.interfaces[wlan1].ipv4.dhcp = false;
    return config;
}

} // namespace

/// The live state of one moment.
struct NetService::Live {
    std::array<LiveInterface, interface_count> interfaces;
    std::string host_name;
};

NetService::NetService(const fs::path &root, std::string_view uuid)
    : root_(root), connections_(root), identity_(identity_of(uuid)),
      config_(load(config_file(root), config_from_json, factory_config())),
      world_(load(world_file(root), world_from_json, factory_world())),
      settled_ms_(wire::now_ms()) {
    if (config_.interfaces[eth0].power)
        world_.eth0_cable = connections_.has_carrier("eth0");
    const std::lock_guard lock(mutex_);
    settle();
}

NetService::Live NetService::live() const {
    Live live;
    bool leased = false;
    for (const Interface id : {eth0, wlan0, wlan1}) {
        live.interfaces[id] = live_interface(config_, world_, identity_, id,
                                             connections_.has_carrier(interface_names[id]));
        leased = leased || live.interfaces[id].dhcp_in_use;
    }
    live.host_name = host_name(config_, world_, identity_, leased);
    return live;
}

engine::Bytes NetService::read(std::uint32_t mode) {
    if (mode > static_cast<std::uint32_t>(net::Mode::cancel_push_button))
        return {};
    const std::lock_guard lock(mutex_);
    settle();
    if (static_cast<net::Mode>(mode) == net::Mode::cancel_push_button)
        end_wps(WpsSession::State::cancelled);
    const Live now = live();
    return fill_block({config_, world_, identity_, wps_, traffic_, now.interfaces, now.host_name,
                       joined_network(world_, config_.station)},
                      static_cast<net::Mode>(mode));
}

bool NetService::write(std::uint32_t command, std::span<const std::byte> data) {
    const std::lock_guard lock(mutex_);
    settle();
    const std::string_view text(reinterpret_cast<const char *>(data.data()), data.size());
    switch (static_cast<net::Command>(command)) {
    case net::Command::host_name: {
        NetConfig next = config_;
        return data.size() == longest_host_name + 1 &&
               set_host_name(next, std::string(text.substr(0, text.find('\0')))) && change(next);
    }
    case net::Command::eth0_power:
        return take_power(eth0, data);
    case net::Command::wlan0_power:
        return take_power(wlan0, data);
    case net::Command::wlan1_power:
        return take_power(wlan1, data);
    case net::Command::message:
        return take_message(text);
    }
    return false;
}

bool NetService::take_power(Interface id, std::span<const std::byte> data) {
    wire::u32le on;
    if (data.size() != sizeof on)
        return false;
    std::memcpy(static_cast<void *>(&on), data.data(), sizeof on);
    NetConfig next = config_;
    next.interfaces[id].power = on != 0;
    return on <= 1 && change(next);
}

bool NetService::take_message(std::string_view text) {
    const auto settings = parse_message(text);
    if (!settings)
        return false;
    NetConfig next = config_;
    const Change asked = apply(next, *settings);
    if (!asked.valid || !change(next))
        return false;
    if (asked.wps == WpsRequest::push_button)
        start_wps(true);
    else if (asked.wps == WpsRequest::pin)
        start_wps(is_wps_pin(asked.pin));
    else if (asked.wps == WpsRequest::cancel)
        end_wps(WpsSession::State::cancelled);
    return true;
}

bool NetService::change(const NetConfig &next) {
    if (to_json(next) == to_json(config_))
        return true;
    if (!store(config_file(root_), next))
        return false;
    config_ = next;
    settle();
    return true;
}

void NetService::tick() {
    const std::lock_guard lock(mutex_);
    settle();
}

bool NetService::restore_factory() {
    const std::lock_guard lock(mutex_);
    std::error_code error;
    fs::remove(config_file(root_), error);
    config_ = factory_config();
    wps_ = {};
    settle();
    return !error;
}

void NetService::settle() {
    const std::int64_t now_ms = wire::now_ms();
    settle_wps(now_ms);
    settle_carriers();
    settle_leases();
    count_traffic(now_ms);
}

void NetService::start_wps(bool pin_is_good) {
    wps_ = {WpsSession::State::running, pin_is_good, wire::now_ms()};
}

void NetService::end_wps(WpsSession::State state) {
    if (wps_.state == WpsSession::State::running)
        wps_.state = state;
}

void NetService::settle_wps(std::int64_t now_ms) {
    if (wps_.state != WpsSession::State::running)
        return;
    const std::int64_t passed_ms = now_ms - wps_.began_ms;
    const Network *partner = config_.interfaces[wlan0].power ? wps_network(world_) : nullptr;
    if (partner != nullptr && passed_ms >= wps_success_ms) {
        if (!wps_.pin_is_good)
            return end_wps(WpsSession::State::bad_pin);
        NetConfig next = config_;
        next.station = {partner->ssid, partner->security, partner->pass_phrase};
        end_wps(store(config_file(root_), next) ? WpsSession::State::succeeded
                                                : WpsSession::State::no_partner);
        if (wps_.state == WpsSession::State::succeeded)
            config_ = next;
    } else if (passed_ms >= wps_timeout_ms) {
        end_wps(WpsSession::State::no_partner);
    }
}

bool NetService::wants_link(Interface id) const {
    if (!config_.interfaces[id].power)
        return false;
    if (id == eth0)
        return world_.eth0_cable;
    return id == wlan1 || joined_network(world_, config_.station) != nullptr;
}

/// A link moves when what it follows from changes, and in between stays as somebody else has put
/// it into its file.
void NetService::settle_carriers() {
    for (const Interface id : {eth0, wlan0, wlan1}) {
        const bool wanted = wants_link(id);
        if (wanted_links_[id] == wanted)
            continue;
        wanted_links_[id] = wanted;
        try {
            if (connections_.has_carrier(interface_names[id]) != wanted)
                connections_.set_carrier(interface_names[id], wanted);
        } catch (const std::exception &error) {
            engine::log_line(std::string(interface_names[id]) + ": " + error.what());
        }
    }
}

void NetService::settle_leases() {
    const Live now = live();
    for (const Interface id : {eth0, wlan0}) {
        const std::string lease = lease_file(now.interfaces[id], id, world_);
        if (leases_[id] == lease)
            continue;
        leases_[id] = lease;
        std::error_code ignored;
        if (lease.empty())
            fs::remove(leases_file(root_, id), ignored);
        else
            engine::replace_file(leases_file(root_, id), engine::bytes_of(std::string_view(lease)));
    }
}

void NetService::count_traffic(std::int64_t now_ms) {
    for (const Interface id : {eth0, wlan0, wlan1}) {
        Traffic &traffic = traffic_[id];
        const bool up =
            config_.interfaces[id].power && connections_.has_carrier(interface_names[id]);
        if (up)
            traffic.up_ms += now_ms - settled_ms_;
        else if (traffic.was_up)
            ++traffic.link_downs;
        traffic.was_up = up;
    }
    settled_ms_ = now_ms;
}

void NetService::set_carrier(const std::string &interface, bool up) {
    if (interface == interface_names[eth0]) {
        world_.eth0_cable = up;
        store(world_file(root_), world_);
        up = up && config_.interfaces[eth0].power;
        wanted_links_[eth0] = up;
    }
    connections_.set_carrier(interface, up);
}

void NetService::change_world(const std::string &name, const json &request) {
    World next = world_;
    if (name == "net network add") {
        Network network;
        request.at("ssid").get_to(network.ssid);
        request.at("security").get_to(network.security);
        network.pass_phrase = request.value("passPhrase", "");
        network.signal = request.value("signal", network.signal);
        add_network(next, std::move(network));
    } else if (name == "net network remove") {
        remove_network(next, request.at("ssid").get<std::string>());
    } else if (name == "net client join") {
        join_client(next, request.at("name").get<std::string>());
    } else if (name == "net client leave") {
        leave_client(next, request.at("name").get<std::string>());
    } else if (name == "net wps partner") {
        request.at("on").get_to(next.wps_partner);
    } else {
        request.at("on").get_to(next.dhcp);
        const auto host = request.value("hostName", "");
        if (host.size() > longest_host_name || host.find('"') != std::string::npos)
            throw std::runtime_error("a host name has at most 63 bytes and no quotes");
        next.dhcp_host_name = host;
    }
    if (!store(world_file(root_), next))
        throw std::runtime_error("the device tree cannot be written");
    world_ = std::move(next);
}

bool NetService::command(const std::string &name, const json &request, json &answer) {
    constexpr std::string_view changes[] = {"net network add", "net network remove",
                                            "net client join", "net client leave",
                                            "net wps partner", "net dhcp"};
    const std::lock_guard lock(mutex_);
    settle();
    if (name == "net state") {
        answer["state"] = describe();
        return true;
    }
    if (name == "net carrier")
        set_carrier(request.at("interface").get<std::string>(), request.at("up").get<bool>());
    else if (std::ranges::find(changes, name) != std::end(changes))
        change_world(name, request);
    else
        return false;
    settle();
    return true;
}

namespace {

json describe_interface(const LiveInterface &live, const Traffic &traffic, const std::string &mac) {
    json shown = {{"power", live.power ? "on" : "off"},
                  {"link", live.connected ? "up" : "down"},
                  {"mac", mac},
                  {"dhcp", live.dhcp_in_use},
                  {"address", live.address},
                  {"mask", live.mask},
                  {"gateway", live.gateway},
                  {"dns", live.dns},
                  {"ipv6", json::array()},
                  {"received", packets_received(traffic)},
                  {"sent", packets_sent(traffic)}};
    for (const LiveIpv6 &address : live.ipv6)
        shown["ipv6"].push_back(address.address + "/" + std::to_string(address.prefix_length));
    return shown;
}

const char *name_of(WpsSession::State state) {
    switch (state) {
    case WpsSession::State::idle:
        return "idle";
    case WpsSession::State::running:
        return "running";
    case WpsSession::State::succeeded:
        return "succeeded";
    case WpsSession::State::no_partner:
        return "no partner";
    case WpsSession::State::bad_pin:
        return "bad PIN";
    case WpsSession::State::cancelled:
        break;
    }
    return "cancelled";
}

/// The SNMP agent notes each of its starts with a line.
std::size_t snmp_restarts(const fs::path &root) {
    const auto notes = engine::read_file(restarts_file(root), 16 * 1024 * 1024);
    return notes ? static_cast<std::size_t>(std::ranges::count(*notes, std::byte{'\n'})) : 0;
}

} // namespace

/// Without pass phrases and community names: it is shown to whoever stands at the device.
json NetService::describe() const {
    const Live now = live();
    json state = {
        {"hostName", now.host_name},
        {"station",
         {{"ssid", config_.station.ssid},
          {"security", config_.station.security},
          {"joined", joined_network(world_, config_.station) != nullptr}}},
        {"accessPoint",
         {{"ssid", access_point_ssid(config_, identity_)},
          {"channel", config_.direct.channel},
          {"clients", now.interfaces[wlan1].connected ? json(world_.clients) : json::array()}}},
        {"wps", {{"session", name_of(wps_.state)}, {"partner", world_.wps_partner}}},
        {"dhcpServer", {{"on", world_.dhcp}, {"hostName", world_.dhcp_host_name}}},
        {"snmpRestarts", snmp_restarts(root_)},
        {"networks", json::array()}};
    for (const Interface id : {eth0, wlan0, wlan1})
        state["interfaces"][interface_names[id]] =
            describe_interface(now.interfaces[id], traffic_[id], identity_.macs[id]);
    for (const Network &network : world_.networks)
        state["networks"].push_back({{"ssid", network.ssid},
                                     {"security", network.security},
                                     {"bssid", network.bssid},
                                     {"channel", network.channel},
                                     {"signal", network.signal},
                                     {"wps", network.wps}});
    return state;
}

} // namespace varn::netservice
