/// The administrator's login: digest access authentication against the device's password file.
///
/// "/etc/user.txt" of the device tree has the one user, as the digest tool writes it. Without a
/// line in it nobody needs to log in.
#pragma once

#include "device/web/digest.h"
#include "device/web/http.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace varn::web {

/// The server's nonces. One that was made here is known by its seal; only those that somebody has
/// logged in with are kept, so that asking for many costs nobody anything.
class NonceBook {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::minutes lifetime{5};
    static constexpr std::size_t most_kept = 256;

    NonceBook();
    std::string issue(Clock::time_point now);
    /// Notes a use; false when the nonce is not ours, too old, or its count was used before.
    /// Requests may overtake each other: a count may be up to 63 below the highest.
    bool use(const std::string &nonce, std::uint32_t count, Clock::time_point now);

private:
    struct Uses {
        Clock::time_point issued;
        std::uint32_t highest = 0;
        std::uint64_t seen = 0; ///< bit n: the count `highest` - n
    };
    std::string seal(std::string_view text) const;
    std::optional<Clock::time_point> issued_at(const std::string &nonce) const;
    void make_room(Clock::time_point now);

    std::array<unsigned char, 32> key_;
    std::map<std::string, Uses> used_;
    Clock::time_point forgotten_ =
        Clock::time_point::min(); ///< what is older is not known any more
};

/// Slows down who guesses: the first wrong try of an address costs a second, each further one
/// twice as much, up to a minute.
class GuessBrake {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t most_addresses = 1024;
    static constexpr int longest_delay_s = 60;

    /// Whole seconds, rounded up, until a try of this address is looked at.
    int locked_for_s(const std::string &address, Clock::time_point now) const;
    void note_wrong(const std::string &address, Clock::time_point now);
    void note_right(const std::string &address) { tries_.erase(address); }

private:
    struct Tries {
        int wrong = 0;
        Clock::time_point locked_until;
    };
    std::map<std::string, Tries> tries_;
};

/// Who asks, and for what.
struct LoginRequest {
    std::string_view method;
    std::string_view target;        ///< as it was sent, with its query
    std::string_view authorization; ///< of the field; empty: none
    std::string_view address;       ///< of the client
};

class Login {
public:
    using Clock = std::chrono::steady_clock;

    /// root  device tree
    explicit Login(const std::string &root);

    /// Whether a password is set.
    bool is_required() const;
    /// Keeps a password; an empty one removes it. False when the file cannot be written.
    bool set_password(std::string_view password);
    /// None for the administrator; else 401 with a challenge, or 429 when this address has to wait.
    std::optional<Response> refuse(const LoginRequest &request,
                                   Clock::time_point now = Clock::now());

private:
    Response challenge(bool stale, Clock::time_point now);

    const std::string user_file_;
    std::mutex mutex_;
    NonceBook nonces_;
    GuessBrake brake_;
};

} // namespace varn::web
