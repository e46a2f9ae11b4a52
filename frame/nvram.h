/// The NVRAM table and the power file as records.
#pragma once

#include <cstddef>
#include <cstdint>

namespace varn {

/// 288 bytes, little-endian, kept on flash by the engine. Bytes between the named fields belong
/// to the engine and go through a read and write-back unchanged.
#pragma pack(push, 1)
struct NvramTable {
    uint32_t scan_count; ///< feeder pages
    uint8_t reserved4[4];
    uint32_t flatbed_count; ///< flatbed pages
    uint8_t MTDM;           ///< month of manufacture
    uint8_t MTDD;           ///< day
    uint8_t MTDY;           ///< year, as the service identifier takes it
    uint8_t reserved15[10];
    char serial_number[10]; ///< not terminated
    uint8_t reserved35[19];
    uint16_t multipick_events;
    uint16_t mispick_events;
    uint16_t slow_pick_events;
    int32_t roller_replace_interval;
    uint32_t ScanCountAtRollerClean;
    int32_t ScanCountAtRollerReplace;
    uint8_t reserved72[4];
    uint32_t LCDLang;
    uint16_t jam_events;
    uint16_t PadReplaceCount;
    uint16_t RollerReplaceCount;
    uint8_t ME;
    uint8_t reserved87[75];
    uint16_t MaintCleanVal;
    uint16_t pad_replace_interval;
    uint16_t RollerCleanCount;
    int32_t ScanCountAtPadReplace;
    uint8_t reserved172[4];
    char asset_number[64]; ///< terminated
    uint8_t reserved240[1];
    char uuid[36]; ///< not terminated
    uint8_t reserved277[11];
};
#pragma pack(pop)
static_assert(sizeof(NvramTable) == 288 && offsetof(NvramTable, serial_number) == 25 &&
              offsetof(NvramTable, multipick_events) == 54 && offsetof(NvramTable, LCDLang) == 76 &&
              offsetof(NvramTable, ME) == 86 && offsetof(NvramTable, MaintCleanVal) == 162 &&
              offsetof(NvramTable, ScanCountAtPadReplace) == 168 &&
              offsetof(NvramTable, asset_number) == 176 && offsetof(NvramTable, uuid) == 241);

/// Head of the power file.
struct PowerInfo {
    uint32_t auto_off_info;
    uint32_t reserved4;
    uint32_t timeToSleep_mins;
    uint32_t autoOffSetting_mins;
};
static_assert(sizeof(PowerInfo) == 16);

/// What set_str_devicelanguage, set_str_powersavetime and set_enum_autoofftime tell of a table and
/// a power file that were read before.
void language_word(const NvramTable &table, char *dst);
void power_save_word(const PowerInfo &info, char *dst);
void auto_off_code(const PowerInfo &info, uint32_t *code);
/// False when the power file cannot be opened.
bool read_power_info(PowerInfo &info);

} // namespace varn
