#include "escl/engine_socket.h"

#include "frame/root.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace varn {

varn_action_cmd make_command(uint8_t opcode, uint8_t sub_command, uint16_t selector,
                             uint32_t length) {
    varn_action_cmd command = {};
    command.signature = action_signature;
    command.byOPCode = opcode;
    command.sub_command = sub_command;
    command.wDTQ = selector;
    command.length = length;
    return command;
}

bool write_all(int fd, const void *data, size_t size) {
    const auto *bytes = static_cast<const char *>(data);
    while (size > 0) {
        ssize_t n = send(fd, bytes, size, MSG_NOSIGNAL);
        if (n < 0 && errno == ENOTSOCK)
            n = write(fd, bytes, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

size_t read_all(int fd, void *data, size_t size, int timeout_ms) {
    auto *bytes = static_cast<char *>(data);
    size_t got = 0;
    while (got < size) {
        if (timeout_ms >= 0) {
            pollfd wait = {fd, POLLIN, 0};
            const int ready = poll(&wait, 1, timeout_ms);
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0)
                break;
        }
        const ssize_t n = read(fd, bytes + got, size - got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        got += static_cast<size_t>(n);
    }
    return got;
}

namespace {

/// An engine that is silent for this long on the action socket is taken for gone.
constexpr int action_timeout_ms = 10000;
constexpr size_t reply_size = 32;

bool read_action(int fd, void *data, size_t size) {
    if (read_all(fd, data, size, action_timeout_ms) == size)
        return true;
    memset(data, 0, size);
    return false;
}

bool write_action(int fd, const void *data, size_t size) {
    if (write_all(fd, data, size))
        return true;
    printf("#Error: write  unix socket error len=%d\n", -1);
    close(fd);
    return false;
}

} // namespace
} // namespace varn

int32_t send_action_cmd(int32_t cmd_fd, const varn_action_cmd *command, void *reply, void *payload,
                        uint32_t length) {
    if (cmd_fd == 0) {
        puts("#Error: Failed connecting to action server socket.");
        return -1;
    }
    if (command == nullptr || (payload == nullptr && length != 0))
        return -1;
    if (!varn::write_action(cmd_fd, command, sizeof *command))
        return -2;
    if (reply != nullptr && !varn::read_action(cmd_fd, reply, varn::reply_size))
        return -2;
    if (command->byOPCode == varn::op_inquire || command->byOPCode == varn::op_control)
        return 0;
    if (length != 0 && command->byOPCode == varn::op_read) {
        printf("cmd->byOPCode = %d \n", command->byOPCode);
        return varn::read_action(cmd_fd, payload, length) ? 0 : -2;
    }
    return length == 0 || varn::write_action(cmd_fd, payload, length) ? 0 : -2;
}

int32_t unix_socket_connect(const char *path) {
    if (path == nullptr)
        return -1;
    const std::string full = varn::device_path(path);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (full.size() >= sizeof address.sun_path)
        return -1;
    memcpy(address.sun_path, full.c_str(), full.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return -1;
    if (fd != 0) {
        const timeval send_timeout = {2, 0};
        setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &send_timeout, sizeof send_timeout);
    }
    // Two bytes more than the text: the family field, and no terminator.
    const auto length = static_cast<socklen_t>(full.size() + 2);
    if (connect(fd, reinterpret_cast<const sockaddr *>(&address), length) != 0) {
        close(fd);
        return -1;
    }
    if (fd != 0) {
        const int send_buffer = 65535;
        setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &send_buffer, sizeof send_buffer);
    }
    return fd;
}
