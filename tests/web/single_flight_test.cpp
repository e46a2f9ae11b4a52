#include "device/web/single_flight.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <vector>

namespace varn::web {
namespace {

/// Runs one at a time that the test lets go one by one.
class GatedRun {
public:
    int operator()() {
        std::unique_lock lock(mutex_);
        const int number = ++begun_;
        changed_.notify_all();
        changed_.wait(lock, [&] { return released_ >= number; });
        return number;
    }
    void wait_for_begin(int number) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return begun_ >= number; });
    }
    void release() {
        const std::lock_guard lock(mutex_);
        ++released_;
        changed_.notify_all();
    }
    int begun() {
        const std::lock_guard lock(mutex_);
        return begun_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int begun_ = 0;
    int released_ = 0;
};

TEST(SingleFlight, CallersDuringARunShareTheNextOne) {
    SingleFlight<int> flight;
    GatedRun run;
    std::vector<int> values(9);
    std::vector<std::thread> threads;
    threads.emplace_back([&] { values[0] = *flight.get(std::ref(run)); });
    run.wait_for_begin(1);
    for (std::size_t i = 1; i < values.size(); ++i)
        threads.emplace_back([&, i] { values[i] = *flight.get(std::ref(run)); });
    // Give the callers time to arrive; one that comes late would only begin a run more.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    run.release();
    run.wait_for_begin(2);
    run.release();
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(values[0], 1);
    for (std::size_t i = 1; i < values.size(); ++i)
        EXPECT_EQ(values[i], 2) << i;
    EXPECT_EQ(run.begun(), 2);
}

TEST(SingleFlight, EveryValueIsOfARunThatBeganAfterTheCall) {
    SingleFlight<int> flight;
    std::atomic<int> clock = 0;
    std::atomic<bool> stale = false;
    const auto call = [&] {
        for (int i = 0; i < 2000; ++i) {
            const int arrived = ++clock;
            const auto began = flight.get([&] {
                std::this_thread::yield();
                return ++clock;
            });
            if (*began < arrived)
                stale = true;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(call);
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_FALSE(stale);
}

TEST(SingleFlight, AFailedRunIsNobodyElsesAnswer) {
    SingleFlight<int> flight;
    EXPECT_THROW(flight.get([]() -> int { throw std::runtime_error("no"); }), std::runtime_error);

    GatedRun run;
    std::thread failing([&] {
        EXPECT_THROW(flight.get([&]() -> int {
            run();
            throw std::runtime_error("no");
        }),
                     std::runtime_error);
    });
    run.wait_for_begin(1);
    int value = 0;
    std::thread waiting([&] { value = *flight.get([] { return 7; }); });
    run.release();
    failing.join();
    waiting.join();
    EXPECT_EQ(value, 7);
}

} // namespace
} // namespace varn::web
