#include "device/netservice/config.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <nlohmann/json.hpp>
#include <optional>

namespace varn::netservice {
namespace {

using nlohmann::json;

bool set_flag(bool &flag, const std::string &value) {
    flag = value == "1";
    return value == "0" || value == "1";
}

bool set_number(std::uint32_t &number, const std::string &value, std::uint32_t most) {
    const char *end = value.data() + value.size();
    const auto read = std::from_chars(value.data(), end, number);
    return read.ec == std::errc() && read.ptr == end && number <= most;
}

bool set_address(int family, std::string &address, const std::string &value) {
    in6_addr parsed;
    address = value;
    return inet_pton(family, value.c_str(), &parsed) == 1 && value.find('\0') == std::string::npos;
}

bool set_ipv4(std::string &address, const std::string &value) {
    return set_address(AF_INET, address, value);
}

bool is_printable(const std::string &value) {
    return std::ranges::none_of(
        value, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; });
}

bool set_text(std::string &text, const std::string &value, std::size_t most) {
    text = value;
    return value.size() <= most && is_printable(value);
}

/// Settings of any interface, by their path below it.
struct InterfaceSetting {
    std::string_view path;
    bool (*apply)(InterfaceConfig &to, const std::string &value);
};
constexpr InterfaceSetting interface_settings[] = {
    {"EnableInterface", [](auto &to, auto &value) { return set_flag(to.power, value); }},
    {"IPv4/EnableStaticIP",
     [](auto &to, auto &value) { return set_flag(to.ipv4.is_static, value); }},
    {"IPv4/EnableDhcpClient", [](auto &to, auto &value) { return set_flag(to.ipv4.dhcp, value); }},
    {"IPv4/EnableAutoIP", [](auto &to, auto &value) { return set_flag(to.ipv4.auto_ip, value); }},
    {"IPv4/EnableDnsIPStatic",
     [](auto &to, auto &value) { return set_flag(to.ipv4.static_dns, value); }},
    {"IPv4/Address", [](auto &to, auto &value) { return set_ipv4(to.ipv4.address, value); }},
    {"IPv4/Submask", [](auto &to, auto &value) { return set_ipv4(to.ipv4.mask, value); }},
    {"IPv4/Gateway", [](auto &to, auto &value) { return set_ipv4(to.ipv4.gateway, value); }},
    {"IPv4/DnsIP1", [](auto &to, auto &value) { return set_ipv4(to.ipv4.dns[0], value); }},
    {"IPv4/DnsIP2", [](auto &to, auto &value) { return set_ipv4(to.ipv4.dns[1], value); }},
    {"IPv6/Enable_", [](auto &to, auto &value) { return set_flag(to.ipv6.enabled, value); }},
    {"IPv6/EnableStaticIP",
     [](auto &to, auto &value) { return set_flag(to.ipv6.is_static, value); }},
    {"IPv6/EnableDnsIPStatic",
     [](auto &to, auto &value) { return set_flag(to.ipv6.static_dns, value); }},
    {"IPv6/Address",
     [](auto &to, auto &value) { return set_address(AF_INET6, to.ipv6.address, value); }},
    {"IPv6/PrefixLength",
     [](auto &to, auto &value) { return set_number(to.ipv6.prefix_length, value, 128); }},
};

bool set_pass_phrase(std::string &to, const std::string &value) {
    return set_text(to, value, longest_pass_phrase);
}

struct RadioSetting {
    std::string_view path;
    bool (*apply)(NetConfig &to, const std::string &value);
};
constexpr RadioSetting radio_settings[] = {
    {"wlan0/Wireless/Station/SSID",
     [](NetConfig &to, const std::string &value) {
         to.station.pass_phrase.clear();
         return set_text(to.station.ssid, value, longest_ssid);
     }},
    {"wlan0/Wireless/Station/Security",
     [](NetConfig &to, const std::string &value) {
         return set_text(to.station.security, value, 32);
     }},
    {"wlan0/Wireless/Station/Wpa/Password",
     [](NetConfig &to, const std::string &value) {
         return set_pass_phrase(to.station.pass_phrase, value);
     }},
    // A pass phrase that comes without a name is for the network that there is.
    {"wlan1/Wireless/Direct/SSID",
     [](NetConfig &to, const std::string &value) {
         return value.empty() || set_text(to.direct.ssid, value, longest_ssid);
     }},
    {"wlan1/Wireless/Direct/Password",
     [](NetConfig &to, const std::string &value) {
         return value.size() >= 8 && set_pass_phrase(to.direct.pass_phrase, value);
     }},
    {"wlan1/Wireless/Direct/Channel",
     [](NetConfig &to, const std::string &value) {
         return set_number(to.direct.channel, value, 196);
     }},
};

/// Settings that the virtual radio has nothing for; they are taken.
bool is_taken_as_it_is(std::string_view path) {
    return path == "WirelessMode" || path.starts_with("Wireless/") ||
           path.ends_with("/EnableDomainNameStatic") || path.ends_with("/EnableAUTOCONF");
}

std::optional<Interface> interface_named(std::string_view name) {
    if (name == "eth0")
        return eth0;
    if (name == "wlan0")
        return wlan0;
    if (name == "wlan1" || name == "Wlan1")
        return wlan1;
    return std::nullopt;
}

constexpr std::string_view interface_names[] = {"eth0", "wlan0", "wlan1"};
constexpr std::string_view wep_key = "Wireless/Station/Wep/key";

/// path   below the group: "wlan0/IPv4/Address"
bool apply_to_interface(NetConfig &config, std::string_view path, const std::string &value) {
    const std::size_t slash = path.find('/');
    const auto id = interface_named(path.substr(0, slash));
    if (!id || slash == std::string_view::npos)
        return false;
    const std::string_view below = path.substr(slash + 1);
    for (const InterfaceSetting &setting : interface_settings)
        if (setting.path == below)
            return setting.apply(config.interfaces[*id], value);
    const std::string full = std::string(interface_names[*id]) + "/" + std::string(below);
    for (const RadioSetting &setting : radio_settings)
        if (setting.path == full)
            return setting.apply(config, value);
    if (*id == wlan0 && below.starts_with(wep_key))
        return set_pass_phrase(config.station.pass_phrase, value);
    return is_taken_as_it_is(below);
}

bool apply_to_system(NetConfig &config, std::string_view path, const std::string &value) {
    if (path == "Hostname")
        return set_host_name(config, value);
    bool on = false;
    if (path != "EnableIPv6" || !set_flag(on, value))
        return false;
    for (InterfaceConfig &interface : config.interfaces)
        interface.ipv6.enabled = on;
    return true;
}

bool apply_wps(Change &change, std::string_view path, const std::string &value) {
    constexpr std::string_view prefix = "wlan0/Wireless/WPS/";
    if (!path.starts_with(prefix))
        return false;
    path.remove_prefix(prefix.size());
    if (path == "RunPinCode") {
        change.wps = WpsRequest::pin;
        change.pin = value;
        return true;
    }
    for (const auto &[name, request] :
         {std::pair{"PushButton", WpsRequest::push_button}, std::pair{"Cancel", WpsRequest::cancel},
          std::pair{"GetPinCode", WpsRequest::get_pin}})
        if (path == name) {
            change.wps = request;
            return value == "1";
        }
    return false;
}

bool apply_setting(NetConfig &config, Change &change, const Setting &setting) {
    const std::size_t slash = setting.path.find('/');
    if (slash == std::string::npos)
        return false;
    const std::string_view group = std::string_view(setting.path).substr(0, slash);
    const std::string_view path = std::string_view(setting.path).substr(slash + 1);
    if (group == "SETVALUE")
        return apply_wps(change, path, setting.value);
    if (group == "SYSTEM")
        return apply_to_system(config, path, setting.value);
    return (group == "WIRELESS" || group == "ETHERNET") &&
           apply_to_interface(config, path, setting.value);
}

json to_json(const InterfaceConfig &from) {
    const Ipv4Config &v4 = from.ipv4;
    const Ipv6Config &v6 = from.ipv6;
    return {{"power", from.power},
            {"ipv4",
             {{"static", v4.is_static},
              {"dhcp", v4.dhcp},
              {"autoIp", v4.auto_ip},
              {"staticDns", v4.static_dns},
              {"address", v4.address},
              {"mask", v4.mask},
              {"gateway", v4.gateway},
              {"dns", v4.dns}}},
            {"ipv6",
             {{"enabled", v6.enabled},
              {"static", v6.is_static},
              {"staticDns", v6.static_dns},
              {"address", v6.address},
              {"prefixLength", v6.prefix_length}}}};
}

InterfaceConfig interface_from_json(const json &saved) {
    InterfaceConfig to;
    const json &v4 = saved.at("ipv4");
    const json &v6 = saved.at("ipv6");
    saved.at("power").get_to(to.power);
    v4.at("static").get_to(to.ipv4.is_static);
    v4.at("dhcp").get_to(to.ipv4.dhcp);
    v4.at("autoIp").get_to(to.ipv4.auto_ip);
    v4.at("staticDns").get_to(to.ipv4.static_dns);
    v4.at("address").get_to(to.ipv4.address);
    v4.at("mask").get_to(to.ipv4.mask);
    v4.at("gateway").get_to(to.ipv4.gateway);
    v4.at("dns").get_to(to.ipv4.dns);
    v6.at("enabled").get_to(to.ipv6.enabled);
    v6.at("static").get_to(to.ipv6.is_static);
    v6.at("staticDns").get_to(to.ipv6.static_dns);
    v6.at("address").get_to(to.ipv6.address);
    v6.at("prefixLength").get_to(to.ipv6.prefix_length);
    return to;
}

} // namespace

bool set_host_name(NetConfig &config, const std::string &name) {
    return set_text(config.host_name, name, longest_host_name);
}

Change apply(NetConfig &config, const std::vector<Setting> &settings) {
    Change change;
    change.valid = !settings.empty() && std::ranges::all_of(settings, [&](const Setting &setting) {
        return apply_setting(config, change, setting);
    });
    return change;
}

json to_json(const NetConfig &config) {
    json saved = {
        {"hostName", config.host_name},
        {"station",
         {{"ssid", config.station.ssid},
          {"security", config.station.security},
          {"passPhrase", config.station.pass_phrase}}},
        {"direct",
         {{"ssid", config.direct.ssid},
          {"passPhrase", config.direct.pass_phrase},
          {"channel", config.direct.channel}}},
    };
    for (const InterfaceConfig &interface : config.interfaces)
        saved["interfaces"].push_back(to_json(interface));
    return saved;
}

NetConfig config_from_json(const json &saved) {
    NetConfig config;
    saved.at("hostName").get_to(config.host_name);
    const json &station = saved.at("station");
    station.at("ssid").get_to(config.station.ssid);
    station.at("security").get_to(config.station.security);
    station.at("passPhrase").get_to(config.station.pass_phrase);
    const json &direct = saved.at("direct");
    direct.at("ssid").get_to(config.direct.ssid);
    direct.at("passPhrase").get_to(config.direct.pass_phrase);
    direct.at("channel").get_to(config.direct.channel);
    for (std::size_t id = 0; id < interface_count; ++id)
        config.interfaces[id] = interface_from_json(saved.at("interfaces").at(id));
    return config;
}

} // namespace varn::netservice
