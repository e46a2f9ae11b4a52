/// Threads with room for the library's calls.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace varn::web {

/// The HTTP library gives its threads 100 KB of stack, which the frames of the library's document
/// functions and their records do not fit into. Their calls run here, on threads of ordinary size;
/// there are never more of these than callers at one time.
class DeviceThreads {
public:
    DeviceThreads();
    ~DeviceThreads();
    DeviceThreads(const DeviceThreads &) = delete;
    DeviceThreads &operator=(const DeviceThreads &) = delete;

    /// Runs `work` on one of the threads and returns when it is done. An exception of `work`
    /// comes out here.
    void run(const std::function<void()> &work);

private:
    struct Thread;
    Thread *take();
    void give_back(Thread *thread);

    std::mutex mutex_;
    std::vector<std::unique_ptr<Thread>> threads_;
    std::vector<Thread *> idle_; ///< the one used last is used again first
};

} // namespace varn::web
