/// Everything that the device counts: in the NVRAM table, which a service tool may set, and in the
/// counters block, which only the engine writes.
#pragma once

#include "device/engine/nvram.h"
#include "device/engine/storage.h"
#include "device/wire/counters.h"

#include <functional>
#include <mutex>

namespace varn::engine {

/// Counting waits for no flash; flush() brings what was counted there.
class Tally {
public:
    Tally(Nvram &nvram, Storage &storage);

    wire::Counters counters() const;

    void scan();
    void sheet();
    /// One page side.
    void image(bool from_feeder);
    void slow_pick();
    /// Errors of the paper path that have a count; the others count nothing.
    void error(std::uint32_t error);

    /// Does nothing when nothing was counted.
    bool flush();

private:
    void count(const std::function<void(wire::Counters &)> &edit);
    bool flush_counters();

    Nvram &nvram_;
    Storage &storage_;
    std::mutex flash_mutex_;   ///< held for the length of a write; taken before the other one
    mutable std::mutex mutex_; ///< the values below
    wire::Counters counters_;
    bool counted_ = false;
};

} // namespace varn::engine
