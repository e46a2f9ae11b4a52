/// From the sensor's colours to what the page is coded in.
#pragma once

#include "device/engine/pictures/rows.h"

#include <cstddef>

namespace varn::engine {

/// Grey of each pixel. channel 1 red, 2 green, 3 blue; any other value weighs all three.
void to_grey(const Pixel *pixels, std::size_t count, unsigned channel, std::uint8_t *grey);

/// White (255) from the threshold up, black (0) below it.
void to_bi_level(std::uint8_t *grey, std::size_t count, std::uint8_t threshold);

} // namespace varn::engine
