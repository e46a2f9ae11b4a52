/// Digest access authentication (RFC 7616): what a client claims, and whether it adds up.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace varn::web {

/// An Authorization field, quotes and escapes taken off.
struct DigestClaim {
    std::string user;
    std::string realm;
    std::string nonce;
    std::string uri;
    std::string client_nonce;
    std::string nonce_count; ///< 8 hexadecimal digits, as they came
    std::string response;    ///< 32 lower-case hexadecimal digits
    std::uint32_t count = 0; ///< nonce_count as a number
};

/// None for another scheme, another algorithm than MD5, another protection than "auth", and for a
/// field that leaves something out, says it twice or cannot be read.
std::optional<DigestClaim> parse_digest(std::string_view authorization);

/// MD5 in lower-case hexadecimal digits.
std::string md5_hex(std::string_view text);

/// What the response has to be.
/// secret    MD5 of user:realm:password, as the password file has it
std::string expected_response(const DigestClaim &claim, std::string_view method,
                              std::string_view secret);

/// Takes the same time wherever two texts of one length differ.
bool is_same_secret(std::string_view a, std::string_view b);

} // namespace varn::web
