#include "device/web/digest.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <openssl/evp.h>
#include <utility>

namespace varn::web {
namespace {

constexpr std::string_view scheme = "digest ";
constexpr std::string_view blanks = " \t";

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, lower, lower);
}

bool is_hex(std::string_view text, std::size_t length) {
    return text.size() == length &&
           text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

void skip(std::string_view &text, std::string_view characters) {
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
}

/// Takes a quoted text off; false without its end.
bool take_quoted(std::string_view &text, std::string &value) {
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '"') {
            text.remove_prefix(i + 1);
            return true;
        }
        if (text[i] == '\\' && ++i == text.size())
            return false;
        value += text[i];
    }
    return false;
}

/// Takes `name=value` and a comma off; false when there is something else.
bool take_parameter(std::string_view &text, std::string &name, std::string &value) {
    const std::size_t end = text.find_first_of(" \t=");
    if (end == 0 || end == std::string_view::npos)
        return false;
    name.assign(text.substr(0, end));
    std::ranges::transform(name, name.begin(), lower);
    text.remove_prefix(end);
    skip(text, blanks);
    if (text.empty() || text.front() != '=')
        return false;
    text.remove_prefix(1);
    skip(text, blanks);
    value.clear();
    if (!text.empty() && text.front() == '"') {
        if (!take_quoted(text, value))
            return false;
    } else {
        value = text.substr(0, text.find_first_of(", \t"));
        text.remove_prefix(value.size());
    }
    skip(text, blanks);
    if (!text.empty() && text.front() != ',')
        return false;
    skip(text, " \t,");
    return true;
}

} // namespace

std::optional<DigestClaim> parse_digest(std::string_view authorization) {
    if (!equal_ignoring_case(authorization.substr(0, scheme.size()), scheme))
        return std::nullopt;
    authorization.remove_prefix(scheme.size());
    skip(authorization, blanks);

    DigestClaim claim;
    std::string algorithm = "MD5";
    std::string protection;
    struct Parameter {
        std::string_view name;
        std::string &value;
        bool required;
        bool seen = false;
    } parameters[] = {
        {"username", claim.user, true},       {"realm", claim.realm, true},
        {"nonce", claim.nonce, true},         {"uri", claim.uri, true},
        {"cnonce", claim.client_nonce, true}, {"nc", claim.nonce_count, true},
        {"response", claim.response, true},   {"qop", protection, true},
        {"algorithm", algorithm, false},
    };
    std::string name;
    std::string value;
    while (!authorization.empty()) {
        if (!take_parameter(authorization, name, value))
            return std::nullopt;
        auto *const found = std::ranges::find(parameters, name, &Parameter::name);
        if (found == std::end(parameters))
            continue;
        if (std::exchange(found->seen, true))
            return std::nullopt;
        found->value = value;
    }
    const bool complete =
        std::ranges::all_of(parameters, [](const Parameter &p) { return p.seen || !p.required; });
    const char *const count_end = claim.nonce_count.data() + claim.nonce_count.size();
    if (!complete || !equal_ignoring_case(algorithm, "MD5") || protection != "auth" ||
        claim.nonce_count.size() != 8 || !is_hex(claim.response, 32) ||
        std::from_chars(claim.nonce_count.data(), count_end, claim.count, 16).ptr != count_end)
        return std::nullopt;
    return claim;
}

std::string md5_hex(std::string_view text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
    unsigned size = 0;
    EVP_Digest(text.data(), text.size(), digest.data(), &size, EVP_md5(), nullptr);
    std::string hex;
    for (unsigned i = 0; i < size; ++i) {
        hex += "0123456789abcdef"[digest[i] >> 4];
        hex += "0123456789abcdef"[digest[i] & 15];
    }
    return hex;
}

std::string expected_response(const DigestClaim &claim, std::string_view method,
                              std::string_view secret) {
    std::string action(method);
    action.append(":").append(claim.uri);
    std::string all(secret);
    for (const std::string &part :
         {claim.nonce, claim.nonce_count, claim.client_nonce, std::string("auth"), md5_hex(action)})
        all.append(":").append(part);
    return md5_hex(all);
}

bool is_same_secret(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    unsigned difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i]);
    return difference == 0;
}

} // namespace varn::web
