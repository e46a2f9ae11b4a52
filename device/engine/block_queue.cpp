#include "device/engine/block_queue.h"

#include <chrono>
#include <sys/eventfd.h>
#include <utility>

namespace varn::engine {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// From the moment when a client is given a block to that when it can take the next one.
constexpr auto client_step = 5500us;
constexpr std::size_t least_cut = ring_block_size / 4;

} // namespace

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

bool BlockQueue::empty() const {
    const std::lock_guard lock(mutex_);
    return items_.empty();
}

void BlockWriter::set_image(std::uint32_t index) {
    image_ = index;
    queued_at_ = Clock::now();
}

std::span<std::uint8_t> BlockWriter::room() {
    return used_ < current_.size() ? current_.subspan(used_) : next_block();
}

std::span<std::uint8_t> BlockWriter::cut() { return used_ > 0 ? next_block() : room(); }

bool BlockWriter::cut_pays(Clock::duration left) const {
    return used_ >= least_cut && left >= client_step && Clock::now() - queued_at_ >= client_step &&
           queue_.empty();
}

std::span<std::uint8_t> BlockWriter::next_block() {
    if (!current_.empty()) {
        release_held();
        held_ = used_;
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
    if (held_ > 0 && used_ == 0) {
        push(last, std::exchange(held_, 0), ends_sheet);
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
    queued_at_ = Clock::now();
}

void BlockWriter::release_held() {
    if (held_ > 0)
        push({}, held_, false);
    held_ = 0;
}

} // namespace varn::engine
