/// The tone properties.

#include "escl/tonemap/properties.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace varn {

double tone_properties[tone_property_count] = {0.7, 0.1, 0, 0, 1.0, 0.5, 1.0};

namespace {

struct Property {
    double lowest, highest;
    const char *log; ///< with the value as it is kept, or as a whole number
    bool whole_number;
};
constexpr Property properties[] = {
    {0, 1, "SetPropDouble >>> TM_HIGHLIGHT  = %f\n", false},
    {0, 1, "SetPropDouble >>> TM_SHADOW     = %f\n", false},
    {-1, 1, "SetPropDouble >>> TM_BRIGHTNESS = %f\n", false},
    {-1, 1, "SetPropDouble >>> TM_CONTRAST   = %f\n", false},
    {1, 4, "SetPropDouble >>> TM_GAMMA      = %f\n", false},
    {0, 1, "SetPropDouble >>> TM_THRESHOLD  = %d\n", true},
    {0.4, 1, "SetPropDouble >>> TM_CLEARTEXT_SLOPE = %d\n", true},
};
static_assert(std::size(properties) == tone_property_count);

} // namespace
} // namespace varn

int32_t c_SetPropDouble(int32_t id, double value) {
    if (id < TM_HIGHLIGHT || id > TM_CLEARTEXT_SLOPE)
        return 1;
    const varn::Property &property = varn::properties[id - TM_HIGHLIGHT];
    double &kept = varn::tone_properties[id - TM_HIGHLIGHT];
    kept = std::clamp(value, property.lowest, property.highest);
    if (property.whole_number)
        printf(property.log, static_cast<int>(kept));
    else
        printf(property.log, kept);
    return 0;
}

void c_SetPropLong(int32_t id, int32_t value) {
    printf("%s......\n", __func__);
    switch (id) {
    case TM_HIGHLIGHT:
    case TM_SHADOW:
        c_SetPropDouble(id, value / 2000.0);
        break;
    case TM_BRIGHTNESS:
    case TM_CONTRAST: {
        const int64_t steps = int64_t{value} * 255 / 2000 - 128;
        c_SetPropDouble(id, static_cast<double>(steps) * 0.0078125);
        break;
    }
    case TM_GAMMA:
        c_SetPropDouble(id, value / 100.0);
        break;
    default:
        break;
    }
}

void c_GetPropLong(int32_t id, int32_t *out) {
    printf("%s......\n", __func__);
    if (out == nullptr)
        return;
    switch (id) {
    case TM_HIGHLIGHT:
    case TM_SHADOW:
        *out = static_cast<int32_t>(varn::tone_property(id) * 2000.0);
        break;
    case TM_BRIGHTNESS:
    case TM_CONTRAST:
        *out = static_cast<int32_t>(varn::tone_property(id) * 2000.0 / 255.0 * 128.0 + 128.0);
        break;
    case TM_GAMMA:
        *out = 100 * static_cast<int32_t>(varn::tone_property(id));
        break;
    default:
        break;
    }
}
