#include "device/web/http_threads.h"

#include <atomic>
#include <chrono>
#include <civetweb.h>
#include <csignal>
#include <thread>

namespace varn::web {
namespace {

constexpr int wake_signal = SIGUSR1;

} // namespace

HttpThreads::HttpThreads() {
    struct sigaction wake = {};
    wake.sa_handler = [](int) {};
    sigaction(wake_signal, &wake, nullptr); // without SA_RESTART: the wait is to be interrupted
}

void HttpThreads::note(bool runs) {
    const std::lock_guard lock(mutex_);
    const pthread_t self = pthread_self();
    if (runs)
        threads_.push_back(self);
    else
        std::erase_if(threads_, [self](pthread_t each) { return pthread_equal(each, self); });
}

void HttpThreads::wake() {
    const std::lock_guard lock(mutex_);
    for (const pthread_t thread : threads_)
        pthread_kill(thread, wake_signal);
}

void HttpThreads::stop(mg_context *context) {
    std::atomic<bool> stopped = false;
    std::thread waker([&] {
        while (!stopped) {
            wake();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    });
    mg_stop(context);
    stopped = true;
    waker.join();
}

} // namespace varn::web
