/// What is on a page, found out before it is scanned: a pass over the sheet at low resolution.
#pragma once

#include "device/engine/pictures/rows.h"

#include <array>
#include <cstdint>

namespace varn::engine {

/// Resolution of the pass, or the scan's where that is lower.
inline constexpr double survey_dpi = 75;

/// Counts of the sheet's pixels; nothing beside the sheet is counted.
class Survey {
public:
    /// Reads the whole area. rows   of this area, at low resolution
    Survey(RowSource &rows, const ScanArea &area);

    /// Whether there is nothing on the paper. The level, 0 to 4, says how much may be there all
    /// the same: specks at the lowest, a few words at the highest.
    bool is_blank(unsigned level) const;
    /// Whether there is colour on the page. The higher the level, 0 to 4, the less it takes.
    bool has_colour(unsigned level) const;
    /// Brightness of the paper and of the darkest print, for spreading the tones. Black is 0 and
    /// white 255 on a page with no clear paper, which is better left as it is.
    struct Exposure {
        unsigned black = 0;
        unsigned white = 255;
    };
    Exposure exposure() const;

private:
    void count(Pixel pixel);
    unsigned paper() const;
    /// The level below which `share` of all pixels lie.
    unsigned percentile(double share) const;

    std::array<std::uint64_t, 256> histogram_ = {}; ///< of brightness
    std::uint64_t total_ = 0;
    std::uint64_t coloured_ = 0;
};

} // namespace varn::engine
