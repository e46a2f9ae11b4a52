/// The zones that a device offers, with the daylight saving of today's law as far as the record can
/// hold it: a day of the month by its number among the days of its name.
#pragma once

#include "device/wire/time_block.h"

#include <algorithm>
#include <array>

namespace varn::engine {

/// Start and end; all zero for a zone without.
struct DstRule {
    wire::DstBoundary start;
    wire::DstBoundary end;
    constexpr bool exists() const { return start.dayCount != 0; }
};

struct TimeZone {
    std::uint8_t code;
    std::int32_t minutes; ///< east of Greenwich
    DstRule dst;
};

namespace rules {
// Which of the days (5: the last), day from Sunday, month from January, hour.
inline constexpr DstRule none = {};
inline constexpr DstRule north_america = {{2, 0, 2, 2}, {1, 0, 10, 2}};
inline constexpr DstRule chile = {{1, 0, 8, 0}, {1, 0, 3, 0}};
inline constexpr DstRule azores = {{5, 0, 2, 0}, {5, 0, 9, 1}};
inline constexpr DstRule western_europe = {{5, 0, 2, 1}, {5, 0, 9, 2}};
inline constexpr DstRule central_europe = {{5, 0, 2, 2}, {5, 0, 9, 3}};
inline constexpr DstRule eastern_europe = {{5, 0, 2, 3}, {5, 0, 9, 4}};
inline constexpr DstRule lebanon = {{5, 0, 2, 0}, {5, 0, 9, 0}};
inline constexpr DstRule egypt = {{5, 5, 3, 0}, {5, 5, 9, 0}};
inline constexpr DstRule israel = {{5, 5, 2, 2}, {5, 0, 9, 2}};
inline constexpr DstRule australia = {{1, 0, 9, 2}, {1, 0, 3, 3}};
inline constexpr DstRule new_zealand = {{5, 0, 8, 2}, {1, 0, 3, 3}};
} // namespace rules

/// In the order of the block's records: from west to east.
constexpr std::array<TimeZone, wire::time_zone_count> make_time_zones() {
    using namespace rules;
    return {{
        {133, -720, none},
        {132, -660, none},
        {130, -600, none},
        {129, -540, north_america},
        {127, -480, north_america},
        {128, -480, north_america},
        {123, -420, none},
        {124, -420, none},
        {126, -420, north_america},
        {118, -360, none},
        {119, -360, north_america},
        {120, -360, none},
        {122, -360, none},
        {114, -300, none},
        {115, -300, none},
        {116, -300, north_america},
        {117, -300, north_america},
        {106, -240, none},
        {107, -240, north_america},
        {108, -240, none},
        {109, -240, none},
        {110, -240, none},
        {111, -240, none},
        {112, -240, chile},
        {105, -210, north_america},
        {97, -180, none},
        {98, -180, none},
        {99, -180, none},
        {101, -180, none},
        {102, -180, none},
        {103, -180, none},
        {96, -120, none},
        {94, -60, azores},
        {95, -60, none},
        {0, 0, none},
        {1, 0, none},
        {2, 0, western_europe},
        {3, 0, none},
        {4, 60, central_europe},
        {5, 60, central_europe},
        {6, 60, central_europe},
        {7, 60, central_europe},
        {8, 60, none},
        {10, 120, none},
        {12, 120, eastern_europe},
        {13, 120, lebanon},
        {14, 120, egypt},
        {15, 120, eastern_europe},
        {16, 120, none},
        {18, 120, none},
        {19, 120, eastern_europe},
        {20, 120, israel},
        {21, 120, none},
        {23, 120, eastern_europe},
        {24, 120, none},
        {25, 120, none},
        {26, 180, none},
        {27, 180, none},
        {29, 180, none},
        {30, 180, none},
        {31, 180, none},
        {32, 180, none},
        {34, 210, none},
        {35, 240, none},
        {36, 240, none},
        {38, 240, none},
        {40, 240, none},
        {41, 240, none},
        {42, 240, none},
        {43, 270, none},
        {44, 300, none},
        {45, 300, none},
        {46, 300, none},
        {47, 330, none},
        {48, 330, none},
        {49, 345, none},
        {50, 360, none},
        {51, 360, none},
        {53, 360, none},
        {56, 390, none},
        {57, 420, none},
        {58, 420, none},
        {59, 420, none},
        {60, 480, none},
        {61, 480, none},
        {64, 480, none},
        {65, 480, none},
        {66, 480, none},
        {67, 480, none},
        {69, 540, none},
        {70, 540, none},
        {71, 540, none},
        {72, 570, australia},
        {73, 570, none},
        {74, 600, none},
        {75, 600, australia},
        {76, 600, none},
        {77, 600, australia},
        {79, 600, none},
        {82, 660, none},
        {83, 660, none},
        {84, 660, none},
        {86, 720, none},
        {87, 720, new_zealand},
        {89, 720, none},
        {91, 780, none},
        {92, 780, none},
        {93, 840, none},
    }};
}
inline constexpr auto time_zones = make_time_zones();

/// Null for a zone that is not on offer.
constexpr const TimeZone *find_time_zone(std::uint8_t code) {
    const auto found = std::ranges::find(time_zones, code, &TimeZone::code);
    return found == time_zones.end() ? nullptr : &*found;
}

} // namespace varn::engine
