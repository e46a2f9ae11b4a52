/// Blocks through the receive thread, against the poll of 5 ms that paces them.

#include "bench/pairs.h"
#include "varn/varn.h"

#include <cstring>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace varn::bench {
namespace {

constexpr int blocks = 40;
constexpr uint32_t image_complete = 0x1005;
constexpr uint8_t flow_finished = 4;

/// The image end of the engine: has every block ready before it is asked for.
class Engine {
public:
    Engine() {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_) == 0)
            thread_ = std::thread([this] { serve(); });
    }
    ~Engine() {
        if (thread_.joinable())
            thread_.join();
        close(ends_[0]);
        close(ends_[1]);
    }
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    int library_end() const { return ends_[0]; }

private:
    bool take(size_t size) const {
        char bytes[16];
        return recv(ends_[1], bytes, size, MSG_WAITALL) == static_cast<ssize_t>(size);
    }
    void give(uint32_t error, uint8_t flow) const {
        constexpr uint32_t ring = 8;
        uint8_t record[64] = {};
        memcpy(record, &error, sizeof error);
        record[6] = flow;
        memcpy(record + 40, &ring, sizeof ring);
        send(ends_[1], record, sizeof record, MSG_NOSIGNAL);
    }
    void serve() const {
        for (int i = 1; i <= blocks && take(16); ++i) {
            give(i == blocks ? image_complete : 0, 0);
            if (!take(4))
                return;
        }
        give(0, flow_finished);
    }

    int ends_[2] = {-1, -1};
    std::thread thread_;
};

/// A host that takes each block as soon as it is there.
bool scan() {
    create_scan_job_status();
    Engine engine;
    int32_t image_fd = engine.library_end();
    if (create_receive_thread(&image_fd) != 201)
        return false;
    int taken = 0;
    while (escl_is_scanning() != 0) {
        uint8_t record[64];
        uint32_t index = 0;
        if (do_get_current_block_info(record, &index) == 1) {
            ++taken;
            do_notify_send_CurrentBlock_done();
        }
        usleep(100);
    }
    return taken == blocks;
}

bool wait_for_polls() {
    for (int i = 0; i < blocks; ++i)
        usleep(5000);
    return true;
}

} // namespace

void add_blocks() {
    strcpy(escl_scan_job_uuid, "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab");
    add({.name = "A block through the receive thread",
         .ours = scan,
         .floor = wait_for_polls,
         .items = blocks,
         .waits = true});
}

} // namespace varn::bench
