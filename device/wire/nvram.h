/// The engine's NVRAM table and the power-info file, as they lie on flash.
#pragma once

#include "device/wire/endian.h"

namespace varn::wire {

/// Text fields are not terminated; what the names leave out is kept as it stands.
struct NvramTable {
    u32le adf_pages; ///< page sides scanned through the feeder
    std::uint8_t reserved4[4] = {};
    u32le flatbed_pages;
    std::uint8_t manufacture_month = 0;
    std::uint8_t manufacture_day = 0;
    std::uint8_t manufacture_year = 0; ///< years since 2010
    std::uint8_t reserved15[10] = {};
    char serial_number[10] = {};
    std::uint8_t reserved35[19] = {};
    u16le multipick_events;
    u16le mispick_events;
    u16le slow_pick_events;
    i32le roller_replace_interval; ///< pages
    u32le scan_count_at_roller_clean;
    i32le scan_count_at_roller_replace;
    std::uint8_t reserved72[4] = {};
    u32le panel_language;
    u16le jam_events;
    u16le pad_replace_count;
    u16le roller_replace_count;
    std::uint8_t maintenance_state = 0;
    std::uint8_t reserved87[75] = {};
    u16le roller_clean_interval; ///< pages
    u16le pad_replace_interval;  ///< pages
    u16le roller_clean_count;
    i32le scan_count_at_pad_replace;
    std::uint8_t reserved172[4] = {};
    char asset_number[64] = {}; ///< zero-terminated
    std::uint8_t reserved240 = 0;
    char uuid[36] = {};
    std::uint8_t reserved277[11] = {};
};
static_assert(sizeof(NvramTable) == 288 && offsetof(NvramTable, flatbed_pages) == 8 &&
              offsetof(NvramTable, manufacture_month) == 12 &&
              offsetof(NvramTable, serial_number) == 25 &&
              offsetof(NvramTable, multipick_events) == 54 &&
              offsetof(NvramTable, mispick_events) == 56 &&
              offsetof(NvramTable, roller_replace_interval) == 60 &&
              offsetof(NvramTable, panel_language) == 76 &&
              offsetof(NvramTable, jam_events) == 80 &&
              offsetof(NvramTable, maintenance_state) == 86 &&
              offsetof(NvramTable, roller_clean_interval) == 162 &&
              offsetof(NvramTable, scan_count_at_pad_replace) == 168 &&
              offsetof(NvramTable, asset_number) == 176 && offsetof(NvramTable, uuid) == 241);

struct PowerInfo {
    u32le auto_off_information;
    u32le reserved4;
    u32le minutes_to_sleep;    ///< 0 never
    u32le minutes_to_auto_off; ///< 0 never
};
static_assert(sizeof(PowerInfo) == 16);

} // namespace varn::wire
