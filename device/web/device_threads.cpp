#include "device/web/device_threads.h"

#include <exception>
#include <semaphore>
#include <thread>
#include <utility>

namespace varn::web {

struct DeviceThreads::Thread {
    std::binary_semaphore begin{0};
    std::binary_semaphore done{0};
    const std::function<void()> *work = nullptr; ///< null ends the thread
    std::exception_ptr failure;
    std::thread thread;

    void loop() {
        for (;;) {
            begin.acquire();
            if (!work)
                return;
            try {
                (*work)();
            } catch (...) {
                failure = std::current_exception();
            }
            done.release();
        }
    }
};

DeviceThreads::DeviceThreads() = default;

DeviceThreads::~DeviceThreads() {
    for (const auto &thread : threads_) {
        thread->work = nullptr;
        thread->begin.release();
        thread->thread.join();
    }
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
    thread->work = &work;
    thread->begin.release();
    thread->done.acquire();
    const std::exception_ptr failure = std::exchange(thread->failure, nullptr);
    give_back(thread);
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace varn::web
