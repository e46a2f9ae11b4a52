/// TLS in front of a plain port of this process.
///
/// The HTTP library can speak TLS itself, but as it is packaged it loads a function at run time
/// that OpenSSL 3 has no more, and falls over at the first connection. So the secured port is
/// served here, and each connection is handed through to a plain port on loopback.
#pragma once

#include "device/wire/local_socket.h"

#include <atomic>
#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

struct ssl_ctx_st;
struct ssl_st;

namespace varn::web {

class TlsFront {
public:
    /// Takes the port (0: a free one). TLS 1.2 and 1.3.
    /// certificate_file  PEM, with the private key
    /// patience          for the handshake, and for a client that takes nothing at the end
    /// Throws std::runtime_error when the port cannot be had or the certificate be read.
    TlsFront(const std::string &address, int port, const std::string &certificate_file,
             std::chrono::milliseconds patience);
    ~TlsFront() { stop(); }
    TlsFront(const TlsFront &) = delete;
    TlsFront &operator=(const TlsFront &) = delete;

    int port() const { return port_; }
    /// Begins to hand connections through to 127.0.0.1:target_port.
    void start(int target_port);
    /// Address of the client behind a connection to the plain port; none for a connection that is
    /// not one of ours: nobody else has business there.
    std::optional<std::string> client_behind(int remote_port) const;
    /// No more connections. What the plain side has sent goes out, for a moment.
    void stop();

private:
    struct Client {
        wire::Descriptor socket;
        std::atomic<bool> done = false;
        std::thread thread;
    };

    void accept_clients();
    void reap_clients(bool all);
    void serve(Client &client);
    wire::Descriptor connect_inside(int &own_port) const;

    struct FreeContext {
        void operator()(ssl_ctx_st *context) const;
    };

    const std::chrono::milliseconds patience_;
    std::unique_ptr<ssl_ctx_st, FreeContext> context_;
    wire::Descriptor listener_;
    wire::Descriptor stop_event_;
    int port_ = 0;
    int target_port_ = 0;
    mutable std::mutex mutex_;
    std::map<int, std::string> own_ports_;       ///< with the address of the client
    std::list<std::unique_ptr<Client>> clients_; ///< of the accepting thread
    std::thread acceptor_;
};

} // namespace varn::web
