#include "device/web/body_reader.h"

#include <algorithm>

namespace varn::web {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t largest_step = 16;
constexpr auto fast_read = std::chrono::milliseconds(2);

/// A read waits for everything that it asks for, for a while for each byte. A large one would
/// hold a thread for hours at a client that sends a byte now and then, so a slow client is read
/// byte by byte, and the time is looked at after each.
class PacedReader {
public:
    PacedReader(const ReadBody &read, std::chrono::milliseconds time)
        : read_(read), deadline_(Clock::now() + time) {}

    bool late() const { return Clock::now() >= deadline_; }

    int next(char *buffer, std::size_t size) {
        const auto began = Clock::now();
        const int got = read_(buffer, std::min(size, step_));
        step_ = Clock::now() - began < fast_read ? std::min(2 * step_, largest_step) : 1;
        return got;
    }

private:
    const ReadBody &read_;
    const Clock::time_point deadline_;
    std::size_t step_ = 1;
};

} // namespace

int read_body(const ReadBody &read, const BodyFraming &framing, const BodyLimits &limits,
              std::string &body) {
    if (framing.length && *framing.length > limits.size)
        return 413;
    PacedReader reader(read, limits.time);
    char buffer[largest_step];
    for (;;) {
        if (framing.length && body.size() == *framing.length)
            return 0;
        const int got = reader.next(buffer, sizeof buffer);
        if (got > 0)
            body.append(buffer, static_cast<std::size_t>(got));
        if (body.size() > limits.size)
            return 413;
        if (got == 0 && framing.chunked)
            return 0;
        if (got <= 0)
            return framing.chunked && !reader.late() ? 400 : 408;
        if (reader.late())
            return 408;
    }
}

void drop_body(const ReadBody &read, const BodyLimits &limits) {
    PacedReader reader(read, limits.time);
    char buffer[largest_step];
    std::size_t dropped = 0;
    while (dropped < limits.size && !reader.late()) {
        const int got = reader.next(buffer, sizeof buffer);
        if (got <= 0)
            return;
        dropped += static_cast<std::size_t>(got);
    }
}

} // namespace varn::web
