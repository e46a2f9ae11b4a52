/// A blocking connection to a server on this machine, and the answers that come over it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace varn::bench {

/// Also holds any other descriptor.
class Socket {
public:
    Socket() = default;
    /// Takes over a descriptor.
    static Socket of(int fd) {
        Socket socket;
        socket.fd_ = fd;
        return socket;
    }
    /// Connects to a port of the loopback interface. Throws std::runtime_error.
    explicit Socket(int port);
    ~Socket() {
        if (fd_ >= 0)
            close(fd_);
    }
    Socket(Socket &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Socket &operator=(Socket &&other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }

    int fd() const { return fd_; }
    /// Throws std::runtime_error when the server is gone.
    void send(std::string_view bytes) const;

private:
    int fd_ = -1;
};

std::string get_request(const std::string &path, bool keep_alive);

/// One answer, with a length or in chunks.
class AnswerReader {
public:
    /// Reads once; true when the answer is whole. Throws std::runtime_error when the server closes
    /// before.
    bool receive(const Socket &socket);

    int status() const;
    std::string field(std::string_view name) const;
    bool has_body_begun() const { return head_size_ > 0 && bytes_.size() > head_size_; }
    /// Of a whole answer; chunks are put together.
    std::string_view body() const { return body_; }

private:
    bool is_whole();
    bool join_chunks();

    std::string bytes_;
    std::string body_;
    std::size_t head_size_ = 0;
    std::size_t length_ = 0;
    bool chunked_ = false;
    std::size_t next_chunk_ = 0;
};

} // namespace varn::bench
