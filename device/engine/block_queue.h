/// What a running scan has ready for the image client: blocks in ring order, and the records that
/// end a sheet or a job. The scan fills it from its own thread while the client takes from it.
#pragma once

#include "device/engine/ring.h"
#include "device/wire/local_socket.h"
#include "device/wire/records.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <span>

namespace varn::engine {

/// byFlowStatus of a sheet record.
enum FlowStatus : std::uint8_t { flow_more = 2, flow_finished = 4 };

struct QueueItem {
    enum class Kind {
        block, ///< bytes in the ring, or with an error word the end of the job
        sheet, ///< behind the last image of a sheet
        drop,  ///< no record: the client is disconnected
    };
    Kind kind = Kind::block;
    wire::BlockStatus status;
    bool ends_sheet = false; ///< the sheet's last block; its sheet record is the next item
};

class BlockQueue {
public:
    explicit BlockQueue(Ring &ring);

    /// The next block in ring order, once the client has acknowledged what was in it; empty when
    /// the queue was closed. Blocks are handed to push in the same order.
    std::span<std::uint8_t> acquire();
    void push(const QueueItem &item);
    /// Waits until sheet `number` (from 1) may begin: a scan runs at most one sheet ahead of the
    /// one that the client is taking. False when the queue was closed.
    bool wait_for_turn(unsigned number);
    /// Lets the scan idle for so long, or until the queue is closed.
    void pause(unsigned milliseconds);

    std::optional<QueueItem> take();
    /// Gives the block of the oldest taken item back to the scan.
    void acknowledge();
    /// Readable whenever there may be something to take, and from the closing on.
    int event_fd() const { return event_.get(); }

    /// Ends the scan's waits for good and drops what is queued; only `last` can be taken then.
    void close(std::optional<QueueItem> last = std::nullopt);
    bool closed() const;
    /// Whether the client has taken all that was pushed.
    bool empty() const;

private:
    Ring &ring_;
    wire::Descriptor event_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<QueueItem> items_;
    std::uint32_t acquired_ = 0;
    std::uint32_t acknowledged_ = 0;
    unsigned sheets_taken_ = 0;
    bool closed_ = false;
};

/// Cuts the bytes of an image into blocks.
///
/// The last block of an image bears its end mark and cannot be empty, so a block is held back
/// until the next one has a byte.
class BlockWriter {
public:
    explicit BlockWriter(BlockQueue &queue) : queue_(queue) {}

    /// Time to idle for each block that is begun.
    void set_delay(unsigned milliseconds) { delay_ms_ = milliseconds; }

    /// Room for the next bytes; empty when the scan is over.
    std::span<std::uint8_t> room();
    /// Room in a new block: what is in the one before goes out.
    std::span<std::uint8_t> cut();
    /// Whether the image comes through sooner when what there is goes out now. A client that has
    /// taken all looks again every 5 ms: it gets its next block at that pace, and the last one is
    /// not held up by one that was full just before the end.
    /// left      time until the last byte, as far as is known
    bool cut_pays(std::chrono::steady_clock::duration left) const;
    /// The first `size` bytes of the room are filled.
    void advance(std::size_t size);
    /// Ends the image: its last block carries `last`.
    void finish(const wire::BlockStatus &last, bool ends_sheet);

    void set_image(std::uint32_t index);

private:
    void push(wire::BlockStatus status, std::size_t size, bool ends_sheet);
    void release_held();
    std::span<std::uint8_t> next_block();

    BlockQueue &queue_;
    std::span<std::uint8_t> current_;
    std::size_t used_ = 0;
    std::size_t held_ = 0; ///< bytes of the block before `current_` when it is not queued yet
    std::chrono::steady_clock::time_point queued_at_{}; ///< the newest block, or the image's start
    std::uint32_t image_ = 0;
    unsigned delay_ms_ = 0;
};

} // namespace varn::engine
