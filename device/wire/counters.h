/// The engine's counters block.
#pragma once

#include "device/wire/endian.h"

namespace varn::wire {

/// Counted since the engine was made; unlike the counts of the NVRAM table nobody can set them.
struct Counters {
    u32le scans;  ///< started
    u32le sheets; ///< picked from the feeder
    u32le flatbed_pages;
    u32le jam_events;
    u32le mispick_events;
    u32le multipick_events;
    u32le feeder_pages; ///< page sides
    std::uint8_t reserved28[36] = {};
};
static_assert(sizeof(Counters) == 64 && offsetof(Counters, feeder_pages) == 24);

} // namespace varn::wire
