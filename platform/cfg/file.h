/// Whole files in, whole files out.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace varn::xmltree {

/// Reads a regular file of at most `limit` bytes. Returns false, with errno set, otherwise.
bool read_file(const char *path, std::size_t limit, std::string &content);

/// Replaces a file so that a reader, or a power cut, finds the old content or the new one. The
/// file's mode and owner stay; links are followed. A file that holds these bytes already is not
/// touched, which spares the flash. Returns false and leaves the old file when it fails.
bool replace_file(const char *path, std::string_view content);

} // namespace varn::xmltree
