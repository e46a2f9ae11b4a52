#include "device/web/login.h"

#include "device/wire/local_socket.h"
#include "varn/security.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <stdexcept>
#include <unistd.h>

namespace varn::web {
namespace {

constexpr std::string_view user_name = "admin";
constexpr std::size_t time_digits = 16;
constexpr std::size_t random_digits = 16;
constexpr std::size_t seal_digits = 32;

template <typename Bytes>
std::string to_hex(const Bytes &bytes) {
    std::string hex;
    for (const unsigned char byte : bytes) {
        hex += "0123456789abcdef"[byte >> 4];
        hex += "0123456789abcdef"[byte & 15];
    }
    return hex;
}

std::string hex_of(std::uint64_t number) {
    std::array<unsigned char, 8> bytes = {};
    for (unsigned char &byte : bytes) {
        byte = static_cast<unsigned char>(number >> 56);
        number <<= 8;
    }
    return to_hex(bytes);
}

template <std::size_t size>
std::array<unsigned char, size> random_bytes() {
    std::array<unsigned char, size> bytes;
    if (RAND_bytes(bytes.data(), static_cast<int>(size)) != 1)
        throw std::runtime_error("no random numbers");
    return bytes;
}

/// A host of IPv6 has as many addresses as it likes: it is known by its network.
std::string brake_key(std::string_view address) {
    in6_addr number = {};
    std::string text(address.substr(0, address.find('%')));
    if (inet_pton(AF_INET6, text.c_str(), &number) != 1)
        return text;
    return {reinterpret_cast<const char *>(number.s6_addr), 8};
}

/// The first line of the password file; none when it is missing or empty.
std::optional<std::string> user_line(const std::string &file) {
    std::ifstream stream(file);
    std::string line;
    if (!std::getline(stream, line) && line.empty())
        return std::nullopt;
    return line;
}

/// What stands behind user and realm. A line of another user or realm lets nobody in.
std::optional<std::string> secret_of(std::string_view line) {
    const std::string begin = std::string(user_name) + ":" VARN_ADMIN_REALM ":";
    if (!line.starts_with(begin))
        return std::nullopt;
    return std::string(line.substr(begin.size()));
}

} // namespace

NonceBook::NonceBook() : key_(random_bytes<32>()) {}

std::string NonceBook::seal(std::string_view text) const {
    std::array<unsigned char, EVP_MAX_MD_SIZE> mac = {};
    unsigned size = 0;
    HMAC(EVP_sha256(), key_.data(), static_cast<int>(key_.size()),
         reinterpret_cast<const unsigned char *>(text.data()), text.size(), mac.data(), &size);
    return to_hex(mac).substr(0, seal_digits);
}

std::string NonceBook::issue(Clock::time_point now) {
    const std::string text = hex_of(static_cast<std::uint64_t>(now.time_since_epoch().count())) +
                             to_hex(random_bytes<random_digits / 2>());
    return text + seal(text);
}

std::optional<NonceBook::Clock::time_point> NonceBook::issued_at(const std::string &nonce) const {
    constexpr std::size_t text_digits = time_digits + random_digits;
    if (nonce.size() != text_digits + seal_digits ||
        !is_same_secret(seal(std::string_view(nonce).substr(0, text_digits)),
                        std::string_view(nonce).substr(text_digits)))
        return std::nullopt;
    std::uint64_t ticks = 0;
    std::from_chars(nonce.data(), nonce.data() + time_digits, ticks, 16);
    return Clock::time_point(Clock::duration(ticks));
}

void NonceBook::make_room(Clock::time_point now) {
    std::erase_if(used_, [&](const auto &row) { return now - row.second.issued > lifetime; });
    while (used_.size() >= most_kept) {
        const auto oldest =
            std::ranges::min_element(used_, {}, [](const auto &row) { return row.second.issued; });
        forgotten_ = std::max(forgotten_, oldest->second.issued);
        used_.erase(oldest);
    }
}

bool NonceBook::use(const std::string &nonce, std::uint32_t count, Clock::time_point now) {
    const auto issued = issued_at(nonce);
    if (!issued || now - *issued > lifetime || count == 0)
        return false;
    auto found = used_.find(nonce);
    if (found == used_.end()) {
        make_room(now);
        if (*issued <= forgotten_)
            return false;
        found = used_.emplace(nonce, Uses{*issued}).first;
    }
    constexpr std::uint32_t window = 64;
    Uses &uses = found->second;
    if (count > uses.highest) {
        const std::uint32_t step = count - uses.highest;
        uses.seen = step < window ? uses.seen << step : 0;
        uses.highest = count;
    }
    const std::uint32_t behind = uses.highest - count;
    if (behind >= window || (uses.seen >> behind & 1) != 0)
        return false;
    uses.seen |= std::uint64_t{1} << behind;
    return true;
}

int GuessBrake::locked_for_s(const std::string &address, Clock::time_point now) const {
    const auto found = tries_.find(address);
    if (found == tries_.end() || found->second.locked_until <= now)
        return 0;
    const auto left = found->second.locked_until - now;
    return static_cast<int>(std::chrono::ceil<std::chrono::seconds>(left).count());
}

void GuessBrake::note_wrong(const std::string &address, Clock::time_point now) {
    if (tries_.size() >= most_addresses && !tries_.contains(address))
        tries_.erase(std::ranges::min_element(
            tries_, {}, [](const auto &row) { return row.second.locked_until; }));
    Tries &tries = tries_[address];
    // An hour of silence is forgiven.
    if (now - tries.locked_until > std::chrono::hours(1))
        tries.wrong = 0;
    constexpr int doublings = 6; // 64 s are more than the longest
    const int delay_s = std::min(1 << std::min(tries.wrong++, doublings), longest_delay_s);
    tries.locked_until = now + std::chrono::seconds(delay_s);
}

Login::Login(const std::string &root) : user_file_(root + "/etc/user.txt") {}

bool Login::is_required() const { return user_line(user_file_).has_value(); }

/// The line that the digest tool makes, put in place of the old one at once.
bool Login::set_password(std::string_view password) {
    const std::lock_guard lock(mutex_);
    std::string line = std::string(user_name) + ":" VARN_ADMIN_REALM ":";
    line += md5_hex(line + std::string(password)) + "\n";
    if (password.empty())
        line.clear();
    const std::string fresh = user_file_ + ".new";
    wire::Descriptor file(
        open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    return file &&
           write(file.get(), line.data(), line.size()) == static_cast<ssize_t>(line.size()) &&
           fsync(file.get()) == 0 && rename(fresh.c_str(), user_file_.c_str()) == 0;
}

Response Login::challenge(bool stale, Clock::time_point now) {
    Response response = error_response(401, stale ? "log in again" : "administrator only");
    response.challenge = "Digest realm=\"" VARN_ADMIN_REALM
                         "\", qop=\"auth\", algorithm=MD5, nonce=\"" +
                         nonces_.issue(now) + "\"";
    if (stale)
        response.challenge += ", stale=true";
    return response;
}

std::optional<Response> Login::refuse(const LoginRequest &request, Clock::time_point now) {
    const std::optional<std::string> line = user_line(user_file_);
    if (!line)
        return std::nullopt;
    const std::lock_guard lock(mutex_);
    const std::optional<DigestClaim> claim = parse_digest(request.authorization);
    if (!claim)
        return challenge(false, now);
    const std::string address = brake_key(request.address);
    if (const int wait = brake_.locked_for_s(address, now); wait > 0) {
        Response response = error_response(429, "too many wrong passwords");
        response.retry_after_s = wait;
        return response;
    }
    const std::optional<std::string> secret = secret_of(*line);
    const std::string expected = expected_response(*claim, request.method, secret.value_or(""));
    const bool is_right = is_same_secret(expected, claim->response) && secret &&
                          claim->user == user_name && claim->realm == VARN_ADMIN_REALM &&
                          claim->uri == request.target;
    if (!is_right) {
        brake_.note_wrong(address, now);
        return challenge(false, now);
    }
    if (!nonces_.use(claim->nonce, claim->count, now))
        return challenge(true, now);
    brake_.note_right(address);
    return std::nullopt;
}

} // namespace varn::web
