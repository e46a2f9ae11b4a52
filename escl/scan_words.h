/// What the files of the scan path share beside the public headers.
#pragma once

#include "frame/guards.h"
#include "frame/words.h"
#include "varn/escl_reserve.h"
#include "varn/escl_scan.h"

#include <cstddef>

namespace varn {

/// Error words of the engine.
constexpr uint32_t image_complete = 0x1005;
constexpr uint32_t error_limit = 0x2000; ///< a word above it is an error
constexpr uint32_t cancelled_at_device = 0x4001;
constexpr uint32_t MVTE_FW_SCN_ABORT_SCAN = 0x4002;

constexpr uint16_t sensor_hatch_open = 1;
constexpr uint16_t sensor_paper_loaded = 2;

/// Copies an identifier of at most 39 characters.
void copy_uuid(char (&dst)[40], const char *src);

static_assert(sizeof(varn_scan_param) == 128 && offsetof(varn_scan_param, ScanWindow) == 20 &&
              offsetof(varn_scan_param, byChannelDropOut) == 51 &&
              offsetof(varn_scan_param, dwImageProcess) == 56 &&
              offsetof(varn_scan_param, byMiscOptions) == 67 &&
              offsetof(varn_scan_param, dwRealLineNum) == 72 &&
              offsetof(varn_scan_param, byBlankPageSensitivity) == 93 &&
              offsetof(varn_scan_param, wPagesToScan) == 98 &&
              offsetof(varn_scan_param, dwReserved) == 104);
static_assert(sizeof(varn_gamma_str) == 10 && sizeof(varn_multipick) == 16);
static_assert(sizeof(varn_scanner_status) == 32 &&
              offsetof(varn_scanner_status, byPanelTakeover) == 22 &&
              offsetof(varn_scanner_status, byPowerDown) == 30);
static_assert(sizeof(varn_action_cmd) == 16);
// Records go to and come from the engine as they stand in memory.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

} // namespace varn
