/// The engine's time block, and what the documents of the time service make of its parts.
#pragma once

#include "frame/document.h"
#include "frame/parameters.h"
#include "varn/timeservice.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace varn::timeservice {

struct DstBoundary {
    uint8_t day_count; ///< which of these days in the month; 5 the last
    uint8_t day;       ///< 0 Sunday
    uint8_t month;     ///< 0 January
    uint8_t hour;
};

struct ZoneRecord {
    uint32_t name_reference; ///< an address of whoever wrote the block: never followed
    uint8_t code;            ///< dd:TimeZoneName; of the current zone alone
    uint8_t reserved5[3];
    int32_t offset_minutes; ///< east of Greenwich
    uint32_t dst_enabled;   ///< 1 enabled, everything else disabled
    int32_t dst_offset_minutes;
    DstBoundary dst_start;
    DstBoundary dst_end;
};
static_assert(sizeof(ZoneRecord) == 28 && offsetof(ZoneRecord, offset_minutes) == 8 &&
              offsetof(ZoneRecord, dst_start) == 20);

/// Broken-down time with words of 32 bits.
struct TimeWords {
    int32_t second, minute, hour, day, month, year, week_day, year_day, is_dst;
    int32_t reserved36[2];
};
static_assert(sizeof(TimeWords) == 44);

/// Parameter block 2. Texts are terminated or fill their fields.
struct TimeBlock {
    uint32_t zone_count;
    ZoneRecord zones[VARN_TIME_ZONES];
    uint32_t sntp_state; ///< 1 enabled
    uint32_t sync_state; ///< ts:SyncState
    char last_sync_server[132];
    TimeWords last_sync_time;
    uint32_t action; ///< ts:ActionType
    uint32_t server_port;
    uint32_t interval;
    uint32_t interval_units; ///< dd:TimeUnits
    char server[136];
    uint32_t default_server_port;
    uint32_t default_interval;
    uint32_t default_interval_units;
    char default_server[176];
    ZoneRecord current_zone;
};
static_assert(sizeof(TimeBlock) == 3580 && offsetof(TimeBlock, sntp_state) == 3028 &&
              offsetof(TimeBlock, last_sync_server) == 3036 &&
              offsetof(TimeBlock, last_sync_time) == 3168 && offsetof(TimeBlock, action) == 3212 &&
              offsetof(TimeBlock, interval) == 3220 && offsetof(TimeBlock, server) == 3228 &&
              offsetof(TimeBlock, default_server_port) == 3364 &&
              offsetof(TimeBlock, default_server) == 3376 &&
              offsetof(TimeBlock, current_zone) == 3552);

TimeBlock read_time_block();
inline void write_time_block(const TimeBlock &block) {
    write_block(block, MVTC_PARAM_TIME_SERVICE);
}

/// "2026-11-23T05:00:00" with the offset behind it.
std::string time_stamp(const tm &time, int32_t offset_minutes);

/// An enumeration's value from a word of the engine; null, and so no element, for a word that the
/// enumeration, which has `count` values from 0, has not got.
template <typename Enum>
Enum *value_of(Document &document, uint32_t word, uint32_t count) {
    return word < count ? document.value(static_cast<Enum>(word)) : nullptr;
}

inline int *number(Document &document, uint32_t word) {
    return document.value(static_cast<int>(word));
}

/// Writes a ticket of this family from the block.
template <typename Root, typename Fill>
int32_t build(const char *ticket, Fill fill) {
    const TimeBlock block = read_time_block();
    write_document<Root>(namespaced_get, ticket,
                         [&](Document &document, Root &root) { fill(document, root, block); });
    return 0;
}

/// The same as a GET, with the ticket read back.
template <typename Root, typename Fill>
int32_t get(const char *ticket, char **out_buf, uint32_t *out_len, Fill fill) {
    const TimeBlock block = read_time_block();
    return get_document<Root>(namespaced_get, ticket, out_buf, out_len,
                              [&](Document &document, Root &root) { fill(document, root, block); });
}

/// A PUT: `apply(root, block)` sets what the document gave in a block of zeros.
template <typename Root, typename Apply>
int32_t put_into_block(const char *xml, const char *caller, Apply apply) {
    if (xml == nullptr)
        return -1;
    Document document(wide_put);
    Root root;
    TimeBlock block = {};
    if (read_request(document, xml, root))
        apply(root, block);
    else
        printf("%s:%d:happen error:%d !\n", caller, __LINE__, document.error());
    write_time_block(block);
    return 0;
}

} // namespace varn::timeservice
