/// Owners that give back what a function acquired, on every path.
#pragma once

#include <pthread.h>
#include <unistd.h>
#include <utility>

#include "platform/cfg.h"

namespace varn {

class UniqueFd {
public:
    explicit UniqueFd(int fd = -1) : fd_(fd) {}
    UniqueFd(UniqueFd &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd &operator=(UniqueFd &&) = delete;
    ~UniqueFd() {
        if (fd_ >= 0)
            close(fd_);
    }
    int get() const { return fd_; }
    bool ok() const { return fd_ >= 0; }
    /// The descriptor, which is the caller's from here on.
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

/// A configuration tree loaded from a file.
class ConfigTree {
public:
    explicit ConfigTree(const char *path) : handle_(cfg_init(path)) {}
    ConfigTree(const ConfigTree &) = delete;
    ConfigTree &operator=(const ConfigTree &) = delete;
    ~ConfigTree() {
        if (handle_ != nullptr)
            cfg_deinit(handle_);
    }
    mxml_node_t *get() const { return handle_; }

private:
    mxml_node_t *handle_;
};

class MutexLock {
public:
    explicit MutexLock(pthread_mutex_t &mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;
    ~MutexLock() { pthread_mutex_unlock(&mutex_); }

private:
    pthread_mutex_t &mutex_;
};

} // namespace varn
