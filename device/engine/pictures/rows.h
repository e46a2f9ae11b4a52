/// Pictures as rows of pixels, from the top down: no step holds a whole page.
#pragma once

#include <cstdint>
#include <memory>

namespace varn::engine {

/// Red in bits 16 to 23, green in 8 to 15, blue in 0 to 7.
using Pixel = std::uint32_t;
inline constexpr Pixel white = 0xFFFFFF;
inline constexpr Pixel black = 0x000000;

/// The part of a sheet that is scanned, in pixels at scan resolution from the sheet's top left.
struct ScanArea {
    std::int32_t x = 0;
    std::int32_t y = 0; ///< below 0: the scan begins before the sheet
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    double x_dpi = 300;
    double y_dpi = 300;
    Pixel background = white; ///< what the sensor sees beside the sheet
};

/// How much of a scan area, from its top left, lies before the sheet's right and lower edges.
struct SheetExtent {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// One side of a sheet under the sensor.
class RowSource {
public:
    virtual ~RowSource() = default;
    /// The next `count` rows of the scan area, ScanArea::width pixels each, without gaps. Rows
    /// beyond the end of the area are background.
    virtual void read(Pixel *rows, unsigned count) = 0;
    /// Where the sheet ends, as the edge sensor tells before the scan.
    virtual SheetExtent sheet() const = 0;
};

} // namespace varn::engine
