/// Threads of the HTTP library, so that its end need not be waited for.
#pragma once

#include <mutex>
#include <pthread.h>
#include <vector>

struct mg_context;

namespace varn::web {

/// The library's threads wait for clients two seconds at a time and look for the end only then,
/// unless a signal comes between.
class HttpThreads {
public:
    HttpThreads();
    HttpThreads(const HttpThreads &) = delete;
    HttpThreads &operator=(const HttpThreads &) = delete;

    /// Called by each thread as it begins and ends.
    void note(bool runs);
    /// Stops the server that has these threads.
    void stop(mg_context *context);

private:
    void wake();

    std::mutex mutex_;
    std::vector<pthread_t> threads_;
};

} // namespace varn::web
