/// The status block, filled from the net service's state.
#pragma once

#include "device/engine/files.h"
#include "device/netservice/net_service.h"

namespace varn::netservice {

struct BlockContent {
    const NetConfig &config;
    const World &world;
    const Identity &identity;
    const WpsSession &wps;
    const std::array<Traffic, interface_count> &traffic;
    const std::array<LiveInterface, interface_count> &live;
    std::string host_name;
    const Network *joined; ///< null: wlan0 is in no network
};

/// mode   says which radio the wireless statistics are of; all else is the same in each
engine::Bytes fill_block(const BlockContent &content, wire::net::Mode mode);

/// Words of the statistics record, by how long the link was up.
std::uint32_t packets_received(const Traffic &traffic);
std::uint32_t packets_sent(const Traffic &traffic);

} // namespace varn::netservice
