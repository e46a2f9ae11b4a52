#include "device/web/device_threads.h"

#include <condition_variable>
#include <exception>
#include <thread>
#include <utility>

namespace varn::web {

struct DeviceThreads::Thread {
    std::mutex mutex;
    std::condition_variable changed;
    const std::function<void()> *work = nullptr; ///< null again when it is done
    std::exception_ptr failure;
    bool ends = false;
    std::thread thread;

    void loop() {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return work || ends; });
            if (!work)
                return;
            lock.unlock();
            std::exception_ptr thrown;
            try {
                (*work)();
            } catch (...) {
                thrown = std::current_exception();
            }
            lock.lock();
            failure = thrown;
            work = nullptr;
            changed.notify_all();
        }
    }

    std::exception_ptr run(const std::function<void()> &new_work) {
        std::unique_lock lock(mutex);
        work = &new_work;
        changed.notify_all();
        changed.wait(lock, [this] { return !work; });
        return std::exchange(failure, nullptr);
    }

    void end() {
        {
            const std::lock_guard lock(mutex);
            ends = true;
            changed.notify_all();
        }
        thread.join();
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
