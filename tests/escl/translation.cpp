#include "tests/escl/translation.h"

#include "tests/support/documents.h"
#include "varn/escl_capabilities.h"

#include <cstring>

namespace varn::test {

SettingsTest::SettingsTest() {
    log_of([] { eSCL_GetScanCapa2(nullptr, nullptr, 0); });
    tree.put("tmp/escl_cap_OK", "");
    capabilities = tree.get(capabilities_path);
}

Translation SettingsTest::translate(std::string_view elements, uint32_t source) {
    return translate_text(scan_settings(elements), source);
}

Translation SettingsTest::translate_ticket(const char *name) {
    Translation t;
    t.log = log_of([&] {
        t.result =
            eSCL_ParseScanParam_forReserveJobSet(nullptr, &t.block, &t.gamma, &t.multipick, name);
    });
    return t;
}

void SettingsTest::change_capabilities(std::string_view from, std::string_view to) const {
    tree.put(capabilities_path, capabilities);
    tree.replace(capabilities_path, from, to);
}

Translation SettingsTest::translate_text(std::string text, uint32_t source) {
    Translation t;
    memset(&t.block, 0xEE, sizeof t.block);
    t.log = log_of([&] {
        t.result = eSCL_ParseScanParam(text.data(), static_cast<uint32_t>(text.size()), &t.block,
                                       &t.gamma, &t.multipick, "job", source);
    });
    return t;
}

varn_scan_param start_block() {
    // The whole record, so that no offset is taken from the library's own declaration.
    static constexpr uint8_t bytes[128] = {
        6,    0,    0,    0, 3,    3, 24, 24, 0xF6, 9,    0, 0, 0xE2, 0x1D, 0,   0,   // 0
        0x2C, 1,    0x2C, 1, 0,    0, 0,  0,  0,    0,    0, 0, 0xF6, 9,    0,   0,   // 16
        0xB6, 0x0D, 0,    0, 0xF6, 9, 0,  0,  0xB6, 0x0D, 0, 0, 100,  0,    100, 0,   // 32
        0,    0,    0,    0, 0,    0, 11, 0,  1,    0,    0, 0, 0,    0,    0,   128, // 48
        0,    4,    0,    0, 0,    0, 0,  0,  0,    0,    0, 0, 0,    0,    0,   0,   // 64
        0,    0,    0,    0, 0,    0, 0,  0,  0,    0,    0, 0, 0,    2,    2,   0,   // 80
        0,    0,    0,    0, 0,    0, 0,  0,  0,    0,    0, 0, 79,   0,    0,   0,   // 96
        0,    0,    0,    0, 0,    0, 0,  0,  0,    0,    0, 0, 0,    0,    0,   0,   // 112
    };
    varn_scan_param block;
    memcpy(&block, bytes, sizeof block);
    return block;
}

varn_scan_param empty_request_block() {
    varn_scan_param block = start_block();
    block.byCompression = 5;
    block.dwImageProcess = 0x804b;
    block.dwImageProcess2 = 0x20;
    block.bySharpSmooth = 1;
    block.dwRealLineNum = 3510;
    return block;
}

void set_window(varn_scan_param &block, uint16_t dpi, uint32_t width, uint32_t height) {
    block.wXresolution = block.wYresolution = dpi;
    block.ScanWindow.xExtent = block.dwPaperWidth = block.dwWidthPixels = width;
    block.ScanWindow.yExtent = block.dwPaperHeight = block.dwRealLineNum = height;
    block.dwWidthBytes = width * 3;
}

std::string difference(const varn_scan_param &got, const varn_scan_param &expected) {
    uint8_t a[128];
    uint8_t b[128];
    memcpy(a, &got, sizeof a);
    memcpy(b, &expected, sizeof b);
    std::string text;
    for (size_t i = 0; i < sizeof a; ++i)
        if (a[i] != b[i])
            text += "byte " + std::to_string(i) + " is " + std::to_string(a[i]) + ", not " +
                    std::to_string(b[i]) + "; ";
    return text;
}

} // namespace varn::test
