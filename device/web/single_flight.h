/// Sharing one run of a GET between all that asked for it while another run was on its way.
#pragma once

#include <condition_variable>
#include <cstdint>
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
        std::unique_lock lock(mutex_);
        const std::uint64_t wanted = begun_ + 1;
        ++waiting_;
        changed_.wait(lock, [&] { return finished_ >= wanted || !running_; });
        --waiting_;
        if (finished_ >= wanted)
            return take(lock);
        ++begun_;
        running_ = true;
        lock.unlock();
        return lead(std::forward<Run>(run));
    }

private:
    template <typename Run>
    Shared lead(Run &&run) {
        Shared value;
        std::exception_ptr failure;
        try {
            value = std::make_shared<const Value>(run());
        } catch (...) {
            failure = std::current_exception();
        }
        const std::lock_guard lock(mutex_);
        running_ = false;
        if (value) {
            finished_ = begun_;
            latest_ = waiting_ > 0 ? value : nullptr;
        }
        changed_.notify_all();
        if (failure)
            std::rethrow_exception(failure);
        return value;
    }

    /// The last of the waiting callers takes the value away, so nothing is kept between requests.
    Shared take(const std::unique_lock<std::mutex> &) {
        return waiting_ > 0 ? latest_ : std::exchange(latest_, nullptr);
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t begun_ = 0;    ///< number of the newest run
    std::uint64_t finished_ = 0; ///< number of the newest run that gave a value
    bool running_ = false;
    unsigned waiting_ = 0;
    Shared latest_;
};

} // namespace varn::web
