/// The named fields of the NVRAM table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace varn::nvram {

inline constexpr std::size_t table_size = 288;

enum class Kind {
    number,         ///< unsigned, little-endian
    signed_number,  ///< two's complement, little-endian
    text,           ///< padded with zeros, not terminated when it fills the field
    terminated_text ///< at most width - 1 characters
};

struct Field {
    const char *name; ///< of its element
    std::uint16_t offset;
    std::uint16_t width; ///< bytes
    Kind kind;
};

/// In order of offset. The bytes between them are the engine's own.
inline constexpr std::array fields = {
    Field{"ScanCount", 0, 4, Kind::number}, // pages through the feeder
    Field{"FlatbedCount", 8, 4, Kind::number},
    Field{"MTDM", 12, 1, Kind::number}, // month, day and year of manufacture
    Field{"MTDD", 13, 1, Kind::number},
    Field{"MTDY", 14, 1, Kind::number},
    Field{"SerialNumber", 25, 10, Kind::text},
    Field{"MultipickEvents", 54, 2, Kind::number},
    Field{"MispickEvents", 56, 2, Kind::number},
    Field{"SlowPickEvents", 58, 2, Kind::number},
    Field{"RollerReplaceInterval", 60, 4, Kind::signed_number}, // pages
    Field{"ScanCountAtRollerClean", 64, 4, Kind::number},
    Field{"ScanCountAtRollerReplace", 68, 4, Kind::signed_number},
    Field{"LCDLang", 76, 4, Kind::number}, // language code of the panel
    Field{"JamEvents", 80, 2, Kind::number},
    Field{"PadReplaceCount", 82, 2, Kind::number},
    Field{"RollerReplaceCount", 84, 2, Kind::number},
    Field{"ME", 86, 1, Kind::number},
    Field{"MaintCleanVal", 162, 2, Kind::number}, // pages between roller cleanings
    Field{"PadReplaceInterval", 164, 2, Kind::number},
    Field{"RollerCleanCount", 166, 2, Kind::number},
    Field{"ScanCountAtPadReplace", 168, 4, Kind::signed_number},
    Field{"AssetNumber", 176, 64, Kind::terminated_text},
    Field{"UUID", 241, 36, Kind::text},
};

constexpr bool in_order() {
    std::size_t end = 0;
    for (const Field &field : fields) {
        if (field.offset < end)
            return false;
        end = field.offset + field.width;
    }
    return end <= table_size;
}
static_assert(in_order(), "fields must not overlap or leave the table");

} // namespace varn::nvram
