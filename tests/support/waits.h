/// Waits and clocks of the C library, replaced: nothing waits for real.
#pragma once

#include <atomic>
#include <chrono>
#include <ctime>
#include <sched.h>

namespace varn::test {

struct Waits {
    std::atomic<uint64_t> slept_us{0};    ///< sum of all usleep calls
    std::atomic<uint32_t> longest_us{0};  ///< longest of them
    std::atomic<uint32_t> seconds{0};     ///< sum of all sleep calls
    std::atomic<void (*)()> on_sleep{};   ///< runs in every sleep
    std::atomic<void (*)()> on_usleep{};  ///< runs in every usleep
    std::atomic<time_t> now{0};           ///< what time() tells; 0 the real time
    std::atomic<int64_t> deadline_s{0};   ///< of the last sem_timedwait
    std::atomic<int64_t> deadline_ns{-1}; ///< its nanoseconds
};
extern Waits waits;

/// Gives other threads the processor until `done`; false after ten seconds.
template <typename Done>
bool wait_until(Done done) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        sched_yield();
    }
    return true;
}

} // namespace varn::test
