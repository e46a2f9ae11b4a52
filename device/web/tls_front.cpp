#include "device/web/tls_front.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace varn::web {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// The server behind keeps fewer connections open; those beyond wait here for their end.
constexpr std::size_t most_clients = 24;
constexpr auto stop_grace = 1s;

struct FreeSsl {
    void operator()(SSL *ssl) const { SSL_free(ssl); }
};

wire::Descriptor listen_on(const std::string &address, int port) {
    addrinfo hints = {};
    hints.ai_flags = AI_PASSIVE;
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0)
        throw std::runtime_error("no such address: " + address);
    const std::unique_ptr<addrinfo, void (*)(addrinfo *)> result(found, freeaddrinfo);
    wire::Descriptor listener(
        socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP));
    const int on = 1;
    setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (!listener || bind(listener.get(), found->ai_addr, found->ai_addrlen) != 0 ||
        listen(listener.get(), SOMAXCONN) != 0)
        throw std::runtime_error("cannot serve " + address + ":" + std::to_string(port) + ": " +
                                 std::strerror(errno));
    return listener;
}

int port_of(int socket) {
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    if (getsockname(socket, reinterpret_cast<sockaddr *>(&address), &size) != 0)
        return 0;
    return ntohs(address.sin_port);
}

void make_lively(int socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    fcntl(socket, F_SETFL, fcntl(socket, F_GETFL) | O_NONBLOCK);
}

/// Bytes on their way in one direction.
struct Pipe {
    std::array<char, 16384> bytes;
    std::size_t begin = 0;
    std::size_t end = 0;
    bool ended = false; ///< nothing more to read
    bool empty() const { return begin == end; }
};

/// One connection: what comes out of TLS goes to the server, and the other way round.
class Pump {
public:
    Pump(SSL *ssl, int outside, int inside, int stop_event, std::chrono::milliseconds patience)
        : ssl_(ssl), outside_(outside), inside_(inside), stop_event_(stop_event),
          patience_(patience) {}

    void run() {
        while (!failed_ && !(to_client_.ended && to_client_.empty())) {
            const bool moved = step();
            if (failed_ || (!moved && !wait()))
                return;
        }
        if (!failed_)
            SSL_shutdown(ssl_);
    }

private:
    /// Moves what can be moved without waiting.
    bool step() {
        wants_write_ = false;
        bool moved = read_tls();
        moved = write_inside() || moved;
        moved = read_inside() || moved;
        return write_tls() || moved;
    }

    bool read_tls() {
        if (to_server_.ended || !to_server_.empty())
            return false;
        const int n =
            SSL_read(ssl_, to_server_.bytes.data(), static_cast<int>(to_server_.bytes.size()));
        if (n > 0) {
            to_server_.begin = 0;
            to_server_.end = static_cast<std::size_t>(n);
            return true;
        }
        if (SSL_get_error(ssl_, n) == SSL_ERROR_ZERO_RETURN) {
            to_server_.ended = true;
            shutdown(inside_, SHUT_WR);
            return true;
        }
        look_at(n);
        return false;
    }
    bool write_tls() {
        if (to_client_.empty() || failed_)
            return false;
        const int n = SSL_write(ssl_, to_client_.bytes.data() + to_client_.begin,
                                static_cast<int>(to_client_.end - to_client_.begin));
        if (n > 0)
            to_client_.begin += static_cast<std::size_t>(n);
        else
            look_at(n);
        return n > 0;
    }
    /// Waiting is all right; anything else ends the connection.
    void look_at(int result) {
        const int error = SSL_get_error(ssl_, result);
        ERR_clear_error();
        if (error == SSL_ERROR_WANT_WRITE)
            wants_write_ = true;
        else if (error != SSL_ERROR_WANT_READ)
            failed_ = true;
    }
    bool read_inside() {
        if (to_client_.ended || !to_client_.empty())
            return false;
        const ssize_t n = recv(inside_, to_client_.bytes.data(), to_client_.bytes.size(), 0);
        if (n < 0 && (errno == EAGAIN || errno == EINTR))
            return false;
        to_client_.begin = 0;
        to_client_.end = n > 0 ? static_cast<std::size_t>(n) : 0;
        if (n <= 0)
            end_soon(patience_);
        to_client_.ended = n <= 0;
        return true;
    }
    bool write_inside() {
        if (to_server_.empty())
            return false;
        const ssize_t n = send(inside_, to_server_.bytes.data() + to_server_.begin,
                               to_server_.end - to_server_.begin, MSG_NOSIGNAL);
        if (n > 0)
            to_server_.begin += static_cast<std::size_t>(n);
        else if (errno != EAGAIN && errno != EINTR)
            to_server_.begin = to_server_.end; // the server listens no more; it may still speak
        return n > 0;
    }

    void end_soon(std::chrono::milliseconds time) {
        deadline_ = std::min(deadline_, Clock::now() + time);
    }

    /// False when time has run out.
    bool wait() {
        short outside = wants_write_ ? POLLOUT : 0;
        if (to_server_.empty() && !to_server_.ended)
            outside |= POLLIN;
        short inside = to_server_.empty() ? 0 : POLLOUT;
        if (to_client_.empty() && !to_client_.ended)
            inside |= POLLIN;
        // A side that nothing is wanted of would wake the poll with its hang-up for ever.
        pollfd fds[] = {{outside ? outside_ : -1, outside, 0},
                        {inside ? inside_ : -1, inside, 0},
                        {stopping_ ? -1 : stop_event_, POLLIN, 0}};
        int limit = -1;
        if (deadline_ != Clock::time_point::max()) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
            if (left <= std::chrono::milliseconds::zero())
                return false;
            limit = static_cast<int>(left.count());
        }
        poll(fds, 3, limit);
        if (fds[2].revents != 0) {
            stopping_ = true;
            end_soon(stop_grace);
        }
        return true;
    }

    SSL *const ssl_;
    const int outside_;
    const int inside_;
    const int stop_event_;
    const std::chrono::milliseconds patience_;
    Pipe to_server_;
    Pipe to_client_;
    bool wants_write_ = false;
    bool failed_ = false;
    bool stopping_ = false;
    Clock::time_point deadline_ = Clock::time_point::max();
};

bool shake_hands(SSL *ssl, int socket, int stop_event, std::chrono::milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    for (;;) {
        const int result = SSL_accept(ssl);
        if (result == 1)
            return true;
        const int error = SSL_get_error(ssl, result);
        ERR_clear_error();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if ((error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE) ||
            left <= std::chrono::milliseconds::zero())
            return false;
        const short wanted = error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
        pollfd fds[] = {{socket, wanted, 0}, {stop_event, POLLIN, 0}};
        poll(fds, 2, static_cast<int>(left.count()));
        if (fds[1].revents != 0)
            return false;
    }
}

/// Of the other end.
std::string address_of(int socket) {
    sockaddr_storage address = {};
    socklen_t size = sizeof address;
    char host[NI_MAXHOST] = "";
    auto *const any = reinterpret_cast<sockaddr *>(&address);
    if (getpeername(socket, any, &size) == 0)
        getnameinfo(any, size, host, sizeof host, nullptr, 0, NI_NUMERICHOST);
    return host;
}

} // namespace

void TlsFront::FreeContext::operator()(ssl_ctx_st *context) const { SSL_CTX_free(context); }

TlsFront::TlsFront(const std::string &address, int port, const std::string &certificate_file,
                   std::chrono::milliseconds patience)
    : patience_(patience), context_(SSL_CTX_new(TLS_server_method())),
      listener_(listen_on(address, port)), stop_event_(eventfd(0, EFD_CLOEXEC)),
      port_(port_of(listener_.get())) {
    SSL_CTX *context = context_.get();
    if (!context || SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION) != 1 ||
        SSL_CTX_use_certificate_chain_file(context, certificate_file.c_str()) != 1 ||
        SSL_CTX_use_PrivateKey_file(context, certificate_file.c_str(), SSL_FILETYPE_PEM) != 1)
        throw std::runtime_error("no certificate in " + certificate_file);
    SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    SSL_CTX_set_options(context, SSL_OP_IGNORE_UNEXPECTED_EOF);
}

void TlsFront::start(int target_port) {
    target_port_ = target_port;
    acceptor_ = std::thread(&TlsFront::accept_clients, this);
}

void TlsFront::stop() {
    if (!acceptor_.joinable())
        return;
    eventfd_write(stop_event_.get(), 1);
    acceptor_.join();
}

std::optional<std::string> TlsFront::client_behind(int remote_port) const {
    const std::lock_guard lock(mutex_);
    const auto found = own_ports_.find(remote_port);
    return found == own_ports_.end() ? std::nullopt : std::optional(found->second);
}

void TlsFront::accept_clients() {
    for (;;) {
        const bool full = clients_.size() >= most_clients;
        pollfd fds[] = {{full ? -1 : listener_.get(), POLLIN, 0}, {stop_event_.get(), POLLIN, 0}};
        poll(fds, 2, clients_.empty() ? -1 : 100);
        if (fds[1].revents != 0)
            break;
        reap_clients(false);
        if (fds[0].revents == 0)
            continue;
        auto client = std::make_unique<Client>();
        client->socket = wire::Descriptor(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!client->socket)
            continue;
        Client &served = *client;
        clients_.push_back(std::move(client));
        try {
            served.thread = std::thread([this, &served] {
                serve(served);
                served.done = true;
            });
        } catch (const std::system_error &) {
            clients_.pop_back(); // no thread to be had: this client is turned away
        }
    }
    reap_clients(true);
}

void TlsFront::reap_clients(bool all) {
    std::erase_if(clients_, [all](const std::unique_ptr<Client> &client) {
        if (!all && !client->done)
            return false;
        client->thread.join();
        return true;
    });
}

/// Its own port is known before the server sees the connection.
wire::Descriptor TlsFront::connect_inside(int &own_port) const {
    wire::Descriptor inside(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (inside && bind(inside.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
        own_port = port_of(inside.get());
    return inside;
}

void TlsFront::serve(Client &client) {
    make_lively(client.socket.get());
    const std::unique_ptr<SSL, FreeSsl> ssl(SSL_new(context_.get()));
    if (ssl && SSL_set_fd(ssl.get(), client.socket.get()) == 1 &&
        shake_hands(ssl.get(), client.socket.get(), stop_event_.get(), patience_)) {
        int own_port = 0;
        wire::Descriptor inside = connect_inside(own_port);
        {
            const std::lock_guard lock(mutex_);
            own_ports_.emplace(own_port, address_of(client.socket.get()));
        }
        sockaddr_in server = {};
        server.sin_family = AF_INET;
        server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        server.sin_port = htons(static_cast<std::uint16_t>(target_port_));
        if (own_port != 0 &&
            connect(inside.get(), reinterpret_cast<sockaddr *>(&server), sizeof server) == 0) {
            make_lively(inside.get());
            Pump(ssl.get(), client.socket.get(), inside.get(), stop_event_.get(), patience_).run();
        }
        const std::lock_guard lock(mutex_);
        own_ports_.erase(own_port);
    }
    client.socket = wire::Descriptor();
}

} // namespace varn::web
