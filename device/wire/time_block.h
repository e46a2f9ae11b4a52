/// Parameter block 2: zone and network time.
#pragma once

#include "device/wire/endian.h"

namespace varn::wire {

inline constexpr std::size_t time_zone_count = 108;

struct DstBoundary {
    std::uint8_t dayCount = 0; ///< which of these days in the month; 5 the last
    std::uint8_t day = 0;      ///< 0 Sunday
    std::uint8_t month = 0;    ///< 0 January
    std::uint8_t hour = 0;
};

struct TimeZoneRecord {
    u32le dwNameReference;   ///< means something to the side that wrote it at most
    std::uint8_t byCode = 0; ///< of the current zone alone
    std::uint8_t reserved5[3] = {};
    i32le offsetMinutes; ///< east of Greenwich
    u32le dwDst;         ///< 1 enabled
    i32le dstOffsetMinutes;
    DstBoundary dstStart;
    DstBoundary dstEnd;
};
static_assert(sizeof(TimeZoneRecord) == 28 && offsetof(TimeZoneRecord, dstStart) == 20);

enum SyncState : std::uint32_t { sync_idle, sync_connecting, sync_succeeded, sync_failed };
enum SyncAction : std::uint32_t { sync_use_defaults, sync_config, sync_now };
enum SyncUnits : std::uint32_t { sync_hours, sync_minutes, sync_seconds };

struct SyncInterval {
    u32le dwLength;
    u32le dwUnits; ///< SyncUnits
};

/// Where the time comes from and how often it is asked for.
struct SyncSource {
    u32le dwPort;
    SyncInterval interval;
};

struct TimeBlock {
    u32le dwZoneCount;
    TimeZoneRecord zones[time_zone_count];
    u32le dwSntpState; ///< 1 enabled
    u32le dwSyncState; ///< SyncState
    char szLastServer[132] = {};
    i32le lastSyncTime[11]; ///< struct tm: seconds, minutes, hours, day, month, year, …
    u32le dwAction;         ///< SyncAction
    SyncSource source;
    char szServer[136] = {};
    SyncSource defaultSource;
    char szDefaultServer[176] = {};
    TimeZoneRecord currentZone;
};
static_assert(sizeof(TimeBlock) == 3580 && offsetof(TimeBlock, dwSntpState) == 3028 &&
              offsetof(TimeBlock, szLastServer) == 3036 &&
              offsetof(TimeBlock, lastSyncTime) == 3168 && offsetof(TimeBlock, dwAction) == 3212 &&
              offsetof(TimeBlock, szServer) == 3228 && offsetof(TimeBlock, defaultSource) == 3364 &&
              offsetof(TimeBlock, szDefaultServer) == 3376 &&
              offsetof(TimeBlock, currentZone) == 3552);

} // namespace varn::wire
