/// A local socket of the device tree and the clients on it, one thread each.
#pragma once

#include "device/wire/local_socket.h"

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <span>
#include <string>
#include <thread>

namespace varn::engine {

/// A client that has begun a request must finish it, and take the answer, within this time.
inline constexpr std::int64_t client_limit_ms = 10000;

/// One connected client.
class Client {
public:
    explicit Client(wire::Descriptor fd) : fd_(std::move(fd)) {}

    int fd() const { return fd_.get(); }

    /// Waits as long as it takes for the first byte of a request, then reads it whole. False
    /// when the client is gone, is too slow, or the server stops.
    bool receive_request(std::span<std::byte> request);
    /// The rest of a request that has begun.
    bool receive(std::span<std::byte> rest);
    bool send(std::span<const std::byte> reply);

    /// Whether the client has sent something that is not yet dealt with.
    bool has_work() const;
    void disconnect();

private:
    wire::Descriptor fd_;
    std::atomic<bool> working_ = false;
};

template <typename Record>
std::span<std::byte> writable_bytes(Record &record) {
    return std::as_writable_bytes(std::span(&record, 1));
}

class Server {
public:
    /// Serves one client until it is gone; returning disconnects it.
    using Serve = std::function<void(Client &)>;

    /// Throws std::runtime_error when the socket cannot be made.
    /// limit     clients at one time; one more is turned away
    Server(const std::string &root, const char *place, unsigned limit, Serve serve);
    ~Server();

    /// Waits, a tenth of a second at most, until everything that clients have sent is dealt with.
    void settle() const;

private:
    struct Session {
        explicit Session(wire::Descriptor fd) : client(std::move(fd)) {}
        Client client;
        std::atomic<bool> done = false;
        std::thread thread;
    };

    void accept_clients();
    void wait_for_room();
    void admit(wire::Descriptor fd);
    void join_finished();
    void wake() const;

    const unsigned limit_;
    const Serve serve_;
    std::string root_;
    const char *place_;
    wire::Descriptor listener_;
    wire::Descriptor wake_; ///< a session has ended, or the server stops
    std::atomic<bool> stopping_ = false;
    mutable std::mutex mutex_;
    std::list<Session> sessions_; ///< only the acceptor changes it
    bool crowded_ = false;        ///< the acceptor's: waiting for room was in vain
    std::thread acceptor_;
};

} // namespace varn::engine
