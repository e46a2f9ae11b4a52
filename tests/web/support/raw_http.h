/// HTTP to the byte, for requests that no client library would send.
#pragma once

#include <string>
#include <string_view>

namespace varn::testing {

class RawConnection {
public:
    /// receive_buffer   of the socket, 0 for the usual size
    explicit RawConnection(int port, int receive_buffer = 0);
    ~RawConnection();
    RawConnection(const RawConnection &) = delete;
    RawConnection &operator=(const RawConnection &) = delete;

    bool connected() const { return fd_ >= 0; }
    bool send(std::string_view bytes) const;
    /// One answer: its head and its body by Content-Length. Empty when the server closed first,
    /// or after ten seconds.
    std::string receive();
    /// At most `size` bytes as they come.
    std::string receive_some(std::size_t size) const;
    /// Whether the server has closed the connection, within two seconds.
    bool closed_by_server() const;
    void close();

private:
    int fd_ = -1;
    std::string buffered_;
};

/// Status of an answer; 0 for none.
int status_of(std::string_view answer);
/// Value of a field of an answer's head; empty when it is not there.
std::string field_of(std::string_view answer, std::string_view name);

} // namespace varn::testing
