// The scan window: its limits by source, resolution and memory, and its scaling.
#include "tests/escl/translation.h"
#include "tests/support/documents.h"

using namespace varn::test;

namespace {

using Window = SettingsTest;

std::string region(const std::string &children) {
    return "<pwg:ScanRegions><pwg:ScanRegion>" + children + "</pwg:ScanRegion></pwg:ScanRegions>";
}
std::string size(int64_t width, int64_t height) {
    return "<pwg:Height>" + std::to_string(height) +
           "</pwg:Height><pwg:ContentRegionUnits>"
           "escl:Other</pwg:ContentRegionUnits><pwg:Width>" +
           std::to_string(width) + "</pwg:Width>";
}
std::string offset(int64_t x, int64_t y) {
    return "<pwg:XOffset>" + std::to_string(x) + "</pwg:XOffset><pwg:YOffset>" + std::to_string(y) +
           "</pwg:YOffset>";
}
std::string resolution(int dpi) {
    const std::string text = std::to_string(dpi);
    return "<scan:XResolution>" + text + "</scan:XResolution><scan:YResolution>" + text +
           "</scan:YResolution>";
}
const std::string platen = "<pwg:InputSource>Platen</pwg:InputSource>";
const std::string duplex = "<scan:Duplex>true</scan:Duplex>";
const std::string overscan = "<scan:Overscan>true</scan:Overscan>";

struct Limit {
    const char *memory;
    std::string elements;
    const char *refusal; ///< log line; null for an accepted window
};

TEST_F(Window, limits) {
    const Limit rows[] = {
        // Up to 300 dpi the long-page limit holds for all sources.
        {"256", platen + region(size(2550, 63300)), nullptr},
        {"256", platen + region(size(2550, 63301)),
         "ScanRegion error,YOffset=0+ Height=63301 > MaxHeight =63300 !\n"},
        {"512", duplex + region(size(2550, 5000) + offset(0, 58300)), nullptr},
        {"512", duplex + region(size(2550, 5000) + offset(0, 58301)),
         "ScanRegion error,YOffset=58301+ Height=5000 > MaxHeight =63300 !\n"},
        // Above, the memory or the capabilities.
        {"512", platen + resolution(600) + region(size(2550, 10200)), nullptr},
        {"512", platen + resolution(600) + region(size(2550, 10201)),
         "~~~~extra Long page not support 600DPI~~~~~~\n"},
        {"512", resolution(500) + region(size(2550, 36600)),
         "~~~~extra Long page not support 500DPI~~~~~~\n"},
        {"512", resolution(400) + region(size(2550, 36601)),
         "ScanRegion error,YOffset=0+ Height=36601 > MaxHeight =36600 !\n"},
        {"512", resolution(400) + region(size(2550, 10201)),
         "~~~~ extra Long page not support 400DPI~~~~~~\n"},
        {"256", resolution(400) + region(size(2550, 10200)), nullptr},
        {"256", resolution(400) + region(size(2550, 63301)), "> MaxHeight =63300 !\n"},
        {"256", duplex + resolution(400) + region(size(2550, 4200)), nullptr},
        {"256", duplex + resolution(400) + region(size(2550, 4201)), "> MaxHeight =4200 !\n"},
        {"512", resolution(1200) + region(size(2550, 4200)), nullptr},
        {"512", resolution(1200) + region(size(2550, 4201)),
         "~~~~ Long page not support 1200DPI~~~~~~\n"},
        // An overscan of 100 lines, above and below.
        {"512", overscan + region(size(2550, 63500)), nullptr},
        {"512", overscan + region(size(2550, 63501)), "> MaxHeight =63500 !\n"},
        // Width, least sizes, and the order of the tests.
        {"512", region(size(2551, 63301)),
         "ScanRegion error,XOffset=0+ Width=2551 > MaxWidth =2550 !\n"},
        {"512", region(size(49, 49)), "ScanRegion error,XOffset=0+ Width=49 < MinWidth =50 !\n"},
        {"512", region(size(50, 49)), "ScanRegion error,YOffset=0+ Height=49 < MinHeight =50 !\n"},
        {"512", region(size(1, 1) + offset(49, 49)), nullptr},
        {"512", region(size(2550, 3510) + offset(1, 0)), "XOffset=1+ Width=2550 > MaxWidth"},
        {"512", region(offset(-1, 0)), nullptr}, // the sum of unsigned numbers
        {"512", region(size(-5, 100)), "Width=-5 > MaxWidth"},
        // Without a region there is nothing to test.
        {"512", "<pwg:ScanRegions/>", nullptr},
    };
    for (const Limit &row : rows) {
        SCOPED_TRACE(row.elements + " with " + row.memory);
        const bool small = std::string(row.memory) == "256";
        change_capabilities(">36600</scan:MaxHeight>",
                            small ? ">4200</scan:MaxHeight>" : ">36600</scan:MaxHeight>");
        tree.put("tmp/ftdram.txt", row.memory);
        const Translation t = translate(row.elements);
        EXPECT_EQ(t.result, row.refusal == nullptr ? 0 : -1) << t.log;
        EXPECT_NE(t.log.find(row.refusal == nullptr ? "" : row.refusal), t.log.npos) << t.log;
    }
}

TEST_F(Window, first_region_counts_and_what_is_absent_stays) {
    varn_scan_param expected = empty_request_block();
    set_window(expected, 300, 1000, 3510);
    expected.ScanWindow.yPos = 9;
    const Translation t =
        translate("<pwg:ScanRegions pwg:MustHonor=\"true\"><pwg:ScanRegion><pwg:Width>1000"
                  "</pwg:Width><pwg:YOffset>9</pwg:YOffset></pwg:ScanRegion><pwg:ScanRegion>" +
                  size(99999, 99999) + "</pwg:ScanRegion></pwg:ScanRegions>");
    EXPECT_EQ(t.result, 0);
    EXPECT_EQ(difference(t.block, expected), "");
    // A refused window has its numbers in the block already, but nothing that follows from them.
    const Translation refused = translate(region(size(2551, 100)));
    expected = start_block();
    expected.ScanWindow.xExtent = 2551;
    expected.ScanWindow.yExtent = 100;
    EXPECT_EQ(difference(refused.block, expected), "");
}

struct Scaled {
    uint16_t dpi;
    uint32_t x, y, width, height;
    uint32_t multipick;
    uint8_t overscan_lines;
    uint32_t overscan_width;
};
// Of a window of 1000 x 2001 at 100, 200; an exclusion of one inch; an overscan of 100 lines.
constexpr Scaled scales[] = {
    {75, 25, 50, 250, 500, 75, 25, 637},         {100, 33, 66, 333, 667, 100, 33, 850},
    {150, 50, 100, 500, 1000, 150, 50, 1275},    {200, 66, 133, 666, 1334, 200, 66, 1700},
    {240, 80, 160, 800, 1600, 240, 80, 2040},    {300, 100, 200, 1000, 2001, 300, 100, 2550},
    {400, 133, 266, 1333, 2668, 400, 133, 3400}, {500, 166, 333, 1666, 3335, 500, 166, 4250},
    {600, 200, 400, 2000, 4002, 600, 200, 5100}, {1200, 400, 800, 4000, 8004, 1200, 255, 10200},
    {720, 100, 200, 1000, 2001, 300, 100, 2550}, // of no factor
};

TEST_F(Window, is_scaled_to_the_resolution) {
    const std::string known = "<scan:XResolution>240</scan:XResolution>\n                "
                              "<scan:YResolution>240</scan:YResolution>";
    const std::string exclusion =
        "<scan:MultipickExclusionLength>4</scan:MultipickExclusionLength>";
    for (const Scaled &row : scales) {
        SCOPED_TRACE(row.dpi);
        change_capabilities(known, row.dpi == 720 ? resolution(720) : known);
        const std::string elements =
            resolution(row.dpi) + region(size(1000, 2001) + offset(100, 200)) + exclusion;
        varn_scan_param expected = empty_request_block();
        set_window(expected, row.dpi, row.width, row.height);
        expected.ScanWindow.xPos = row.x;
        expected.ScanWindow.yPos = row.y;
        Translation t = translate(elements);
        EXPECT_EQ(t.result, 0);
        EXPECT_EQ(difference(t.block, expected), "");
        EXPECT_EQ(t.multipick.words[2], row.multipick);

        expected.ScanWindow.xPos = expected.ScanWindow.yPos = 0;
        set_window(expected, row.dpi, row.overscan_width, row.height);
        expected.byMiscOptions = 8;
        expected.byOverScanLines = row.overscan_lines;
        t = translate(elements + overscan);
        EXPECT_EQ(difference(t.block, expected), "");
    }
}

TEST_F(Window, overscan_clamp_begins_at_256) {
    for (const auto &[max, at_400, at_200] :
         {std::tuple{191, 254, 127}, {192, 255, 128}, {255, 255, 170}, {256 + 9, 12, 6}}) {
        const std::string support =
            "<scan:OverscanLengthSupport>\n    <scan:Min>0</scan:Min>\n    <scan:Max>";
        change_capabilities(support + "100", support + std::to_string(max));
        EXPECT_EQ(translate(resolution(400) + overscan).block.byOverScanLines, at_400);
        EXPECT_EQ(translate(resolution(200) + overscan).block.byOverScanLines, at_200);
    }
}

TEST_F(Window, line_bytes_follow_the_output_bits) {
    const struct {
        const char *mode;
        uint32_t width, bytes;
    } rows[] = {{"RGB24", 1001, 3003},
                {"Grayscale8", 1001, 1001},
                {"BlackAndWhite1", 1001, 126},
                {"BlackAndWhite1", 1000, 125},
                {"BlackAndWhite1", 1007, 126}};
    for (const auto &row : rows) {
        const Translation t = translate("<scan:ColorMode>" + std::string(row.mode) +
                                        "</scan:ColorMode>" + region(size(row.width, 100)));
        EXPECT_EQ(t.block.dwWidthBytes, row.bytes) << row.mode << row.width;
    }
}

} // namespace
