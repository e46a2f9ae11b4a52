#include "bench/http_socket.h"

#include <arpa/inet.h>
#include <charconv>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>

namespace varn::bench {
namespace {

std::size_t number_at(std::string_view text, int base) {
    std::size_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value, base);
    return value;
}

} // namespace

Socket::Socket(int port) : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(port));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int on = 1;
    setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const timeval limit = {5, 0};
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    if (connect(fd_, reinterpret_cast<const sockaddr *>(&to), sizeof to) != 0)
        throw std::runtime_error("cannot connect to the server");
}

void Socket::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t n = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n <= 0)
            throw std::runtime_error("the server takes no request");
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
}

std::string get_request(const std::string &path, bool keep_alive) {
    return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
           (keep_alive ? "" : "Connection: close\r\n") + "\r\n";
}

bool AnswerReader::receive(const Socket &socket) {
    constexpr std::size_t step = 256 * 1024;
    static char buffer[step]; // one thread
    const ssize_t n = recv(socket.fd(), buffer, step, 0);
    if (n <= 0)
        throw std::runtime_error("an answer broke off");
    bytes_.append(buffer, static_cast<std::size_t>(n));
    return is_whole();
}

int AnswerReader::status() const {
    constexpr std::size_t status_at = 9; // "HTTP/1.1 200 OK"
    return bytes_.size() > status_at
               ? static_cast<int>(number_at(std::string_view(bytes_).substr(status_at), 10))
               : 0;
}

std::string AnswerReader::field(std::string_view name) const {
    const std::string_view head = std::string_view(bytes_).substr(0, head_size_);
    const std::string key = "\r\n" + std::string(name) + ": ";
    const auto at = head.find(key);
    if (at == std::string_view::npos)
        return {};
    const auto value = head.substr(at + key.size());
    return std::string(value.substr(0, value.find("\r\n")));
}

bool AnswerReader::is_whole() {
    if (head_size_ == 0) {
        const auto end = bytes_.find("\r\n\r\n");
        if (end == std::string::npos)
            return false;
        head_size_ = next_chunk_ = end + 4;
        chunked_ = field("Transfer-Encoding") == "chunked";
        length_ = number_at(field("Content-Length"), 10);
    }
    if (chunked_)
        return join_chunks();
    if (bytes_.size() < head_size_ + length_)
        return false;
    body_ = bytes_.substr(head_size_);
    return true;
}

bool AnswerReader::join_chunks() {
    for (;;) {
        const auto line_end = bytes_.find("\r\n", next_chunk_);
        if (line_end == std::string::npos)
            return false;
        const std::size_t size = number_at(std::string_view(bytes_).substr(next_chunk_), 16);
        const std::size_t begin = line_end + 2;
        if (bytes_.size() < begin + size + 2)
            return false;
        body_.append(bytes_, begin, size);
        next_chunk_ = begin + size + 2;
        if (size == 0)
            return true;
    }
}

} // namespace varn::bench
