#include "tests/web/support/raw_http.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

namespace varn::testing {
namespace {

constexpr int answer_limit_ms = 10000;
constexpr int close_limit_ms = 2000;

} // namespace

RawConnection::RawConnection(int port, int receive_buffer)
    : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (receive_buffer > 0)
        setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(port));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd_, reinterpret_cast<const sockaddr *>(&to), sizeof to) != 0)
        close();
}

RawConnection::~RawConnection() { close(); }

void RawConnection::close() {
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
}

bool RawConnection::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t n = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

std::string RawConnection::receive_some(std::size_t size) const {
    pollfd ready = {fd_, POLLIN, 0};
    std::string bytes(size, '\0');
    if (poll(&ready, 1, answer_limit_ms) <= 0)
        return {};
    const ssize_t n = recv(fd_, bytes.data(), size, 0);
    bytes.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
    return bytes;
}

std::string RawConnection::receive() {
    constexpr std::string_view end_of_head = "\r\n\r\n";
    for (;;) {
        if (const auto end = buffered_.find(end_of_head); end != std::string::npos) {
            const std::string length = field_of(buffered_, "Content-Length");
            const std::size_t size =
                end + end_of_head.size() + static_cast<std::size_t>(std::atol(length.c_str()));
            if (buffered_.size() >= size) {
                std::string answer = buffered_.substr(0, size);
                buffered_.erase(0, size);
                return answer;
            }
        }
        const std::string more = receive_some(4096);
        if (more.empty())
            return {};
        buffered_ += more;
    }
}

bool RawConnection::closed_by_server() const {
    pollfd ready = {fd_, POLLIN, 0};
    char byte;
    return poll(&ready, 1, close_limit_ms) > 0 && recv(fd_, &byte, 1, 0) <= 0;
}

int status_of(std::string_view answer) {
    constexpr std::string_view begin = "HTTP/1.1 ";
    if (!answer.starts_with(begin))
        return 0;
    return std::atoi(std::string(answer.substr(begin.size(), 3)).c_str());
}

std::string field_of(std::string_view answer, std::string_view name) {
    const std::string_view head = answer.substr(0, answer.find("\r\n\r\n"));
    for (std::size_t at = head.find("\r\n"); at != std::string_view::npos;
         at = head.find("\r\n", at + 2)) {
        const std::string_view line = head.substr(at + 2, head.find("\r\n", at + 2) - at - 2);
        if (line.size() > name.size() + 1 && line[name.size()] == ':' &&
            strncasecmp(line.data(), name.data(), name.size()) == 0)
            return std::string(line.substr(line.find_first_not_of(' ', name.size() + 1)));
    }
    return {};
}

} // namespace varn::testing
