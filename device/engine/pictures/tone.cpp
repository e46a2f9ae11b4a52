#include "device/engine/pictures/tone.h"

#include <algorithm>
#include <numeric>

namespace varn::engine {
namespace {

std::uint16_t word_at(std::span<const std::byte> bytes, std::size_t index) {
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[2 * index]) |
                                      std::to_integer<unsigned>(bytes[2 * index + 1]) << 8);
}

bool all_zeros(std::span<const std::byte> bytes) {
    return std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte{0}; });
}

Levels identity() {
    Levels levels;
    std::iota(levels.begin(), levels.end(), std::uint8_t{0});
    return levels;
}

} // namespace

std::optional<Levels> read_tone_table(std::span<const std::byte> table) {
    if (all_zeros(table))
        return std::nullopt;
    const std::size_t entries = table.size() / 2;
    Levels levels;
    std::size_t level = 0;
    for (unsigned input = 0; input < levels.size(); ++input) {
        while (level < std::min<std::size_t>(entries, 255) && word_at(table, level) <= 257 * input)
            ++level;
        levels[input] = static_cast<std::uint8_t>(level);
    }
    return levels;
}

std::optional<ColourMatrix> read_colour_matrix(std::span<const std::byte> words) {
    if (all_zeros(words))
        return std::nullopt;
    ColourMatrix matrix;
    for (std::size_t i = 0; i < matrix.size(); ++i)
        matrix[i] = static_cast<std::int16_t>(word_at(words, i));
    return matrix;
}

void Tone::precede(unsigned channel, const Levels &levels) {
    if (!has_levels_)
        levels_.fill(identity());
    has_levels_ = true;
    const Levels behind = levels_[channel];
    std::ranges::transform(levels, levels_[channel].begin(),
                           [&](std::uint8_t level) { return behind[level]; });
}

void Tone::apply(Pixel *pixels, std::size_t count) const {
    for (std::size_t i = 0; matrix_ && i < count; ++i) {
        const std::int32_t in[3] = {static_cast<std::int32_t>(pixels[i] >> 16 & 0xFF),
                                    static_cast<std::int32_t>(pixels[i] >> 8 & 0xFF),
                                    static_cast<std::int32_t>(pixels[i] & 0xFF)};
        Pixel out = 0;
        for (unsigned c = 0; c < 3; ++c) {
            const std::int32_t sum =
                in[0] * (*matrix_)[c] + in[1] * (*matrix_)[3 + c] + in[2] * (*matrix_)[6 + c];
            out = out << 8 |
                  static_cast<Pixel>(std::clamp((sum + matrix_one / 2) >> 10, 0, 255)); // 1024ths
        }
        pixels[i] = out;
    }
    for (std::size_t i = 0; has_levels_ && i < count; ++i)
        pixels[i] = Pixel{levels_[0][pixels[i] >> 16 & 0xFF]} << 16 |
                    Pixel{levels_[1][pixels[i] >> 8 & 0xFF]} << 8 |
                    Pixel{levels_[2][pixels[i] & 0xFF]};
}

Levels stretched(unsigned black, unsigned white) {
    Levels levels;
    const int range = std::max(static_cast<int>(white) - static_cast<int>(black), 1);
    for (int i = 0; i < 256; ++i)
        levels[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(
            std::clamp((i - static_cast<int>(black)) * 255 / range, 0, 255));
    return levels;
}

} // namespace varn::engine
