#include "device/web/pin_guard.h"

#include <algorithm>

namespace varn::web {

bool is_same_pin(std::string_view recorded, std::string_view given) {
    unsigned difference = 0;
    for (std::size_t i = 0; i < PinGuard::kept; ++i) {
        const unsigned left = i < recorded.size() ? static_cast<unsigned char>(recorded[i]) : 0U;
        const unsigned right = i < given.size() ? static_cast<unsigned char>(given[i]) : 0U;
        difference |= left ^ right;
    }
    return difference == 0;
}

int PinGuard::locked_for_s(const std::string &job, Clock::time_point now) const {
    const auto found = tries_.find(job);
    if (found == tries_.end() || found->second.locked_until <= now)
        return 0;
    const auto left = found->second.locked_until - now;
    return static_cast<int>(std::chrono::ceil<std::chrono::seconds>(left).count());
}

PinGuard::Answer PinGuard::check(const std::string &job, std::string_view recorded,
                                 std::string_view given, Clock::time_point now) {
    if (recorded.empty())
        return {Verdict::right, 0};
    if (const int wait = locked_for_s(job, now); wait > 0)
        return {Verdict::too_soon, wait};
    if (is_same_pin(recorded, given)) {
        tries_.erase(job);
        return {Verdict::right, 0};
    }
    Tries &tries = tries_[job];
    constexpr int doublings = 6; // 64 s are more than the longest
    const int delay_s = std::min(1 << std::min(tries.wrong++, doublings), longest_delay_s);
    tries.locked_until = now + std::chrono::seconds(delay_s);
    return {Verdict::wrong, delay_s};
}

} // namespace varn::web
