#include "device/engine/strip_feed.h"

#include <algorithm>

namespace varn::engine {
namespace {

/// Enough for what draws a hundred rows at a time and rests in between; a wide page gets fewer.
constexpr std::size_t most_bytes_ahead = 4 * 1024 * 1024;
constexpr std::size_t most_strips_ahead = 32;
constexpr std::size_t fewest_strips_ahead = 3;

std::size_t strips_ahead(std::uint32_t width) {
    const std::size_t strip = std::size_t{width} * StripFeed::strip_rows * sizeof(Pixel);
    return std::clamp(most_bytes_ahead / strip, fewest_strips_ahead, most_strips_ahead);
}

} // namespace

StripFeed::StripFeed(RowSource &rows, const PagePlan &plan)
    : rows_(rows), plan_(plan), slots_(strips_ahead(plan.area.width)), thread_([this] { run(); }) {}

StripFeed::~StripFeed() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
    }
    thread_.join();
}

StripFeed::Strip StripFeed::next() {
    std::unique_lock lock(mutex_);
    const unsigned number = taken_++; // gives the strip before it back
    changed_.notify_all();
    changed_.wait(lock, [&] { return filled_ > number || failure_; });
    if (filled_ <= number)
        std::rethrow_exception(failure_);
    return slots_[number % slots_.size()].strip;
}

void StripFeed::run() {
    try {
        const std::uint32_t height = plan_.area.height;
        for (std::uint32_t line = 0; line < height && wait_for_slot(); line += strip_rows) {
            fill(slots_[line / strip_rows % slots_.size()], std::min(strip_rows, height - line));
            publish(nullptr);
        }
    } catch (...) {
        publish(std::current_exception());
    }
}

/// False when nobody wants more.
bool StripFeed::wait_for_slot() {
    std::unique_lock lock(mutex_);
    const auto in_use = [this] { return filled_ - (taken_ > 0 ? taken_ - 1 : 0); };
    changed_.wait(lock, [&] { return stopping_ || in_use() < slots_.size(); });
    return !stopping_;
}

void StripFeed::fill(Slot &slot, unsigned count) {
    const std::size_t pixels = std::size_t{plan_.area.width} * count;
    slot.pixels.resize(pixels);
    rows_.read(slot.pixels.data(), count);
    slot.strip = {process_rows(plan_, slot.pixels, slot.grey), count};
}

void StripFeed::publish(const std::exception_ptr &failure) {
    const std::lock_guard lock(mutex_);
    if (failure)
        failure_ = failure;
    else
        ++filled_;
    changed_.notify_all();
}

} // namespace varn::engine
