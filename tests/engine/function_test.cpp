/// What the engine makes of a page: tone, detection, cropping, forms of documents, multipick.
#include "device/kob_common/link.h"
#include "device/wire/nvram.h"
#include "device/wire/places.h"
#include "platform/mvtc.h"
#include "tests/engine/engine_fixture.h"
#include "tests/engine/scan_client.h"

#include <cmath>
#include <fstream>
#include <functional>

namespace varn::test {
namespace {

/// Bits that every scan has set.
constexpr std::uint32_t always = 0x804a;
constexpr std::uint32_t always_2 = 0x20;

wire::ScanParam page(std::uint8_t type, std::uint32_t functions = 0, std::uint16_t dpi = 100) {
    wire::ScanParam param = page_at(simplex, type, dpi);
    param.dwImageProcess = always | functions;
    param.dwImageProcess2 = always_2;
    return param;
}

class FunctionTest : public EngineTest {
protected:
    Image scan_one(const wire::ScanParam &param) const {
        const Scan result = scan(root(), param);
        EXPECT_EQ(result.block_error | result.sheet_error, 0U);
        EXPECT_EQ(result.images.size(), 1U);
        return result.images.empty() ? Image() : result.images[0];
    }
    std::string a4(const char *name, std::uint32_t rgb) const {
        return paint(name, 850, 1170, rgb);
    }
};

/// The table of a curve over 16-bit inputs, entry by entry as its definition has it.
std::vector<std::uint16_t> table_of(const std::function<double(double)> &curve) {
    std::vector<std::uint16_t> table;
    for (unsigned input = 0; input < 65536 && table.size() < 255; ++input) {
        const auto level = static_cast<unsigned>(std::lround(curve(input / 65535.0) * 65535)) >> 8;
        while (table.size() < level && table.size() < 255)
            table.push_back(static_cast<std::uint16_t>(input));
    }
    table.resize(255, table.back());
    return table;
}

TEST_F(FunctionTest, tone_tables_and_matrix_change_the_colours_as_their_curve_says) {
    const auto identity = table_of([](double x) { return x; });
    const auto gamma = table_of([](double x) { return std::pow(x, 1 / 1.8); });
    const auto dark = table_of([](double x) { return x * x; });
    const auto half_range = table_of([](double x) { return x < 0.5 ? 0.0 : 1.0; });
    const std::vector<std::uint16_t> never(255, 0);
    const std::vector<std::uint16_t> keep = {1024, 0, 0, 0, 1024, 0, 0, 0, 1024};
    const std::vector<std::uint16_t> swap_red_blue = {0, 0, 1024, 0, 1024, 0, 1024, 0, 0};
    // Word 1 says how much of red goes into green; green takes it away from itself.
    const std::vector<std::uint16_t> minus = {512, 1024, 0, 0, 65536 - 1024, 0, 0, 0, 2048};
    struct Case {
        std::uint8_t type;
        HostRecords records;
        std::uint32_t expected;
    };
    const std::uint32_t paper = 0x806040;
    const auto through = [](double exponent, std::uint32_t rgb) {
        std::uint32_t out = 0;
        for (const int shift : {16, 8, 0})
            out = out << 8 | static_cast<std::uint32_t>(std::lround(
                                 255 * std::pow((rgb >> shift & 0xFF) / 255.0, exponent)));
        return out;
    };
    const Case cases[] = {
        {colour, {0, {never, never, never}, std::vector<std::uint16_t>(9, 0), {}}, paper},
        {colour, {0, {identity, identity, identity}, keep, {}}, paper},
        {colour, {0, {gamma, gamma, gamma}, {}, {}}, through(1 / 1.8, paper)},
        {colour, {0, {dark, dark, dark}, {}, {}}, through(2, paper)},
        {colour, {0, {dark, never, never}, {}, {}}, 0x406040},
        {colour, {0, {half_range, half_range, half_range}, {}, {}}, 0xFF0000},
        {grey, {0, {half_range, half_range, half_range}, {}, {}}, 0x4C4C4C},
        {colour, {0, {never, never, never}, swap_red_blue, {}}, 0x406080},
        {colour, {0, {}, minus, {}}, 0x402080},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        ctl({"feeder", "load", a4("paper.png", paper)});
        write_records(root(), cases[i].records);
        const Picture picture = decode(scan_one(page(cases[i].type)).bytes);
        EXPECT_TRUE(alike(picture.mean_colour(), cases[i].expected))
            << "case " << i << ": " << std::hex << picture.mean_colour();
    }
}

TEST_F(FunctionTest, factory_settings_forget_the_tone) {
    const auto dark = table_of([](double x) { return x * x; });
    write_records(root(), {0, {dark, dark, dark}, {}, {}});
    const Link link(root());
    EXPECT_EQ(mvtc_cmd_factorydefault(link), 0);
    ctl({"feeder", "load", a4("paper.png", 0x808080)});
    EXPECT_TRUE(alike(decode(scan_one(page(grey)).bytes).mean_colour(), 0x808080));
}

TEST_F(FunctionTest, auto_exposure_spreads_ink_and_paper) {
    struct Case {
        std::uint32_t functions;
        std::uint8_t type;
        double least_paper, most_paper;
    };
    // The text page on grey paper, 0xA0.
    ctl({"feeder", "load", "text"});
    write_records(root(), {0, {}, {640, 0, 0, 0, 640, 0, 0, 0, 640}, {}});
    const Image veiled = scan_one(page(grey, 0, 150));
    std::ofstream(root() + "/veiled.jpg", std::ios::binary)
        .write(reinterpret_cast<const char *>(veiled.bytes.data()),
               static_cast<std::streamsize>(veiled.bytes.size()));
    write_records(root(), {0, {}, std::vector<std::uint16_t>(9), {}});
    const Case cases[] = {{0, grey, 150, 170},
                          {0x400000, grey, 250, 255},
                          {0, bi_level, 255, 255},
                          {0x400000, bi_level, 255, 255}};
    for (const Case &exposed : cases) {
        ctl({"feeder", "load", root() + "/veiled.jpg"});
        wire::ScanParam param = page(exposed.type, exposed.functions);
        param.byHalftoneThreshold = exposed.functions ? 250 : 128;
        const Picture picture = decode(scan_one(param).bytes);
        std::vector<std::uint8_t> sorted = picture.samples;
        std::ranges::sort(sorted);
        EXPECT_GE(sorted[sorted.size() / 2], exposed.least_paper) << exposed.functions;
        EXPECT_LE(sorted[sorted.size() / 2], exposed.most_paper) << exposed.functions;
        EXPECT_LE(sorted[sorted.size() / 100], 60) << "the ink";
    }
}

struct DetectCase {
    const char *sheet;
    std::uint32_t functions;
    std::uint8_t level;
    std::uint8_t mode;
    unsigned channels;
    bool blank;
    bool colour_found;
};

TEST_F(FunctionTest, blank_pages_and_colour_are_found_when_asked_for) {
    constexpr std::uint32_t blank = 0x100000;
    constexpr std::uint32_t colours = 0x40040;
    const DetectCase cases[] = {
        {"blank", blank, 0, 0, 3, true, false},
        {"blank", 0, 4, 0, 3, false, false},
        {"text", blank, 4, 0, 3, false, false},
        {"chart", blank, 4, 0, 3, false, false},
        {"back", blank, 0, 0, 3, false, false},
        {"back", blank, 4, 0, 3, true, false},
        {"chart", colours, 0, 0, 3, false, true},
        {"chart", 0, 4, 0, 3, false, false},
        {"text", colours, 4, 0, 3, false, false},
        {"text", colours, 2, 16, 1, false, false},
        {"chart", colours, 2, 16, 3, false, true},
        {"ramp", colours | blank, 2, 16, 1, false, false},
    };
    for (const DetectCase &found : cases) {
        SCOPED_TRACE(testing::PrintToString(std::tuple(found.sheet, found.functions, found.level)));
        ctl({"feeder", "load", found.sheet});
        wire::ScanParam param = page(colour, found.functions);
        param.byBlankPageSensitivity = param.byColorDetectSensitivity = found.level;
        param.byColorDetectMode = found.mode;
        const Image image = scan_one(param);
        EXPECT_EQ(decode(image.bytes).channels, found.channels);
        EXPECT_EQ(image.last.dwBytesPerLine, 850 * found.channels);
        EXPECT_EQ(image.last.wCropBlank >> 8 != 0, found.blank);
        EXPECT_EQ(image.last.byColorDetected != 0, found.colour_found);
    }
}

struct WindowCase {
    const char *name;
    wire::ScanWindow window;
    std::uint32_t crop, crop_2;
    std::uint8_t options, lines;
    unsigned width, height;
    bool cropped;
    std::uint32_t top, bottom; ///< colour of the first and the last line's middle
};

TEST_F(FunctionTest, crop_and_overscan_change_the_size_of_the_image) {
    constexpr std::uint32_t crop = 0x880000;
    constexpr std::uint32_t crop_2 = 0x1c0;
    constexpr std::uint32_t p = 0x3070B0;
    const WindowCase cases[] = {
        {"cropped", {0, 0, 850, 1170}, crop, crop_2, 0, 0, 400, 500, true, p, p},
        {"offset", {100, 50, 850, 1170}, crop, crop_2, 1, 0, 300, 450, true, p, p},
        {"inside", {10, 10, 300, 300}, crop, crop_2, 0, 0, 300, 300, false, p, p},
        {"beside", {450, 0, 100, 100}, crop, crop_2, 0, 0, 100, 100, false, 0xFFFFFF, 0xFFFFFF},
        {"half asked", {0, 0, 500, 600}, crop, 0, 0, 0, 500, 600, false, p, 0xFFFFFF},
        {"not asked", {0, 0, 500, 600}, 0, crop_2, 0, 0, 500, 600, false, p, 0xFFFFFF},
        {"overscan", {0, 0, 400, 500}, 0, 0, 9, 50, 400, 600, false, 0x000000, 0x000000},
        {"no overscan", {0, 0, 400, 500}, 0, 0, 0, 50, 400, 500, false, p, p},
    };
    for (const WindowCase &cut : cases) {
        SCOPED_TRACE(cut.name);
        ctl({"feeder", "load", paint("small.png", 400, 500, p)});
        wire::ScanParam param = page(colour, cut.crop);
        param.dwImageProcess2 = always_2 | cut.crop_2;
        param.window = cut.window;
        param.byMiscOptions = cut.options;
        param.byOverScanLines = cut.lines;
        const Image image = scan_one(param);
        const Picture picture = decode(image.bytes);
        EXPECT_EQ(std::pair(picture.width, picture.height), std::pair(cut.width, cut.height));
        EXPECT_EQ(std::pair(std::uint32_t{image.last.dwImageWidth},
                            std::uint32_t{image.last.dwImageHeight}),
                  std::pair(cut.width, cut.height));
        EXPECT_EQ((image.last.wCropBlank & 0xFF) != 0, cut.cropped);
        EXPECT_TRUE(alike(picture.colour_at(cut.width / 2, 0), cut.top));
        EXPECT_TRUE(alike(picture.colour_at(cut.width / 2, cut.height - 1), cut.bottom));
    }
}

TEST_F(FunctionTest, each_document_format_holds_the_page) {
    constexpr std::uint32_t p = 0xC86428;
    for (const std::uint8_t type : {colour, grey, bi_level})
        for (const int format : {kob_document_tiff, kob_document_raw}) {
            SCOPED_TRACE(testing::PrintToString(std::pair(int{type}, format)));
            ctl({"feeder", "load", paint("small.png", 401, 1170, p), "chart"});
            write_records(root(), {format, {}, {}, {}});
            wire::ScanParam param = page(type);
            param.window.xExtent = 845; // no whole number of bytes in a bi-level line
            param.byHalftoneThreshold = 128;
            const Scan result = scan(root(), param);
            ASSERT_EQ(result.images.size(), 2U);
            const Image &image = result.images[0];
            const std::uint32_t expected = type == colour ? p : type == grey ? 0x7A7A7A : 0x000000;
            if (format == kob_document_raw) {
                ASSERT_EQ(image.bytes.size(), image.last.dwBytesPerLine * 1170U);
                const std::uint8_t *at = &image.bytes[image.last.dwBytesPerLine * 600U];
                const std::uint32_t white = type == bi_level ? 0x00 : 0xFF; // a set bit is black
                EXPECT_TRUE(alike(type == colour ? at[0] * 0x10000U + at[1] * 0x100U + at[2]
                                  : type == grey ? at[0] * 0x10101U
                                                 : (255U - at[0]) * 0x10101U,
                                  expected));
                EXPECT_EQ(at[image.last.dwBytesPerLine - 1], white);
                continue;
            }
            const Picture picture = decode_tiff(image.bytes);
            EXPECT_EQ(std::pair(picture.width, picture.height), std::pair(845U, 1170U));
            EXPECT_EQ(picture.dpi, 100U);
            EXPECT_EQ(picture.channels, type == colour ? 3U : 1U);
            EXPECT_TRUE(alike(picture.colour_at(200, 600), expected));
            EXPECT_TRUE(alike(picture.colour_at(500, 600), 0xFFFFFF));
            EXPECT_EQ(decode_tiff(result.images[1].bytes).width, 845U);
        }
    ctl({"feeder", "load", "chart"});
    EXPECT_EQ(decode(scan_one(page(grey)).bytes).width, 850U) << "the format held for one scan";
    for (const auto &entry : std::filesystem::directory_iterator(root() + "/var/varn/sheets"))
        ADD_FAILURE() << entry.path() << " was left behind";
}

TEST_F(FunctionTest, raw_bits_follow_the_meaning_of_black) {
    for (const bool black_is_zero : {true, false}) {
        ctl({"feeder", "load", "blank"});
        write_records(root(), {kob_document_raw, {}, {}, {}});
        wire::ScanParam param = page(bi_level);
        param.dwImageProcess2 = always_2 | (black_is_zero ? 0x2000000U : 0U);
        const Image image = scan_one(param);
        ASSERT_FALSE(image.bytes.empty());
        EXPECT_EQ(image.bytes[0], black_is_zero ? 0xFF : 0x00);
    }
}

TEST_F(FunctionTest, unknown_formats_are_refused) {
    const int fd = kob_link_open(root().c_str());
    for (const int format : {-1, 3, 1 << 30})
        EXPECT_LT(kob_set_document_format(fd, format), 0) << format;
    EXPECT_EQ(kob_set_document_format(fd, kob_document_jpeg), 0) << "the link is still in use";
    kob_link_close(fd);
    EXPECT_LT(kob_set_document_format(-1, kob_document_tiff), 0);
}

struct MultipickCase {
    const char *name;
    bool fault; ///< else the sheet is a double one
    std::uint8_t options;
    std::uint32_t action;
    std::uint32_t exclusion; ///< lines
    std::uint32_t error;
    std::size_t images;
    bool told; ///< in the first image's record
    int events;
};

TEST_F(FunctionTest, multipicks_are_told_to_hosts_that_want_to_know) {
    constexpr std::uint32_t stop = 0x800000;
    constexpr std::uint32_t go_on = 0x400000;
    const MultipickCase cases[] = {
        {"not asked", false, 0, stop, 0, 0, 2, false, 0},
        {"stop", false, 4, stop, 0, 0x2004, 0, false, 1},
        {"no action", false, 4, 0, 0, 0x2004, 0, false, 1},
        {"go on", false, 4, go_on, 0, 0, 2, true, 1},
        {"excluded", false, 4, stop, 500, 0, 2, false, 0},
        {"longer than excluded", false, 4, stop, 499, 0x2004, 0, false, 1},
        {"fault", true, 4, stop, 0, 0x2004, 0, false, 1},
        {"fault, not asked", true, 0, stop, 0, 0, 2, false, 0},
        {"fault, go on", true, 4, go_on, 0, 0, 2, true, 1},
    };
    int events = 0;
    for (const MultipickCase &pick : cases) {
        SCOPED_TRACE(pick.name);
        ctl({"feeder", "empty"});
        ctl({"fault", "clear"});
        const std::string sheet = paint("small.png", 400, 500, 0x806040);
        ctl({"feeder", "load", sheet + (pick.fault ? "" : "*2"), "blank"});
        if (pick.fault)
            ctl({"fault", "multipick"});
        write_records(root(), {0, {}, {}, {2, 0, pick.exclusion, 0}});
        wire::ScanParam param = page(grey);
        param.byMiscOptions = pick.options;
        param.dwImageProcess2 = always_2 | pick.action;
        const Scan result = scan(root(), param);
        EXPECT_EQ(result.block_error, pick.error);
        ASSERT_EQ(result.images.size(), pick.images);
        if (pick.images > 0) {
            EXPECT_EQ(result.images[0].last.byDataCheck != 0, pick.told);
            EXPECT_EQ(result.images[1].last.byDataCheck, 0);
        }
        const auto table = read_record<wire::NvramTable>(root() + wire::nvram_file);
        EXPECT_EQ(table.multipick_events, events += pick.events);
    }
}

TEST_F(FunctionTest, long_sheets_are_scanned_whole_in_little_memory) {
    ctl({"feeder", "load", "long:211"});
    EXPECT_EQ(state().at("/feeder/0/front"_json_pointer), "long:211");
    wire::ScanParam param = page(colour, 0, 300);
    param.window = {0, 0, 600, 63300};
    write_records(root(), {kob_document_tiff, {}, {}, {}});
    const Picture tape = decode_tiff(scan_one(param).bytes);
    EXPECT_EQ(tape.height, 63300U);
    EXPECT_TRUE(alike(tape.colour_at(20, 150), 0xC03030));
    EXPECT_TRUE(alike(tape.colour_at(20, 63150), 0xC03030)) << "the 211th inch";

    ctl({"feeder", "load", "long:40"});
    param.dwImageProcess = always | 0x980000;
    param.dwImageProcess2 = always_2 | 0x1c0;
    EXPECT_EQ(decode(scan_one(param).bytes).height, 12000U) << "cropped to the sheet";
#ifndef __SANITIZE_ADDRESS__
    std::ifstream status("/proc/" + std::to_string(engine.pid()) + "/status");
    for (std::string word; status >> word;)
        if (word == "VmHWM:") {
            long kilobytes = 0;
            status >> kilobytes;
            EXPECT_LT(kilobytes, 60000);
        }
#endif
}

} // namespace
} // namespace varn::test
