/// What happens to a page's pixels between sensor and coder.
#pragma once

#include "device/engine/pictures/page_coder.h"
#include "device/engine/pictures/survey.h"
#include "device/engine/pictures/tone.h"
#include "device/engine/storage.h"
#include "device/wire/records.h"

#include <functional>
#include <memory>
#include <vector>

namespace varn::engine {

/// Records that a host writes beside the parameter block, as they stood when the scan started.
struct HostSettings {
    explicit HostSettings(const Storage &storage);

    Tone tone;
    std::uint32_t overlap_ignored = 0; ///< a multipick of so many lines is none
};

/// Settings of one page, after looking at it.
struct PagePlan {
    ScanArea area;
    PixelKind kind = PixelKind::colour;
    Tone tone;
    std::uint8_t channel = 0; ///< of a grey page, see to_grey
    std::uint8_t threshold = 128;
    bool cropped = false;
    bool blank = false;
    bool colour_found = false;
};

/// Opens the same side of the same sheet, as often as it is asked to.
using OpenSide = std::function<std::unique_ptr<RowSource>(const ScanArea &area)>;

/// The window of the parameter block with its overscan.
ScanArea scan_area(const wire::ScanParam &param);

PagePlan plan_page(const wire::ScanParam &param, const HostSettings &settings,
                   const OpenSide &open);

/// Makes rows for the coder out of scanned ones, in place where the page is a colour one.
/// Returns what the coder takes: `pixels`, or `grey`, which is made large enough.
const void *process_rows(const PagePlan &plan, std::vector<Pixel> &pixels,
                         std::vector<std::uint8_t> &grey);

} // namespace varn::engine
