#include "bench/http_load.h"

#include "bench/http_socket.h"

#include <stdexcept>
#include <sys/epoll.h>
#include <vector>

namespace varn::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int answer_limit_ms = 5000;

class Loader {
public:
    explicit Loader(const Load &load)
        : load_(load), request_(get_request(load.path, load.keep_alive)),
          epoll_(Socket::of(epoll_create1(EPOLL_CLOEXEC))), clients_(load.connections) {
        for (Client &client : clients_)
            connect(client);
    }

    double run() {
        const auto begin = Clock::now();
        const auto end = begin + load_.time;
        for (const Client &client : clients_)
            client.socket.send(request_);
        while (Clock::now() < end)
            serve_events();
        const std::chrono::duration<double> taken = Clock::now() - begin;
        return answers_ / taken.count();
    }

private:
    struct Client {
        Socket socket;
        AnswerReader answer;
    };

    void connect(Client &client) {
        client.socket = Socket(load_.port);
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.ptr = &client;
        epoll_ctl(epoll_.fd(), EPOLL_CTL_ADD, client.socket.fd(), &event);
    }

    void serve_events() {
        epoll_event events[16];
        const int ready = epoll_wait(epoll_.fd(), events, 16, answer_limit_ms);
        if (ready <= 0)
            throw std::runtime_error(load_.path + ": no answer");
        for (int i = 0; i < ready; ++i)
            serve(*static_cast<Client *>(events[i].data.ptr));
    }

    void serve(Client &client) {
        if (!client.answer.receive(client.socket))
            return;
        const int status = client.answer.status();
        if (status != 200 && status != 503)
            throw std::runtime_error(load_.path + ": status " + std::to_string(status));
        answers_ += status == 200 ? 1 : 0; // 503: too many connections at the moment
        // The server may close where it was not asked to: it keeps only so many.
        const bool closes = !load_.keep_alive || client.answer.field("Connection") == "close";
        client.answer = {};
        if (closes)
            connect(client); // closing the old one takes it out of the set
        client.socket.send(request_);
    }

    const Load &load_;
    const std::string request_;
    const Socket epoll_;
    std::vector<Client> clients_;
    double answers_ = 0;
};

} // namespace

double answers_per_second(const Load &load) { return Loader(load).run(); }

std::string fetch(int port, const std::string &path) {
    const Socket socket(port);
    socket.send(get_request(path, false));
    AnswerReader answer;
    while (!answer.receive(socket)) {
    }
    if (answer.status() != 200)
        throw std::runtime_error(path + ": status " + std::to_string(answer.status()));
    return std::string(answer.body());
}

} // namespace varn::bench
