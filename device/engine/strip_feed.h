/// The sensor's side of a page: its rows, read and processed ahead of the coder.
#pragma once

#include "device/engine/page_process.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace varn::engine {

/// Reads a side strip by strip, from the top down, on a thread of its own, so that drawing or
/// decoding a sheet and coding the page share the processor's cores.
class StripFeed {
public:
    static constexpr unsigned strip_rows = 16; ///< a row of JPEG blocks

    /// rows, plan   used until the feed is gone
    StripFeed(RowSource &rows, const PagePlan &plan);
    ~StripFeed();
    StripFeed(const StripFeed &) = delete;
    StripFeed &operator=(const StripFeed &) = delete;

    struct Strip {
        const void *rows = nullptr; ///< as the coder takes them
        unsigned count = 0;
    };
    /// The next strip; it stays as it is until the next call. Not to be called more often than the
    /// page has strips. Throws what the reading threw.
    Strip next();

private:
    struct Slot {
        std::vector<Pixel> pixels;
        std::vector<std::uint8_t> grey;
        Strip strip;
    };

    void run();
    bool wait_for_slot();
    void fill(Slot &slot, unsigned count);
    void publish(const std::exception_ptr &failure);

    RowSource &rows_;
    const PagePlan &plan_;
    std::vector<Slot> slots_;
    std::mutex mutex_;
    std::condition_variable changed_;
    unsigned filled_ = 0; ///< strips so far; strip n is in slot n modulo their number
    unsigned taken_ = 0;  ///< the newest of these is in use
    bool stopping_ = false;
    std::exception_ptr failure_; ///< ends the feed
    std::thread thread_;
};

} // namespace varn::engine
