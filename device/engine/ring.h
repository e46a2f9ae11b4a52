/// The engine's side of the ring of image blocks.
#pragma once

#include "device/wire/ring.h"

#include <cstdint>
#include <filesystem>
#include <span>

namespace varn::engine {

/// At 256 KiB a colour page of A4 at 300 dpi is a handful of blocks, and sixteen of them let the
/// coder run far enough ahead that a client's 5 ms per block cost nothing.
inline constexpr std::uint32_t ring_block_size = 256 * 1024;
inline constexpr std::uint32_t ring_block_count = 16;

class Ring {
public:
    /// Makes the file anew. Throws std::runtime_error when the disk refuses.
    explicit Ring(const std::filesystem::path &file);
    ~Ring();
    Ring(const Ring &) = delete;
    Ring &operator=(const Ring &) = delete;

    std::span<std::uint8_t> block(std::uint32_t index);

private:
    std::filesystem::path file_;
    std::uint8_t *map_ = nullptr;
};

} // namespace varn::engine
