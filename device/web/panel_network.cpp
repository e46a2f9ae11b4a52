#include "device/web/panel_network.h"

#include "device/ctl/control_client.h"
#include "device/kob_common/link.h"
#include "device/web/panel_xml.h"
#include "varn/io_adapters.h"

#include <algorithm>
#include <cstdlib>
#include <functional>

namespace varn::web {

using nlohmann::json;

namespace {

constexpr char station[] = "wifi0";

struct AdapterNames {
    const char *name;      ///< in paths
    const char *interface; ///< with the net service
};
constexpr AdapterNames adapters[] = {{"eth0", "eth0"}, {"wifi0", "wlan0"}, {"wifi1", "wlan1"}};

/// The net service's word on the network that the station has joined; null without one.
json joined_network(const json &service) {
    const json &station_now = service.at("station");
    if (!station_now.at("joined").get<bool>())
        return nullptr;
    for (const json &network : service.at("networks"))
        if (network.at("ssid") == station_now.at("ssid"))
            return network;
    return nullptr;
}

json describe_adapter(const AdapterNames &names, const json &service) {
    const json &live = service.at("interfaces").at(names.interface);
    const bool has_link = live.at("link") == "up";
    json shown = {{"name", names.name},
                  {"on", live.at("power") == "on"},
                  {"link", has_link},
                  {"mac", live.at("mac")},
                  {"dhcp", live.at("dhcp")},
                  {"addresses", json::array()},
                  {"gateway", live.at("gateway")},
                  {"dns", json::array()},
                  {"network", nullptr},
                  {"signal", nullptr},
                  {"clients", json::array()}};
    if (!has_link)
        return shown;
    if (live.at("address") != "0.0.0.0")
        shown["addresses"].push_back(live.at("address"));
    for (const json &address : live.at("ipv6"))
        shown["addresses"].push_back(address);
    for (const json &server : live.at("dns"))
        if (server != "")
            shown["dns"].push_back(server);
    return shown;
}

bool is_session_running(const Device &device) {
    return ctl::ask(device.root(), {{"do", "net state"}}).at("state").at("wps").at("session") ==
           "running";
}

/// A change through the library; what the engine did not hear of is not confirmed.
PanelAnswer change(Device &device, const std::function<std::int32_t()> &call) {
    std::int32_t result = -1;
    const unsigned long broken = kob_broken_exchanges();
    device.exclusively({Lock::network_change}, [&] { result = call(); });
    if (result != 0 || kob_broken_exchanges() != broken)
        return {409, "The scan engine does not answer.", 0};
    return {};
}

PanelAnswer start_session(Device &device, bool with_pin) {
    if (is_session_running(device))
        return {409, "A session is running already.", 0};
    if (!with_pin)
        return change(device, [] { return VARN_PostIoMgmtAdaptersPushButton(station); });
    const std::string pin = wps_pin(device);
    if (pin.empty() || !std::ranges::all_of(pin, [](char c) { return c >= '0' && c <= '9'; }))
        return {409, "The scanner has no PIN now.", 0};
    const std::string document =
        "<io:WpsSession><wifi:WpsPin>" + pin + "</wifi:WpsPin></io:WpsSession>";
    return change(device,
                  [&] { return VARN_PostIoMgmtAdaptersPinSession(station, document.c_str()); });
}

PanelAnswer set_power(Device &device, const json &request) {
    const auto name = request.at("adapter").get<std::string>();
    if (std::ranges::none_of(adapters, [&](const auto &each) { return name == each.name; }))
        return {400, "There is no such adapter.", 0};
    const std::string document = std::string("<io:Adapter><io:HardwareConfig><dd:Power>") +
                                 (request.at("on").get<bool>() ? "on" : "off") +
                                 "</dd:Power></io:HardwareConfig></io:Adapter>";
    return change(device,
                  [&] { return VARN_PutIoMgmtAdaptersItem(name.c_str(), document.c_str()); });
}

} // namespace

json describe_network(const Device &device) {
    try {
        const json service = ctl::ask(device.root(), {{"do", "net state"}}).at("state");
        const json joined = joined_network(service);
        json shown = {{"host_name", service.at("hostName")},
                      {"adapters", json::array()},
                      {"networks", service.at("networks")},
                      {"wps",
                       {{"session", service.at("wps").at("session")},
                        {"partner", service.at("wps").at("partner")}}}};
        for (const AdapterNames &names : adapters)
            shown["adapters"].push_back(describe_adapter(names, service));
        if (!joined.is_null()) {
            shown["adapters"][1]["network"] = joined.at("ssid");
            shown["adapters"][1]["signal"] = joined.at("signal");
        }
        const json &access_point = service.at("accessPoint");
        if (shown["adapters"][2]["on"] == true) {
            shown["adapters"][2]["network"] = access_point.at("ssid");
            shown["adapters"][2]["clients"] = access_point.at("clients");
        }
        return shown;
    } catch (const std::exception &) {
        return nullptr;
    }
}

std::string wps_pin(Device &device) {
    char *text = nullptr;
    std::uint32_t length = 0;
    std::string document;
    device.exclusively({Lock::my_malloc}, [&] {
        if (VARN_GetIoMgmtAdaptersWPSPIN(station, &text, &length) == 0)
            document.assign(text, length);
        std::free(text);
    });
    const XmlTree tree = load_xml(document);
    return text_in(tree.get(), "WpsPin");
}

std::optional<PanelAnswer> act_on_network(Device &device, const std::string &action,
                                          const json &request) {
    if (action == "wps.push" || action == "wps.pin")
        return start_session(device, action == "wps.pin");
    if (action == "wps.cancel")
        return change(device, [] { return VARN_DeleteIoMgmtAdaptersPinSession(station, "1"); });
    if (action == "wps.partner") {
        ctl::ask(device.root(), {{"do", "net wps partner"}, {"on", request.at("on").get<bool>()}});
        return PanelAnswer{};
    }
    if (action == "adapter.power")
        return set_power(device, request);
    return std::nullopt;
}

} // namespace varn::web
