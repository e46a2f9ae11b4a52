#include "device/wire/local_socket.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace varn::wire {

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept {
    if (this != &other) {
        reset();
        fd_ = other.release();
    }
    return *this;
}

int Descriptor::release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
}

void Descriptor::reset() {
    if (fd_ >= 0) {
        const int saved = errno;
        close(fd_);
        errno = saved;
    }
    fd_ = -1;
}

SocketName::SocketName(const std::string &root, const char *place) {
    const std::string full = root + place;
    if (full.size() < sizeof(sockaddr_un::sun_path)) {
        path_ = full;
        return;
    }
    const std::size_t slash = full.rfind('/');
    dir_ = Descriptor(open(full.substr(0, slash).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (dir_)
        path_ = "/proc/self/fd/" + std::to_string(dir_.get()) + full.substr(slash);
}

namespace {

bool fill_address(sockaddr_un &address, const std::string &path) {
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return false;
    address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

/// Waits until `fd` is ready; false when the deadline passed.
bool wait_for(int fd, short events, std::int64_t deadline_ms) {
    for (;;) {
        int timeout = -1;
        if (deadline_ms >= 0)
            timeout = static_cast<int>(std::clamp<std::int64_t>(deadline_ms - now_ms(), 0, 60000));
        pollfd entry{fd, events, 0};
        const int ready = poll(&entry, 1, timeout);
        if (ready > 0 || (ready < 0 && errno != EINTR))
            return true; // an error shows in the transfer that follows
        if (ready == 0 && deadline_ms >= 0 && now_ms() >= deadline_ms)
            return false;
    }
}

bool would_block() { return errno == EAGAIN || errno == EWOULDBLOCK; }

} // namespace

std::int64_t now_ms() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

Descriptor connect_local(const std::string &root, const char *place) {
    const SocketName name(root, place);
    sockaddr_un address;
    if (!fill_address(address, name.path())) {
        errno = ENOENT;
        return {};
    }
    Descriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd)
        return {};
    const timeval limit{2, 0};
    setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    int result = 0;
    do
        result = connect(fd.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address);
    while (result < 0 && errno == EINTR);
    if (result < 0)
        fd.reset();
    return fd;
}

Descriptor listen_local(const std::string &root, const char *place, int backlog) {
    const SocketName name(root, place);
    sockaddr_un address;
    if (!fill_address(address, name.path())) {
        errno = ENOENT;
        return {};
    }
    Descriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    unlink(address.sun_path);
    if (fd && (bind(fd.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) < 0 ||
               listen(fd.get(), backlog) < 0))
        fd.reset();
    return fd;
}

Transfer send_all(int fd, const void *data, std::size_t size, std::int64_t deadline_ms) {
    const auto *at = static_cast<const std::uint8_t *>(data);
    while (size > 0) {
        const ssize_t sent = send(fd, at, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            at += sent;
            size -= static_cast<std::size_t>(sent);
        } else if (sent < 0 && would_block()) {
            if (!wait_for(fd, POLLOUT, deadline_ms))
                return Transfer::timed_out;
        } else if (sent == 0 || errno != EINTR) {
            return Transfer::failed;
        }
    }
    return Transfer::done;
}

Transfer receive_all(int fd, void *data, std::size_t size, std::int64_t deadline_ms) {
    auto *at = static_cast<std::uint8_t *>(data);
    bool begun = false;
    while (size > 0) {
        const ssize_t got = recv(fd, at, size, MSG_DONTWAIT);
        if (got > 0) {
            begun = true;
            at += got;
            size -= static_cast<std::size_t>(got);
        } else if (got == 0) {
            return begun ? Transfer::failed : Transfer::closed;
        } else if (would_block()) {
            if (!wait_for(fd, POLLIN, deadline_ms))
                return Transfer::timed_out;
        } else if (errno != EINTR) {
            return Transfer::failed;
        }
    }
    return Transfer::done;
}

} // namespace varn::wire
