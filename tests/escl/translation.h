/// One translation of settings and everything that came of it.
#pragma once

#include "tests/support/device_tree.h"
#include "varn/escl_settings.h"

#include <string>
#include <string_view>

namespace varn::test {

struct Translation {
    int32_t result = 99;
    varn_scan_param block = {};
    varn_gamma_str gamma = {180, 1003, 1003, 1490, 94}; ///< what the engine holds before
    varn_multipick multipick = {{91, 92, 93, 94}};
    std::string log;
};

class SettingsTest : public DeviceTest {
protected:
    /// The capabilities are up to date, as after the first request.
    SettingsTest();

    static Translation translate(std::string_view elements, uint32_t source = 0);
    static Translation translate_text(std::string text, uint32_t source = 0);
    static Translation translate_ticket(const char *name);
    /// The capabilities as they were at the start, but for one text.
    void change_capabilities(std::string_view from, std::string_view to) const;

    static constexpr char capabilities_path[] = "web/eSCL/ScannerCapabilities";
    std::string capabilities;
};

/// The block as far as a walk gets that is refused at once, and that of a request without
/// elements.
varn_scan_param start_block();
varn_scan_param empty_request_block();
/// Sets resolution, window and all that follows from them.
void set_window(varn_scan_param &block, uint16_t dpi, uint32_t width, uint32_t height);
/// Where two blocks differ, byte by byte; empty when they do not.
std::string difference(const varn_scan_param &got, const varn_scan_param &expected);

} // namespace varn::test
