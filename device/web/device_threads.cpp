#include "device/web/device_threads.h"

#include <atomic>
#include <exception>
#include <thread>
#include <utility>

namespace varn::web {

/// Owner and thread take turns: each hands over with one wake-up, and nothing is locked meanwhile.
struct DeviceThreads::Thread {
    const std::function<void()> *work = nullptr; ///< null ends the thread
    std::exception_ptr failure;
    std::atomic<bool> busy = false; ///< it is the thread's turn
    std::thread thread;

    void loop() {
        for (;;) {
            busy.wait(false);
            if (!work)
                return;
            try {
                (*work)();
            } catch (...) {
                failure = std::current_exception();
            }
            hand_over(false);
        }
    }

    std::exception_ptr run(const std::function<void()> &new_work) {
        work = &new_work;
        hand_over(true);
        busy.wait(true);
        return std::exchange(failure, nullptr);
    }

    void end() {
        work = nullptr;
        hand_over(true);
        thread.join();
    }

    void hand_over(bool to_thread) {
        busy = to_thread;
        busy.notify_one();
    }
};

DeviceThreads::DeviceThreads() = default;

DeviceThreads::~DeviceThreads() {
    for (const auto &thread : threads_)
        thread->end();
}

DeviceThreads::Thread *DeviceThreads::take() {
    const std::lock_guard lock(mutex_);
    if (!idle_.empty()) {
        Thread *thread = idle_.back();
        idle_.pop_back();
        return thread;
    }
    auto thread = std::make_unique<Thread>();
    idle_.reserve(threads_.size() + 1);
    threads_.reserve(threads_.size() + 1);
    thread->thread = std::thread(&Thread::loop, thread.get());
    threads_.push_back(std::move(thread));
    return threads_.back().get();
}

void DeviceThreads::give_back(Thread *thread) {
    const std::lock_guard lock(mutex_);
    idle_.push_back(thread);
}

void DeviceThreads::run(const std::function<void()> &work) {
    Thread *thread = take();
    const std::exception_ptr failure = thread->run(work);
    give_back(thread);
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace varn::web
