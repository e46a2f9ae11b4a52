#include "device/engine/page_process.h"

#include "device/engine/pictures/pixels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace varn::engine {
namespace {

// dwImageProcess and dwImageProcess2. A function is on when all of its bits are: some of them are
// set in every scan.
constexpr std::uint32_t find_blank_pages = 0x100000;
constexpr std::uint32_t auto_exposure = 0x400000;
constexpr std::uint32_t auto_crop = 0x880000;
constexpr std::uint32_t auto_crop_2 = 0x1C0;
constexpr std::uint32_t find_colour = 0x40040;

constexpr std::uint8_t black_background = 1; // byMiscOptions
constexpr std::uint8_t overscan = 8;
constexpr std::uint8_t no_colour_is_grey = 16; // byColorDetectMode

bool wants(std::uint32_t flags, std::uint32_t function) { return (flags & function) == function; }

/// Leaves out of the area what lies beyond the sheet's right and lower edge.
bool crop(ScanArea &area, const OpenSide &open) {
    const SheetExtent sheet = open(area)->sheet();
    if (sheet.width == 0 || sheet.height == 0 ||
        (sheet.width == area.width && sheet.height == area.height))
        return false;
    area.width = sheet.width;
    area.height = sheet.height;
    return true;
}

ScanArea survey_area(const ScanArea &area) {
    ScanArea low = area;
    low.x_dpi = std::min(area.x_dpi, survey_dpi);
    low.y_dpi = std::min(area.y_dpi, survey_dpi);
    const auto scaled = [](auto length, double from, double to) {
        return static_cast<decltype(length)>(std::lround(length * to / from));
    };
    low.x = scaled(area.x, area.x_dpi, low.x_dpi);
    low.y = scaled(area.y, area.y_dpi, low.y_dpi);
    low.width = std::max(scaled(area.width, area.x_dpi, low.x_dpi), 1U);
    low.height = std::max(scaled(area.height, area.y_dpi, low.y_dpi), 1U);
    return low;
}

void expose(PagePlan &plan, const Survey::Exposure &exposure) {
    if (exposure.black == 0 && exposure.white == 255)
        return;
    for (unsigned channel = 0; channel < 3; ++channel)
        plan.tone.precede(channel, stretched(exposure.black, exposure.white));
    plan.threshold = 128; // half-way between ink and paper now
}

} // namespace

HostSettings::HostSettings(const Storage &storage) {
    if (const auto matrix = read_colour_matrix(storage.record(colour_matrix)))
        tone.set_matrix(*matrix);
    // The fourth table repeats the first and has no channel of its own.
    for (unsigned channel = 0; channel < 3; ++channel)
        if (const auto levels = read_tone_table(storage.record(tone_tables[channel])))
            tone.precede(channel, *levels);
    wire::u32le words[4];
    std::memcpy(static_cast<void *>(words), storage.record(multipick_record).data(), sizeof words);
    overlap_ignored = words[2];
}

ScanArea scan_area(const wire::ScanParam &param) {
    ScanArea area;
    area.x = static_cast<std::int32_t>(param.window.xPos);
    area.y = static_cast<std::int32_t>(param.window.yPos);
    area.width = param.window.xExtent;
    area.height = param.window.yExtent;
    area.x_dpi = param.wXresolution;
    area.y_dpi = param.wYresolution;
    area.background = param.byMiscOptions & black_background ? black : white;
    if (param.byMiscOptions & overscan) {
        area.y -= param.byOverScanLines;
        area.height += 2 * param.byOverScanLines;
    }
    return area;
}

PagePlan plan_page(const wire::ScanParam &param, const HostSettings &settings,
                   const OpenSide &open) {
    PagePlan plan;
    plan.area = scan_area(param);
    plan.kind = static_cast<PixelKind>(param.byOutDataType);
    plan.tone = settings.tone;
    plan.channel = param.byChannelDropOut;
    plan.threshold = param.byHalftoneThreshold;
    const std::uint32_t functions = param.dwImageProcess;
    if (wants(functions, auto_crop) && wants(param.dwImageProcess2, auto_crop_2))
        plan.cropped = crop(plan.area, open);
    if (!wants(functions, find_blank_pages) && !wants(functions, find_colour) &&
        !wants(functions, auto_exposure))
        return plan;

    const ScanArea low = survey_area(plan.area);
    const Survey survey(*open(low), low);
    plan.blank =
        wants(functions, find_blank_pages) && survey.is_blank(param.byBlankPageSensitivity);
    if (wants(functions, find_colour)) {
        plan.colour_found = survey.has_colour(param.byColorDetectSensitivity);
        if (!plan.colour_found && param.byColorDetectMode == no_colour_is_grey &&
            plan.kind == PixelKind::colour)
            plan.kind = PixelKind::grey;
    }
    if (wants(functions, auto_exposure))
        expose(plan, survey.exposure());
    return plan;
}

const void *process_rows(const PagePlan &plan, std::vector<Pixel> &pixels,
                         std::vector<std::uint8_t> &grey) {
    plan.tone.apply(pixels.data(), pixels.size());
    if (plan.kind == PixelKind::colour)
        return pixels.data();
    grey.resize(pixels.size());
    to_grey(pixels.data(), pixels.size(), plan.channel, grey.data());
    if (plan.kind == PixelKind::bi_level)
        to_bi_level(grey.data(), pixels.size(), plan.threshold);
    return grey.data();
}

} // namespace varn::engine
