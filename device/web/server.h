/// HTTP: the resources of a device, on a port for each of its interfaces.
#pragma once

#include "device/web/device.h"
#include "device/web/http.h"
#include "device/web/http_threads.h"
#include "device/web/interfaces.h"
#include "device/web/tls_front.h"

#include <array>
#include <atomic>
#include <latch>
#include <memory>
#include <string>
#include <vector>

struct mg_connection;
struct mg_context;

namespace varn::web {

struct ServerOptions {
    std::string address = "127.0.0.1";
    /// Of the first interface; the others follow. 0 takes a free one for each.
    int port = 8080;
    /// For a request's head, for its body, and for each bit of progress of an answer.
    int request_timeout_ms = 20000;
};

/// How many clients are served.
///
/// The HTTP library gives each connection a thread for as long as it is open, however idle. When
/// all threads are taken it queues twenty accepted connections and leaves the rest to the
/// kernel's backlog, where they wait without an answer. So some threads are kept to refuse what
/// is too much, and a connection beyond a certain number is not kept open after its answer.
inline constexpr int worker_threads = 24;
inline constexpr int max_connections = 20;
inline constexpr int max_kept_alive = 16;

inline constexpr std::size_t max_body = 64 * 1024;
inline constexpr std::size_t max_head = 16 * 1024; ///< a larger one is answered with 400

class Server {
public:
    /// Throws std::runtime_error when one of the ports cannot be had.
    Server(Device &device, const ServerOptions &options);
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    int port(Interface interface) const { return ports_[static_cast<std::size_t>(interface)]; }
    /// No more requests; waits for those that are being answered.
    void stop();

private:
    struct Connection;
    struct Callbacks;

    void start(const std::string &ports);
    void note_ports();
    int handle(mg_connection *connection);
    void uncount(Connection &connection);
    std::optional<Interface> interface_of(int server_port, int remote_port) const;
    void report_error(mg_connection *connection, int status, std::string_view message);
    void answer_unrouted(mg_connection *connection);

    Device &device_;
    const ServerOptions options_;
    std::atomic<int> connections_ = 0;
    std::string start_error_; ///< of the HTTP library
    std::atomic<bool> started_ = false;
    HttpThreads threads_;
    mg_context *context_ = nullptr;
    std::unique_ptr<TlsFront> tls_;
    int plain_https_port_ = 0; ///< where the front hands its connections to
    std::array<int, interfaces.size()> ports_ = {};
    std::latch ports_noted_{1}; ///< a request may be there before its port is
};

} // namespace varn::web
