/// Sheets that need no file: drawn at the scan resolution when they pass the sensor.
#pragma once

#include "device/engine/pictures/rows.h"

#include <optional>
#include <string>
#include <string_view>

namespace varn::engine {

enum class TestPicture {
    chart, ///< resolution and colour chart
    text,  ///< a page of text
    ramp,  ///< grey from black to white
    blank, ///< white paper
    back,  ///< the unprinted back of a picture: white with a mark, so that duplex is visible
    tape,  ///< a sheet of any length with a mark at each inch
};

/// Paper size of the test sheets, in three-hundredths of an inch.
inline constexpr unsigned test_sheet_width = 2550;
inline constexpr unsigned test_sheet_height = 3510;

/// The longest tape, in inches: what the feeder takes.
inline constexpr unsigned longest_tape = 211;

struct TestSheet {
    TestPicture picture = TestPicture::blank;
    unsigned height = test_sheet_height; ///< three-hundredths of an inch
};

/// chart, text, ramp, blank, back, or long:INCHES.
std::optional<TestSheet> find_test_sheet(std::string_view name);
std::string name_of(const TestSheet &sheet);

/// number   of the sheet, printed on it (not on the blank one)
/// back     the sheet's other side, which is marked as such
std::unique_ptr<RowSource> scan_test_sheet(const TestSheet &sheet, unsigned number, bool back,
                                           const ScanArea &area);

/// Frees what drawing keeps for the life of the process (fonts and their directory), so that a
/// leak shows as one. No sheet may be drawn afterwards.
void release_drawing();

} // namespace varn::engine
