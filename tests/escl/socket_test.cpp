// Exchanges on the action socket, and connecting to the engine.
#include "tests/escl/scan_fixture.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace varn::test;

namespace {

using Socket = ScanTest;

bool is_open(int fd) { return fcntl(fd, F_GETFD) >= 0; }

varn_action_cmd command(uint8_t opcode, uint32_t length) {
    varn_action_cmd c = {};
    c.signature = 544;
    c.byOPCode = opcode;
    c.sub_command = 75;
    c.wDTQ = 3;
    c.length = length;
    return c;
}

TEST_F(Socket, exchange_by_opcode) {
    const int fd = action->library_fd();
    char reply[32] = {};
    char payload[8] = "payload";
    const std::string status(32, 's');

    varn_action_cmd c = command(18, 0);
    EXPECT_EQ(send_action_cmd(0, &c, reply, nullptr, 0), -1);
    EXPECT_EQ(log_of([&] { send_action_cmd(0, &c, reply, nullptr, 0); }),
              "#Error: Failed connecting to action server socket.\n");

    action->answer_bytewise(status + "READ1234");
    EXPECT_EQ(send_action_cmd(fd, &c, reply, nullptr, 0), 0);
    EXPECT_EQ(std::string(reply, 32), status);
    c = command(40, 8);
    EXPECT_EQ(log_of([&] { EXPECT_EQ(send_action_cmd(fd, &c, nullptr, payload, 8), 0); }),
              "cmd->byOPCode = 40 \n");
    EXPECT_EQ(std::string(payload, 8), "READ1234");
    c = command(42, 8);
    EXPECT_EQ(send_action_cmd(fd, &c, nullptr, payload, 8), 0);
    EXPECT_EQ(engine.take_calls(),
              (Calls{"18.75.3/0", "40.75.3/8", "42.75.3/8 52 45 41 44 31 32 33 34"}));
}

TEST_F(Socket, failed_write_closes_and_failed_read_does_not) {
    const int fd = dup(action->library_fd());
    char reply[32];
    memset(reply, 'x', sizeof reply);
    varn_action_cmd c = command(18, 0);
    action->answer("half a reply");
    std::thread engine_leaves([&] {
        wait_until([&] { return !action->taken().empty(); });
        action->hang_up();
    });
    EXPECT_EQ(send_action_cmd(fd, &c, reply, nullptr, 0), -2);
    engine_leaves.join();
    EXPECT_EQ(std::string(reply, 32), std::string(32, '\0'));
    EXPECT_TRUE(is_open(fd));
    EXPECT_EQ(log_of([&] { EXPECT_EQ(send_action_cmd(fd, &c, reply, nullptr, 0), -2); }),
              "#Error: write  unix socket error len=-1\n");
    EXPECT_FALSE(is_open(fd));
}

TEST_F(Socket, stop_command) {
    action->answer(StatusRecord{}.bytes());
    EXPECT_EQ(escl_stop_scan(action->library_fd()), 0);
    EXPECT_EQ(engine.take_calls(), Calls{"20.6.0/32"});
    EXPECT_EQ(escl_stop_scan(0), 0);
}

TEST_F(Socket, connecting) {
    const std::string path = tree / "run/varn/action";
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    const int fd = unix_socket_connect("/run/varn/action");
    ASSERT_GT(fd, 0);
    timeval timeout = {};
    socklen_t size = sizeof timeout;
    EXPECT_EQ(getsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, &size), 0);
    EXPECT_EQ(timeout.tv_sec, 2);
    int buffer = 0;
    size = sizeof buffer;
    EXPECT_EQ(getsockopt(fd, SOL_SOCKET, SO_SNDBUF, &buffer, &size), 0);
    EXPECT_EQ(buffer, 2 * 65535);
    const int accepted = accept(listener, nullptr, nullptr);
    EXPECT_EQ(write(fd, "x", 1), 1);
    close(accepted);
    close(fd);
    close(listener);

    const int before = dup(1);
    close(before);
    EXPECT_EQ(unix_socket_connect("/run/varn/nobody"), -1);
    EXPECT_EQ(unix_socket_connect(("/run/" + std::string(200, 'x')).c_str()), -1);
    EXPECT_EQ(unix_socket_connect(nullptr), -1);
    const int after = dup(1);
    close(after);
    EXPECT_EQ(after, before) << "a descriptor was left open";
}

} // namespace
