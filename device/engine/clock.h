/// The device's zone and its network time. There is no time server around a virtual device: a
/// person says whether one answers. The clock itself is the machine's.
#pragma once

#include "device/engine/storage.h"
#include "device/wire/time_block.h"

#include <mutex>
#include <nlohmann/json_fwd.hpp>

namespace varn::engine {

class Clock {
public:
    explicit Clock(Storage &storage) : storage_(storage) {}

    /// The kept block with the state of the synchronisation as it is now.
    wire::TimeBlock read();
    /// Takes from a block what it gives; what that is stands in docs/porting.md. On flash before
    /// it returns. False when the size is wrong or the disk refuses.
    bool write(std::span<const std::byte> block);

    /// Whether the time server answers.
    void set_server_reachable(bool reachable);
    /// To be called every now and then.
    void tick();
    /// The store has gone back to factory content.
    void restart();
    /// The part "time" of the state.
    void describe(nlohmann::json &state);

private:
    /// These expect mutex_ to be held.
    wire::TimeBlock kept() const;
    bool keep(const wire::TimeBlock &block);
    void begin_sync();
    void advance();
    void finish_sync();

    Storage &storage_;
    std::mutex mutex_;
    bool server_reachable_ = true;
    wire::SyncState sync_state_ = wire::sync_idle;
    std::int64_t answer_ms_ = 0;    ///< when the server of a running synchronisation answers
    std::int64_t next_sync_ms_ = 0; ///< 0: when the engine has the time
};

} // namespace varn::engine
