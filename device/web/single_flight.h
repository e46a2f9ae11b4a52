/// Sharing one run of a GET between all that asked for it before it began.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>

namespace varn::web {

/// Each caller gets the value of a run that began after its call. So a caller that arrives
/// during a run never shares that one; all that arrive during it share the next.
template <typename Value>
class SingleFlight {
public:
    using Shared = std::shared_ptr<const Value>;

    /// `run` makes a Value. One run at a time. When it throws, its own caller gets the exception
    /// and the callers that waited for it try again.
    template <typename Run>
    Shared get(Run &&run) {
        for (;;) {
            const auto [flight, leads] = board();
            if (leads)
                return lead(*flight, std::forward<Run>(run));
            flight->over.wait(false);
            if (flight->value)
                return flight->value;
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    /// A run and its callers; the first of them leads, which is to say that it makes the run.
    struct Flight {
        unsigned callers = 0;
        Shared value; ///< set before `over` is
        std::atomic<bool> over = false;
    };

    std::pair<std::shared_ptr<Flight>, bool> board() {
        const std::lock_guard lock(mutex_);
        const bool leads = !next_;
        if (leads)
            next_ = std::make_shared<Flight>();
        if (++next_->callers == expected_)
            changed_.notify_one();
        return {next_, leads};
    }

    template <typename Run>
    Shared lead(Flight &flight, Run &&run) {
        begin(flight);
        const auto begun = Clock::now();
        std::exception_ptr failure;
        try {
            flight.value = std::make_shared<const Value>(run());
        } catch (...) {
            failure = std::current_exception();
        }
        end(flight, begun);
        if (failure)
            std::rethrow_exception(failure);
        return flight.value;
    }

    /// Callers that come from here on are the next flight's.
    void begin(const Flight &flight) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !running_; });
        gather(lock, flight);
        running_ = true;
        next_ = nullptr;
    }

    /// Clients that are answered together come back together, but not at the same moment. Without
    /// this wait they part into two groups that run in turn, and each waits for two runs. Whoever
    /// waited in vain does not try again for a while.
    void gather(std::unique_lock<std::mutex> &lock, const Flight &flight) {
        if (skipped_ > 0) {
            --skipped_;
            return;
        }
        const bool all =
            changed_.wait_until(lock, patience_, [&] { return flight.callers >= expected_; });
        if (!all)
            skipped_ = runs_to_skip;
    }

    void end(Flight &flight, Clock::time_point begun) {
        using namespace std::chrono_literals;
        {
            const std::lock_guard lock(mutex_);
            const auto now = Clock::now();
            running_ = false;
            expected_ = flight.callers + (next_ ? next_->callers : 0);
            patience_ = now + std::min<Clock::duration>(now - begun, 1ms);
            changed_.notify_one();
        }
        flight.over = true;
        flight.over.notify_all();
    }

    static constexpr unsigned runs_to_skip = 16;

    std::mutex mutex_;
    std::condition_variable changed_; ///< only the leader of the next flight waits for it
    std::shared_ptr<Flight> next_;    ///< has not begun; null while nobody waits for it
    bool running_ = false;
    unsigned expected_ = 1; ///< callers at one time, as seen at the end of the last run
    Clock::time_point patience_{};
    unsigned skipped_ = 0;
};

} // namespace varn::web
