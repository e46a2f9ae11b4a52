/// Stream sockets inside a device tree, whatever the length of the tree's path.
///
/// The address of a local socket holds 107 characters, which a deep tree exceeds. The socket is
/// therefore named through a descriptor of the tree's directory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace varn::wire {

/// Owns a descriptor.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(other.release()) {}
    Descriptor &operator=(Descriptor &&other) noexcept;
    ~Descriptor() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    int release();
    void reset();

private:
    int fd_ = -1;
};

/// A name of `root` + `place` (one of places.h) that fits a socket address. It is valid for this
/// process and for as long as the object lives; path() is empty when the directory does not open.
class SocketName {
public:
    SocketName(const std::string &root, const char *place);
    const std::string &path() const { return path_; }

private:
    Descriptor dir_;
    std::string path_;
};

/// Connected or listening stream socket, close-on-exec; empty on failure, with errno set.
/// A connect waits at most two seconds for a listener that is busy.
Descriptor connect_local(const std::string &root, const char *place);
/// Replaces a socket that an earlier owner left behind.
Descriptor listen_local(const std::string &root, const char *place, int backlog);

/// Milliseconds of the monotonic clock.
std::int64_t now_ms();

enum class Transfer { done, closed, timed_out, failed };

/// Moves exactly `size` bytes, or says why not, before `deadline_ms` on the monotonic clock
/// (negative: no limit). Interrupted calls go on; a vanished peer raises no signal. A read from
/// a peer that closed before the first byte is `closed`, after it `failed`.
Transfer send_all(int fd, const void *data, std::size_t size, std::int64_t deadline_ms);
Transfer receive_all(int fd, void *data, std::size_t size, std::int64_t deadline_ms);

} // namespace varn::wire
