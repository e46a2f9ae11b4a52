/// The device tree: the library's absolute paths, below the root when one is set.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace varn {

/// `path` below the root of the device tree; `path` itself without a root.
std::string device_path(std::string_view path);

/// The same as one word of a shell command. Without a root it is `path` as it stands; a root is
/// quoted, since its characters are not ours.
std::string shell_path(std::string_view path);

/// common_read_file_data for a file that is open.
int32_t read_back(int fd, char **out_buf, uint32_t *out_len);

/// Runs a command of our own making. Failures are the command's business.
void run_shell(const std::string &command);

} // namespace varn
