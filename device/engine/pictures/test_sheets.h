/// Sheets that need no file: drawn at the scan resolution when they pass the sensor.
#pragma once

#include "device/engine/pictures/rows.h"

#include <optional>
#include <string_view>

namespace varn::engine {

enum class TestSheet {
    chart, ///< resolution and colour chart
    text,  ///< a page of text
    ramp,  ///< grey from black to white
    blank, ///< white paper
    back,  ///< the unprinted back of a picture: white with a mark, so that duplex is visible
};

std::optional<TestSheet> find_test_sheet(std::string_view name);
std::string_view name_of(TestSheet sheet);

/// Paper size of all test sheets, in three-hundredths of an inch.
inline constexpr unsigned test_sheet_width = 2550;
inline constexpr unsigned test_sheet_height = 3510;

/// number   of the sheet, printed on it (not on the blank one)
/// back     the sheet's other side, which is marked as such
std::unique_ptr<RowSource> scan_test_sheet(TestSheet sheet, unsigned number, bool back,
                                           const ScanArea &area);

/// Frees what drawing keeps for the life of the process (fonts and their directory), so that a
/// leak shows as one. No sheet may be drawn afterwards.
void release_drawing();

} // namespace varn::engine
