/// Text messages to the net service: what a sender writes, as a list of settings.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varn::netservice {

/// A value and where it stands, as in "WIRELESS/wlan0/IPv4/Address".
struct Setting {
    std::string path;
    std::string value; ///< the bytes that were sent, entities resolved
};

inline constexpr std::size_t longest_message = 64 * 1024; ///< bytes

/// Nothing when the text is too long, nested too deep, or makes no sense even with the two
/// faults mended that senders are known for: names with "&" and "<" as they are, and an opening
/// tag where the closing one belongs.
std::optional<std::vector<Setting>> parse_message(std::string_view text);

} // namespace varn::netservice
