#include "device/engine/block_queue.h"

#include <chrono>
#include <sys/eventfd.h>

namespace varn::engine {

BlockQueue::BlockQueue(Ring &ring) : ring_(ring), event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

std::span<std::uint8_t> BlockQueue::acquire() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || acquired_ - acknowledged_ < ring_block_count; });
    if (closed_)
        return {};
    return ring_.block(acquired_++);
}

void BlockQueue::push(const QueueItem &item) {
    const std::lock_guard lock(mutex_);
    if (closed_)
        return;
    items_.push_back(item);
    eventfd_write(event_.get(), 1);
}

bool BlockQueue::wait_for_turn(unsigned number) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return closed_ || number <= sheets_taken_ + 2; });
    return !closed_;
}

void BlockQueue::pause(unsigned milliseconds) {
    if (milliseconds == 0)
        return;
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return closed_; });
}

std::optional<QueueItem> BlockQueue::take() {
    const std::lock_guard lock(mutex_);
    if (items_.empty()) {
        eventfd_t count = 0;
        if (!closed_)
            eventfd_read(event_.get(), &count);
        return std::nullopt;
    }
    const QueueItem item = items_.front();
    items_.pop_front();
    if (item.kind == QueueItem::Kind::sheet) {
        ++sheets_taken_;
        changed_.notify_all();
    }
    return item;
}

void BlockQueue::acknowledge() {
    const std::lock_guard lock(mutex_);
    ++acknowledged_;
    changed_.notify_all();
}

void BlockQueue::close(std::optional<QueueItem> last) {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    items_.clear();
    if (last)
        items_.push_back(*last);
    changed_.notify_all();
    eventfd_write(event_.get(), 1);
}

bool BlockQueue::closed() const {
    const std::lock_guard lock(mutex_);
    return closed_;
}

std::span<std::uint8_t> BlockWriter::room() {
    if (!current_.empty() && used_ < current_.size())
        return current_.subspan(used_);
    if (!current_.empty()) {
        release_held();
        held_ = true;
    }
    queue_.pause(delay_ms_);
    current_ = queue_.acquire();
    used_ = 0;
    return current_;
}

void BlockWriter::advance(std::size_t size) {
    used_ += size;
    if (used_ > 0)
        release_held();
}

void BlockWriter::finish(const wire::BlockStatus &last, bool ends_sheet) {
    if (held_ && used_ == 0) {
        held_ = false;
        push(last, ring_block_size, ends_sheet);
        return; // the empty block begins the next image
    }
    release_held();
    push(last, used_, ends_sheet);
    current_ = {};
    used_ = 0;
}

void BlockWriter::push(wire::BlockStatus status, std::size_t size, bool ends_sheet) {
    status.dwDataLength = static_cast<std::uint32_t>(size);
    status.dwImageIndex = image_;
    status.dwBlockCount = ring_block_count;
    queue_.push({QueueItem::Kind::block, status, ends_sheet});
}

void BlockWriter::release_held() {
    if (held_)
        push({}, ring_block_size, false);
    held_ = false;
}

} // namespace varn::engine
