/// The scan window: its limits, and its scaling to the resolution.

#include "escl/settings_parts.h"
#include "varn/engine.h"

#include <cstdio>

using namespace varn;

namespace {

/// Distances in three-hundredths of an inch.
constexpr uint32_t long_page_height = 63300;
constexpr uint32_t large_memory_height = 36600;
constexpr uint32_t full_width = 2550;
constexpr int small_memory_mb = 256;

struct Limits {
    uint32_t min_width, max_width, min_height, max_height;
};

Limits window_limits(const scan__ScannerCapabilitiesType *caps, const varn_scan_param &block) {
    Limits limits = {};
    if (const scan__InputSourceCapsType *source = source_caps(caps, block); source != nullptr) {
        limits.min_width = static_cast<uint32_t>(decimal(source->MinWidth));
        limits.max_width = static_cast<uint32_t>(decimal(source->MaxWidth));
        limits.min_height = static_cast<uint32_t>(decimal(source->MinHeight));
        limits.max_height = static_cast<uint32_t>(decimal(source->MaxHeight));
    }
    char memory_mb[16];
    if (read_FW_dram_size(memory_mb) == 0 && atoi(memory_mb) > small_memory_mb)
        limits.max_height = large_memory_height;
    // At low resolution the limit is that of the long-page feeder, on the flatbed too.
    if (block.wXresolution <= 300)
        limits.max_height = long_page_height;
    if ((block.byMiscOptions & misc_overscan) != 0)
        limits.max_height += block.byOverScanLines * 2U;
    return limits;
}

void take(uint32_t &field, const int *value) {
    if (value != nullptr)
        field = static_cast<uint32_t>(*value);
}

/// Logs a refusal of the window.
int32_t refuse(const char *format, int line, uint32_t offset, uint32_t extent, uint32_t limit) {
    printf("%s:%d:", __FILE_NAME__, line);
    printf(format, static_cast<int>(offset), static_cast<int>(extent), static_cast<int>(limit));
    return -1;
}

int32_t check_window(const varn_scan_window &window, const Limits &limits) {
    const uint32_t right = window.xPos + window.xExtent;
    const uint32_t bottom = window.yPos + window.yExtent;
    if (right > limits.max_width)
        return refuse("ScanRegion error,XOffset=%d+ Width=%d > MaxWidth =%d !\n", __LINE__,
                      window.xPos, window.xExtent, limits.max_width);
    if (bottom > limits.max_height)
        return refuse("ScanRegion error,YOffset=%d+ Height=%d > MaxHeight =%d !\n", __LINE__,
                      window.yPos, window.yExtent, limits.max_height);
    if (right < limits.min_width)
        return refuse("ScanRegion error,XOffset=%d+ Width=%d < MinWidth =%d !\n", __LINE__,
                      window.xPos, window.xExtent, limits.min_width);
    if (bottom < limits.min_height)
        return refuse("ScanRegion error,YOffset=%d+ Height=%d < MinHeight =%d !\n", __LINE__,
                      window.yPos, window.yExtent, limits.min_height);
    return 0;
}

} // namespace

int32_t parse_ScanRegions(scan__ScannerCapabilitiesType *caps,
                          const scan__ScanSettingsType *settings, varn_scan_param *block) {
    const _pwg__ScanRegions *regions = settings->pwg__ScanRegions;
    if (regions == nullptr || regions->__sizeScanRegion < 1 || regions->ScanRegion_ == nullptr)
        return 0;
    const pwg__ContentRegionType &region = regions->ScanRegion_[0];
    const Limits limits = window_limits(caps, *block);
    take(block->ScanWindow.xPos, region.XOffset);
    take(block->ScanWindow.yPos, region.YOffset);
    take(block->ScanWindow.xExtent, region.Width);
    take(block->ScanWindow.yExtent, region.Height);
    if (check_window(block->ScanWindow, limits) != 0)
        return -1;
    block->dwPaperWidth = block->dwWidthPixels = block->ScanWindow.xExtent;
    block->dwPaperHeight = block->dwRealLineNum = block->ScanWindow.yExtent;
    return 0;
}

int32_t parse_Overscan(scan__ScannerCapabilitiesType *caps, int32_t value, varn_scan_param *block) {
    set_bits(block->byMiscOptions, misc_overscan, value != 0);
    // Asking for none is refused, on purpose.
    if (value == 0)
        return -1;
    const scan__RangeAndStepOfIntType *range =
        caps != nullptr ? caps->OverscanLengthSupport : nullptr;
    block->byOverScanLines =
        range != nullptr && range->Max != nullptr ? static_cast<uint8_t>(*range->Max) : 0;
    return 0;
}

namespace {

struct Scale {
    uint16_t dpi;
    uint32_t numerator, denominator;
    uint32_t long_page; ///< greatest height in three-hundredths, 0 for no test
    const char *long_page_log;
    bool clamp_overscan;
};
constexpr Scale scales[] = {
    {75, 1, 4, 0, nullptr, false},
    {100, 1, 3, 0, nullptr, false},
    {150, 1, 2, 0, nullptr, false},
    {200, 2, 3, 0, nullptr, false},
    {240, 4, 5, 0, nullptr, false},
    {400, 4, 3, 10200, "~~~~ extra Long page not support 400DPI~~~~~~", true},
    {500, 5, 3, 10200, "~~~~extra Long page not support 500DPI~~~~~~", true},
    {600, 2, 1, 10200, "~~~~extra Long page not support 600DPI~~~~~~", true},
    {1200, 4, 1, 4200, "~~~~ Long page not support 1200DPI~~~~~~", true},
};
constexpr Scale no_scale{300, 1, 1, 0, nullptr, false};

const Scale &scale_of(uint16_t dpi) {
    for (const Scale &scale : scales)
        if (scale.dpi == dpi)
            return scale;
    return no_scale;
}

uint32_t scaled(uint32_t value, const Scale &scale) {
    return value * scale.numerator / scale.denominator;
}

void begin_overscan(varn_scan_param &block) {
    puts("~~~~ Overscan detect~~~~~~");
    set_bits(block.dwImageProcess2, process2_auto_crop, false);
    set_bits(block.dwImageProcess, process_auto_crop, false);
    block.ScanWindow.xPos = 0;
    block.ScanWindow.yPos = 0;
    block.ScanWindow.xExtent = full_width;
}

int32_t scale_distances(varn_scan_param &block) {
    const Scale &scale = scale_of(block.wXresolution);
    varn_scan_window &window = block.ScanWindow;
    if (scale.long_page != 0 && window.yExtent > scale.long_page) {
        puts(scale.long_page_log);
        return -1;
    }
    for (uint32_t *distance : {&window.xPos, &window.yPos, &window.xExtent, &window.yExtent})
        *distance = scaled(*distance, scale);
    store_word(Multipick_dwIgnoreAreaExtent,
               static_cast<int32_t>(
                   scaled(static_cast<uint32_t>(load_word(Multipick_dwIgnoreAreaExtent)), scale)));
    const uint32_t overscan = scaled(block.byOverScanLines, scale);
    block.byOverScanLines =
        static_cast<uint8_t>(scale.clamp_overscan && overscan > 255 ? 255 : overscan);
    return 0;
}

/// Bytes of an output line.
void set_line_bytes(varn_scan_param &block) {
    const uint32_t bits = block.byOutPixelBits * block.dwWidthPixels;
    if (block.byOutDataType == 2 || block.byOutDataType == 3)
        block.dwWidthBytes = bits >> 3;
    else if (block.byOutDataType == 1)
        block.dwWidthBytes = (bits + 7) >> 3;
}

} // namespace

int32_t scale_window_to_resolution(varn_scan_param *block) {
    if (block == nullptr)
        return -1;
    // The extent of an earlier job that gave one is still here, scaled, and is scaled again.
    const auto ignored = static_cast<uint32_t>(load_word(Multipick_dwIgnoreAreaExtent));
    store_word(Multipick_dwIgnoreAreaExtent, static_cast<int32_t>(ignored * 300));
    block->wPagesToScan = static_cast<uint16_t>(load_word(SinglePageMode));
    if ((block->byMiscOptions & misc_overscan) != 0)
        begin_overscan(*block);
    if (scale_distances(*block) != 0)
        return -1;
    block->dwPaperWidth = block->dwWidthPixels = block->ScanWindow.xExtent;
    block->dwPaperHeight = block->dwRealLineNum = block->ScanWindow.yExtent;
    set_bits(block->dwImageProcess2, process2_always, true);
    set_bits(block->dwImageProcess, process_always, true);
    block->bySharpSmooth = 1;
    set_line_bytes(*block);
    return 0;
}
