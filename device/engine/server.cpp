#include "device/engine/server.h"

#include "device/engine/files.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace varn::engine {
using namespace std::chrono_literals;
using wire::Descriptor;
using wire::Transfer;

bool Client::receive_request(std::span<std::byte> request) {
    working_ = false;
    pollfd entry{fd_.get(), POLLIN, 0};
    while (poll(&entry, 1, -1) < 0)
        if (errno != EINTR)
            return false;
    working_ = true;
    return receive(request);
}

bool Client::receive(std::span<std::byte> rest) {
    return wire::receive_all(fd_.get(), rest.data(), rest.size(),
                             wire::now_ms() + client_limit_ms) == Transfer::done;
}

bool Client::send(std::span<const std::byte> reply) {
    return wire::send_all(fd_.get(), reply.data(), reply.size(),
                          wire::now_ms() + client_limit_ms) == Transfer::done;
}

bool Client::has_work() const {
    int waiting = 0;
    // In this order: the bytes leave the socket only after the flag is up.
    const bool unread = ioctl(fd_.get(), FIONREAD, &waiting) == 0 && waiting > 0;
    return unread || working_;
}

void Client::disconnect() { shutdown(fd_.get(), SHUT_RDWR); }

Server::Server(const std::string &root, const char *place, unsigned limit, Serve serve)
    : limit_(limit), serve_(std::move(serve)), root_(root), place_(place),
      listener_(wire::listen_local(root, place, 64)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!listener_ || !wake_)
        throw std::runtime_error("cannot listen on " + root + place + ": " + std::strerror(errno));
    acceptor_ = std::thread([this] { accept_clients(); });
}

Server::~Server() {
    stopping_ = true;
    wake();
    acceptor_.join();
    unlink(wire::SocketName(root_, place_).path().c_str());
    for (Session &session : sessions_)
        session.client.disconnect();
    for (Session &session : sessions_)
        session.thread.join();
}

void Server::settle() const {
    const auto has_work = [this] {
        const std::lock_guard lock(mutex_);
        for (const Session &session : sessions_)
            if (!session.done && session.client.has_work())
                return true;
        return false;
    };
    for (int i = 0; i < 100 && has_work(); ++i)
        std::this_thread::sleep_for(1ms);
}

void Server::accept_clients() {
    while (!stopping_) {
        pollfd entries[2] = {{listener_.get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
        if (poll(entries, 2, -1) < 0)
            continue;
        join_finished();
        if (!(entries[0].revents & POLLIN))
            continue;
        wait_for_room();
        Descriptor fd(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (fd)
            admit(std::move(fd));
        else if (errno == EMFILE || errno == ENFILE || errno == ENOMEM)
            std::this_thread::sleep_for(50ms); // the waiting client keeps the listener readable
    }
}

/// When all places are taken: time for clients that have just gone. In vain, it is not given
/// again before one has.
void Server::wait_for_room() {
    const std::int64_t deadline = wire::now_ms() + 200;
    while (sessions_.size() >= limit_ && !crowded_ && !stopping_) {
        pollfd entry{wake_.get(), POLLIN, 0};
        poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(deadline - wire::now_ms(), 0)));
        join_finished();
        crowded_ = sessions_.size() >= limit_ && wire::now_ms() >= deadline;
    }
}

void Server::admit(Descriptor fd) {
    const std::lock_guard lock(mutex_);
    if (sessions_.size() >= limit_)
        return;
    Session &session = sessions_.emplace_back(std::move(fd));
    try {
        session.thread = std::thread([this, &session] {
            try {
                serve_(session.client);
            } catch (const std::exception &error) {
                log_line(std::string("client dropped: ") + error.what());
            }
            session.client.disconnect();
            session.done = true;
            wake();
        });
    } catch (const std::system_error &error) {
        log_line(std::string("client turned away: ") + error.what());
        sessions_.pop_back();
    }
}

void Server::join_finished() {
    eventfd_t count = 0;
    eventfd_read(wake_.get(), &count);
    const std::lock_guard lock(mutex_);
    const auto ended = sessions_.remove_if([](Session &session) {
        if (!session.done)
            return false;
        session.thread.join();
        return true;
    });
    crowded_ = crowded_ && ended == 0;
}

void Server::wake() const { eventfd_write(wake_.get(), 1); }

} // namespace varn::engine
