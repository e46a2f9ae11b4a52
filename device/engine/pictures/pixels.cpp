#include "device/engine/pictures/pixels.h"

namespace varn::engine {
namespace {

void take_channel(const Pixel *pixels, std::size_t count, unsigned shift, std::uint8_t *grey) {
    for (std::size_t i = 0; i < count; ++i)
        grey[i] = static_cast<std::uint8_t>(pixels[i] >> shift);
}

} // namespace

void to_grey(const Pixel *pixels, std::size_t count, unsigned channel, std::uint8_t *grey) {
    if (channel >= 1 && channel <= 3)
        return take_channel(pixels, count, 8 * (3 - channel), grey);
    // Weights of brightness in 256ths; they add up to 256, so white stays white.
    for (std::size_t i = 0; i < count; ++i) {
        const Pixel p = pixels[i];
        grey[i] = static_cast<std::uint8_t>(
            ((p >> 16 & 0xFF) * 77 + (p >> 8 & 0xFF) * 150 + (p & 0xFF) * 29) >> 8);
    }
}

void to_bi_level(std::uint8_t *grey, std::size_t count, std::uint8_t threshold) {
    for (std::size_t i = 0; i < count; ++i)
        grey[i] = grey[i] >= threshold ? 255 : 0;
}

} // namespace varn::engine
