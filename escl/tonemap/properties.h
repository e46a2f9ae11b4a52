/// The tone properties as the computation reads them.
#pragma once

#include "varn/escl_tone.h"

namespace varn {

constexpr int32_t tone_property_count = TM_CLEARTEXT_SLOPE - TM_HIGHLIGHT + 1;
extern double tone_properties[tone_property_count];

inline double tone_property(int32_t id) { return tone_properties[id - TM_HIGHLIGHT]; }

} // namespace varn
