#include "fuzz/device.h"
#include "fuzz/targets.h"

#include "device/netservice/block.h"
#include "varn/varn.h"

#include <cstdlib>
#include <nlohmann/json.hpp>

namespace varn::fuzz {
namespace {

template <typename Function, typename... Arguments>
void get(Function function, Arguments... arguments) {
    char *out = nullptr;
    uint32_t length = 0;
    function(arguments..., &out, &length);
    free(out);
}

/// One resource for an input: each read of the block is more than a megabyte of fresh memory.
struct Row {
    void (*use)();
};
constexpr Row rows[] = {
    /* a */ {[] { get(VARN_GetIoMgmtAdapters); }},
    /* b */ {[] { get(VARN_GetIoMgmtAdaptersProfiles, "eth0", "1"); }},
    /* c */ {[] { get(VARN_GetIoMgmtAdaptersProfiles, "wifi0", "1"); }},
    /* d */ {[] { get(VARN_GetIoMgmtAdaptersProfiles, "wifi1", "1"); }},
    /* e */ {[] { get(VARN_GetIoMgmtAdaptersProtocols, "eth0"); }},
    /* f */ {[] { get(VARN_GetIoMgmtAdaptersProtocols, "wifi1"); }},
    /* g */ {[] { get(VARN_GetIoMgmtAdaptersNetworkStats, "eth0"); }},
    /* h */ {[] { get(VARN_GetIoMgmtAdaptersNetworkStats, "wifi1"); }},
    /* i */ {[] { get(VARN_GetIoMgmtClientList, "wifi1"); }},
    /* j */ {[] { get(VARN_GetIoMgmtAdaptersPinSession, "wifi0", "1"); }},
    /* k */ {[] { get(VARN_GetIoMgmtAdaptersWPSPIN, "wifi0"); }},
    /* l */ {[] { get(VARN_GetIoMgmtAdaptersWifiNetworks, "wifi0", "desk"); }},
    /* m */ {[] { get(VARN_GetIoConfig); }},
    /* n */ {[] { get(VARN_GetIOConfigDyn); }},
    /* o */ {[] { get(VARN_GetNetAppsDyn); }},
    /* p */ {[] { get(VARN_GetIoMgmtAdaptersWifiNetworks, "wifi0", nullptr); }},
};

void expect(bool condition) {
    if (!condition)
        abort();
}

} // namespace

void take_network(Input input) {
    const Row &row = choose(rows, input);
    device().answer_with(input);
    row.use();
}

/// A message that was taken makes settings that outlive a restart and fit into the block.
void take_message(Input input) {
    namespace ns = netservice;
    const auto settings = ns::parse_message(text_of(input));
    if (!settings)
        return;
    ns::NetConfig config;
    if (!ns::apply(config, *settings).valid)
        return;
    const auto saved = nlohmann::json::to_cbor(ns::to_json(config));
    expect(ns::to_json(ns::config_from_json(nlohmann::json::from_cbor(saved))) ==
           ns::to_json(config));

    static const ns::World world = ns::factory_world();
    static const ns::Identity identity = ns::identity_of("6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab");
    std::array<ns::LiveInterface, ns::interface_count> live;
    for (const ns::Interface id : {ns::eth0, ns::wlan0, ns::wlan1})
        live[id] = ns::live_interface(config, world, identity, id, true);
    const auto block = ns::fill_block({config,
                                       world,
                                       identity,
                                       {},
                                       {},
                                       live,
                                       ns::host_name(config, world, identity, false),
                                       ns::joined_network(world, config.station)},
                                      wire::net::Mode::settings);
    expect(block.size() == wire::net::block_size);
}

} // namespace varn::fuzz
