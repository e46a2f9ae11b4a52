/// Files of the device tree: read whole, replaced whole.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace varn::engine {

using Bytes = std::vector<std::byte>;

/// The file's content; nothing when it cannot be read or is larger than `limit`.
std::optional<Bytes> read_file(const std::filesystem::path &path, std::size_t limit);

/// Replaces the file so that whoever reads it, and whoever finds it after a kill or a power cut,
/// sees either the old or the new content. Creates the directory. False when the disk refuses,
/// with the old content still in place.
/// mode   of the new file; a directory that is made is open to all
bool replace_file(const std::filesystem::path &path, std::span<const std::byte> content,
                  unsigned mode = 0644);

inline std::span<const std::byte> bytes_of(std::string_view text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

/// A record's bytes.
template <typename Record>
std::span<const std::byte>
bytes_of(const Record &record) requires std::is_trivially_copyable_v<Record> {
    return std::as_bytes(std::span(&record, 1));
}

/// One line on the engine's error output.
void log_line(const std::string &text);

} // namespace varn::engine
