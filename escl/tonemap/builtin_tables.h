/// Built-in tone tables of the engine's form: entry k is the input at which the curve leaves
/// level k.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace varn {

constexpr size_t tone_entries = 255;

extern const std::array<uint16_t, tone_entries> GammaTableData_ZQ_Scan_Tone;
extern const std::array<uint16_t, tone_entries> GammaTableData_Level_5_Tone;

} // namespace varn
