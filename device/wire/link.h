/// Frames on the engine link, the stream socket that carries the mvtc_* operations.
///
/// One request, one reply, in turn. A request carries up to four argument words and a payload; the
/// reply carries the operation's result and, where the operation gives something back, a payload
/// of exactly the size that the request asked for. A negative result has no payload. A frame that
/// breaks these rules ends the connection on either side.
#pragma once

#include "device/wire/endian.h"

namespace varn::wire {

inline constexpr std::uint32_t link_request_magic = 0x51525256; // "VRRQ"
inline constexpr std::uint32_t link_reply_magic = 0x50525256;   // "VRRP"

/// The largest payload either way: the net service's status block.
inline constexpr std::uint32_t link_max_payload = 1384712;

/// Result of an operation that the engine refuses.
inline constexpr std::int32_t link_refused = -1;

/// Argument words and payloads: `in` goes with the request, `out` comes with the reply.
enum class LinkOperation : std::uint16_t {
    read_nvram = 1,          ///< offset, size; out: size bytes
    write_nvram = 2,         ///< offset; in: bytes
    write_sleep_time = 3,    ///< minutes
    write_auto_off_time = 4, ///< minutes
    write_language = 5,      ///< code; in: the code's 4 bytes
    factory_default = 6,
    write_firmware = 7,     ///< the caller's three words, as they are
    read_parameter = 8,     ///< id, size; out: size bytes
    write_parameter = 9,    ///< id; in: bytes
    read_profile = 10,      ///< id, size; out: size bytes
    write_profile = 11,     ///< id; in: bytes
    test_profile = 12,      ///< command, slot; out: 4 bytes
    read_counters = 13,     ///< out: 64 bytes
    read_pc_list = 14,      ///< id, size; out: size bytes
    write_pc_list = 15,     ///< operation; in: entry
    read_job_list = 16,     ///< id, size; out: size bytes
    write_job_list = 17,    ///< operation; in: entry
    read_net_service = 18,  ///< command, size; out: size bytes
    write_net_service = 19, ///< command; in: message
    read_scan_param = 20,   ///< out: 128 bytes
    write_scan_param = 21,  ///< in: 128 bytes
    pick_media = 22,        ///< out: ScannerStatus
    start_scan = 23,        ///< stored; out: ScannerStatus
    arm_blocks = 24,
    scan_sent = 25,           ///< two words as they are; out: 64 bytes
    set_document_format = 26, ///< 0 JPEG, 1 TIFF, 2 raw; for the next scan that starts
};

struct LinkRequest {
    u32le dwMagic;
    u32le dwSequence; ///< any number; comes back in the reply
    u16le wOperation; ///< LinkOperation
    u16le reserved10;
    u32le dwLength; ///< bytes of payload behind the header
    u64le args[4];
};
static_assert(sizeof(LinkRequest) == 48 && offsetof(LinkRequest, args) == 16);

struct LinkReply {
    u32le dwMagic;
    u32le dwSequence;
    i32le result;
    u32le dwLength;
};
static_assert(sizeof(LinkReply) == 16);

} // namespace varn::wire
