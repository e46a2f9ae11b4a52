/// Tone and colour of the scanned pixels: what a host has set, as the hardware takes it.
#pragma once

#include "device/engine/pictures/rows.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace varn::engine {

/// Output level of each input level of a channel.
using Levels = std::array<std::uint8_t, 256>;

/// Levels of a tone table: 255 little-endian 16-bit words, where word k is the smallest input, of
/// 65536, whose output is above level k. Nothing for a table of zeros, which nobody has written.
/// A table that falls somewhere counts up to there.
std::optional<Levels> read_tone_table(std::span<const std::byte> table);

/// One of the nine words that leaves a channel as it is.
inline constexpr std::int32_t matrix_one = 1024;

/// Weights of the colours, in units of `matrix_one`: word 3 * in + out says how much of channel
/// `in` goes into channel `out` (0 red, 1 green, 2 blue).
using ColourMatrix = std::array<std::int16_t, 9>;

/// Nothing for a matrix of zeros, which nobody has written.
std::optional<ColourMatrix> read_colour_matrix(std::span<const std::byte> words);

/// The steps between sensor and coder that keep a pixel a colour: matrix, then tone.
class Tone {
public:
    void set_matrix(const ColourMatrix &matrix) { matrix_ = matrix; }
    /// Puts a step before those that the channel (0 red, 1 green, 2 blue) already has.
    void precede(unsigned channel, const Levels &levels);
    void apply(Pixel *pixels, std::size_t count) const;

private:
    std::optional<ColourMatrix> matrix_;
    std::array<Levels, 3> levels_ = {};
    bool has_levels_ = false;
};

/// Levels that spread [black, white] over the whole range.
Levels stretched(unsigned black, unsigned white);

} // namespace varn::engine
