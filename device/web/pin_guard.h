/// Checks the PIN of a stored job, and slows down who guesses.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <string_view>

namespace varn::web {

class PinGuard {
public:
    using Clock = std::chrono::steady_clock;
    enum class Verdict {
        right,
        wrong,
        too_soon ///< after a wrong one; nothing was compared
    };
    struct Answer {
        Verdict verdict;
        int retry_after_s; ///< until the next try is looked at; 0 when it is right
    };

    /// The engine keeps this much of a PIN; what is longer is right when it begins so.
    static constexpr std::size_t kept = 15;
    static constexpr int longest_delay_s = 60;

    /// The first wrong try costs a second, each further one twice as much.
    /// recorded  what the engine keeps; empty lets everything in
    Answer check(const std::string &job, std::string_view recorded, std::string_view given,
                 Clock::time_point now);
    /// Whole seconds, rounded up, until a try is looked at.
    int locked_for_s(const std::string &job, Clock::time_point now) const;
    /// is_there  whether there still is the job of that name
    template <typename IsThere>
    void forget_all_but(IsThere is_there) {
        std::erase_if(tries_, [&](const auto &entry) { return !is_there(entry.first); });
    }

private:
    struct Tries {
        int wrong = 0;
        Clock::time_point locked_until;
    };
    std::map<std::string, Tries> tries_;
};

/// Takes the same time for every content: each place is compared.
bool is_same_pin(std::string_view recorded, std::string_view given);

} // namespace varn::web
