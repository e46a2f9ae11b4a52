#include "device/engine/image_server.h"

#include "device/engine/files.h"

#include <cerrno>
#include <cstring>
#include <poll.h>

namespace varn::engine {
namespace {

enum SubCommand : std::uint8_t { sub_next_block = 4, sub_cancel = 7 };

/// One client. Its scan ends with it.
class ImageSession {
public:
    ImageSession(Engine &engine, Client &client) : engine_(engine), client_(client) {}
    ~ImageSession() { finish(wire::err_none); }

    void serve() {
        while (client_.receive_request(writable_bytes(command_)) && perform()) {
        }
    }

private:
    bool perform() {
        if (command_.dwSignature != wire::action_signature || command_.byOPCode != 0)
            return false;
        if (!job_)
            job_ = engine_.claim();
        if (command_.bySubCommand == sub_next_block)
            return hand_over_block();
        return command_.bySubCommand == sub_cancel && cancel();
    }

    bool hand_over_block() {
        QueueItem item;
        if (!job_)
            item.status.dwLastErr = wire::err_abort_scan; // there is nothing to give
        else if (!wait_for(item) || item.kind == QueueItem::Kind::drop)
            return false;
        const bool failed = item.status.dwLastErr > wire::err_limit;
        if (failed)
            finish(item.status.dwLastErr); // before the client can know, and start the next scan
        if (!client_.send(bytes_of(item.status)))
            return false;
        const Answer answer = receive_answer();
        if (answer == Answer::command)
            return command_.bySubCommand == sub_cancel && cancel();
        if (answer != Answer::acknowledged || failed)
            return answer == Answer::acknowledged;
        job_->queue().acknowledge();
        return !item.ends_sheet || hand_over_sheet_record();
    }

    bool hand_over_sheet_record() {
        QueueItem item;
        if (!wait_for(item) || item.kind == QueueItem::Kind::drop)
            return false;
        if (item.status.dwLastErr > wire::err_limit || item.status.byFlowStatus != flow_more)
            finish(item.status.dwLastErr);
        return client_.send(bytes_of(item.status));
    }

    bool cancel() {
        finish(wire::err_none);
        wire::BlockStatus status;
        status.dwLastErr = wire::err_abort_scan;
        status.dwBlockCount = ring_block_count;
        return client_.send(bytes_of(status));
    }

    enum class Answer { acknowledged, command, none };

    /// After a block comes its acknowledgement, or a command of a client that gives up.
    Answer receive_answer() {
        std::uint8_t start[sizeof wire::block_acknowledgement];
        if (!client_.receive_request(writable_bytes(start)))
            return Answer::none;
        if (std::memcmp(start, wire::block_acknowledgement, sizeof start) == 0)
            return Answer::acknowledged;
        const auto bytes = writable_bytes(command_);
        std::memcpy(bytes.data(), start, sizeof start);
        if (command_.dwSignature != wire::action_signature ||
            !client_.receive(bytes.subspan(sizeof start)) || command_.byOPCode != 0)
            return Answer::none;
        return Answer::command;
    }

    /// The scan's next item; false when the client is gone.
    bool wait_for(QueueItem &item) {
        for (;;) {
            if (const auto taken = job_->queue().take()) {
                item = *taken;
                return true;
            }
            if (job_->queue().closed()) { // ended from outside with nothing left to say
                item.status.dwLastErr = wire::err_abort_scan;
                return true;
            }
            pollfd entries[2] = {{client_.fd(), POLLRDHUP, 0},
                                 {job_->queue().event_fd(), POLLIN, 0}};
            if (poll(entries, 2, -1) < 0 && errno != EINTR)
                return false;
            if (entries[0].revents != 0)
                return false;
        }
    }

    void finish(std::uint32_t error) {
        if (job_)
            engine_.finish(job_, error);
        job_.reset();
    }

    Engine &engine_;
    Client &client_;
    std::shared_ptr<ScanJob> job_; ///< the scan whose images this client takes
    wire::ActionCommand command_;
};

} // namespace

void serve_images(Engine &engine, Client &client) { ImageSession(engine, client).serve(); }

} // namespace varn::engine
