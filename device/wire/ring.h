/// The ring of image blocks that the engine shares with the web server.
///
/// The engine makes the file anew (unlink, create) at its start and never shortens it, so a
/// mapping stays valid for as long as its owner keeps it. A reader maps the file once per scan:
/// a new engine has a new file.
#pragma once

#include "device/wire/endian.h"

namespace varn::wire {

inline constexpr std::uint32_t ring_magic = 0x474E5256; // "VRNG"

/// At the start of the file; the blocks follow at `dwFirstBlock`, `dwBlockSize` bytes each.
struct RingHeader {
    u32le dwMagic;
    u32le dwBlockCount;
    u32le dwBlockSize;  ///< bytes
    u32le dwFirstBlock; ///< bytes from the start of the file
};
static_assert(sizeof(RingHeader) == 16);

} // namespace varn::wire
