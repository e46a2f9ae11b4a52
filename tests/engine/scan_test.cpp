/// Whole scans over the engine's sockets.
#include "tests/engine/scan_client.h"

#include "device/wire/nvram.h"
#include "device/wire/places.h"
#include "platform/mvtc.h"
#include "tests/engine/engine_fixture.h"

#include <csignal>
#include <fstream>
#include <utility>

namespace varn::test {
namespace {

class ScanTest : public EngineTest {
protected:
    /// Sheets of one colour each, A4 at 100 dpi, in the feeder.
    void load(const std::vector<std::uint32_t> &colours) {
        std::vector<std::string> words = {"feeder", "load"};
        for (std::size_t i = 0; i < colours.size(); ++i)
            words.push_back(paint("sheet" + std::to_string(i) + ".png", 850, 1170, colours[i]));
        ctl(words);
    }

    std::uint32_t last_error() const { return state().at("lastError").get<std::uint32_t>(); }

    void expect_idle() const { EXPECT_EQ(state().at("status"), "idle"); }
};

struct ModeCase {
    std::uint8_t type;
    std::uint8_t channel;
    std::uint8_t threshold;
    unsigned channels;
    std::uint32_t bytes_per_line;
    std::uint32_t expected;
};

TEST_F(ScanTest, each_mode_gives_its_colour) {
    constexpr std::uint32_t paper = 0xC86428; // red 200, green 100, blue 40
    const ModeCase cases[] = {
        {colour, 0, 128, 3, 2550, paper},     {grey, 6, 128, 1, 850, 0x7A7A7A},
        {grey, 1, 128, 1, 850, 0xC8C8C8},     {grey, 2, 128, 1, 850, 0x646464},
        {grey, 3, 128, 1, 850, 0x282828},     {bi_level, 6, 128, 1, 107, 0x000000},
        {bi_level, 6, 100, 1, 107, 0xFFFFFF}, {bi_level, 1, 128, 1, 107, 0xFFFFFF},
    };
    for (const ModeCase &mode : cases) {
        SCOPED_TRACE(testing::PrintToString(std::tuple(mode.type, mode.channel, mode.threshold)));
        load({paper});
        wire::ScanParam param = page_at(simplex, mode.type);
        param.byChannelDropOut = mode.channel;
        param.byHalftoneThreshold = mode.threshold;
        const Scan result = scan(root(), param);
        ASSERT_EQ(result.images.size(), 1U);
        const Picture picture = decode(result.images[0].bytes);
        EXPECT_EQ(picture.width, 850U);
        EXPECT_EQ(picture.height, 1170U);
        EXPECT_EQ(picture.channels, mode.channels);
        EXPECT_EQ(picture.dpi, 100U);
        EXPECT_TRUE(alike(picture.mean_colour(), mode.expected))
            << std::hex << picture.mean_colour();
        const wire::BlockStatus &last = result.images[0].last;
        EXPECT_EQ(last.dwImageWidth, 850U);
        EXPECT_EQ(last.dwImageHeight, 1170U);
        EXPECT_EQ(last.dwBytesPerLine, mode.bytes_per_line);
    }
}

struct SourceCase {
    std::uint32_t source;
    std::uint16_t page_limit;
    std::vector<std::uint32_t> expected;
    unsigned sheets_left;
};

TEST_F(ScanTest, each_source_gives_its_sides_in_order) {
    constexpr std::uint32_t a = 0xD02020;
    constexpr std::uint32_t b = 0x20D020;
    constexpr std::uint32_t c = 0x2020D0;
    constexpr std::uint32_t d = 0x808080;
    const SourceCase cases[] = {
        {simplex, 0, {a, c}, 0},      {duplex, 0, {a, b, c, d}, 0}, {simplex, 1, {a}, 1},
        {simplex, 7, {a, c}, 0},      {duplex, 2, {a, b}, 1},       {duplex, 1, {a, b}, 1},
        {duplex, 3, {a, b, c, d}, 0}, {flatbed, 0, {d}, 2},         {7, 0, {a, b, c, d}, 0},
    };
    const auto pair = [this](const char *name, std::uint32_t front, std::uint32_t back) {
        const std::string stem(name);
        return paint(stem + "f.png", 850, 1170, front) + "+" +
               paint(stem + "b.png", 850, 1170, back);
    };
    ctl({"glass", "put", paint("glass.png", 850, 1170, d)});
    std::uint32_t feeder_pages = 0;
    std::uint32_t flatbed_pages = 0;
    for (const SourceCase &source : cases) {
        SCOPED_TRACE(testing::PrintToString(std::pair(source.source, source.page_limit)));
        ctl({"feeder", "empty"});
        ctl({"feeder", "load", pair("1", a, b), pair("2", c, d)});
        wire::ScanParam param = page_at(source.source, colour);
        param.wPagesToScan = source.page_limit;
        const Scan result = scan(root(), param);
        EXPECT_TRUE(result.finished);
        ASSERT_EQ(result.images.size(), source.expected.size());
        for (std::size_t i = 0; i < source.expected.size(); ++i)
            EXPECT_TRUE(alike(decode(result.images[i].bytes).mean_colour(), source.expected[i]));
        EXPECT_EQ(state().at("feeder").size(), source.sheets_left);
        (source.source == flatbed ? flatbed_pages : feeder_pages) += result.images.size();
    }
    const auto table = read_record<wire::NvramTable>(root() + wire::nvram_file);
    EXPECT_EQ(table.adf_pages, feeder_pages);
    EXPECT_EQ(table.flatbed_pages, flatbed_pages);
    for (const auto &entry : std::filesystem::directory_iterator(root() + "/var/varn/sheets"))
        EXPECT_EQ(state().at("feeder").size(), 0U) << entry.path() << " was left behind";
}

struct WindowCase {
    std::uint16_t dpi;
    wire::ScanWindow window; ///< in three-hundredths of an inch
    std::uint32_t expected;
};

TEST_F(ScanTest, the_window_cuts_out_its_part_of_the_sheet) {
    // Patches of the chart, and what lies beyond the sheet.
    const WindowCase cases[] = {
        {300, {180, 360, 240, 240}, 0xFF0000}, {75, {180, 360, 240, 240}, 0xFF0000},
        {600, {180, 360, 240, 240}, 0xFF0000}, {150, {552, 360, 240, 240}, 0x00FF00},
        {200, {180, 690, 240, 240}, 0x000000}, {300, {306, 1032, 120, 216}, 0x111111},
        {300, {2600, 60, 120, 120}, 0xFFFFFF}, {300, {60, 3600, 120, 120}, 0xFFFFFF},
    };
    for (const WindowCase &cut : cases) {
        SCOPED_TRACE(testing::PrintToString(std::tuple(cut.dpi, cut.expected)));
        ctl({"feeder", "load", "chart"});
        wire::ScanParam param = page_at(simplex, colour, cut.dpi);
        const auto scaled = [&](std::uint32_t length) { return length * cut.dpi / 300; };
        param.window = {scaled(cut.window.xPos), scaled(cut.window.yPos),
                        scaled(cut.window.xExtent), scaled(cut.window.yExtent)};
        const Scan result = scan(root(), param);
        ASSERT_EQ(result.images.size(), 1U);
        const Picture picture = decode(result.images[0].bytes);
        EXPECT_EQ(picture.width, scaled(cut.window.xExtent));
        EXPECT_TRUE(alike(picture.mean_colour(), cut.expected))
            << std::hex << picture.mean_colour();
    }
}

TEST_F(ScanTest, beyond_the_sheet_is_the_background) {
    for (const bool black_background : {false, true}) {
        ctl({"feeder", "load", paint("small.png", 400, 500, 0x4080C0)});
        wire::ScanParam param = page_at(simplex, colour);
        param.byMiscOptions = black_background ? 1 : 0;
        const Scan result = scan(root(), param);
        ASSERT_EQ(result.images.size(), 1U);
        const Picture picture = decode(result.images[0].bytes);
        const std::uint32_t background = black_background ? 0x000000 : 0xFFFFFF;
        EXPECT_TRUE(alike(picture.colour_at(380, 480), 0x4080C0));
        EXPECT_TRUE(alike(picture.colour_at(430, 480), background));
        EXPECT_TRUE(alike(picture.colour_at(380, 530), background));
    }
}

TEST_F(ScanTest, compression_levels_go_from_best_to_smallest) {
    std::size_t before = SIZE_MAX;
    for (const std::uint8_t level : {0, 1, 2, 5, 8, 255}) {
        ctl({"glass", "put", "chart"});
        wire::ScanParam param = page_at(flatbed, colour);
        param.byCompression = level;
        const Scan result = scan(root(), param);
        ASSERT_EQ(result.images.size(), 1U);
        const std::size_t size = result.images[0].bytes.size();
        if (level == 1) {
            EXPECT_EQ(size, before) << "level 0 counts as 1";
        } else {
            EXPECT_LT(size, before) << "level " << int{level};
        }
        before = size;
    }
}

TEST_F(ScanTest, an_image_goes_more_than_once_around_the_ring) {
    ctl({"glass", "put", "text"});
    wire::ScanParam param = page_at(flatbed, colour, 1200);
    param.byCompression = 1;
    const Scan result = scan(root(), param, {.ms_per_block = 1});
    ASSERT_EQ(result.images.size(), 1U);
    EXPECT_GT(result.images[0].blocks, 16U);
    const Picture picture = decode(result.images[0].bytes);
    EXPECT_EQ(picture.width, 10200U);
    EXPECT_EQ(picture.height, 14040U);
}

TEST_F(ScanTest, the_longest_page_needs_no_more_memory_than_a_short_one) {
    load({0x336699});
    wire::ScanParam param = page_at(simplex, grey, 300);
    param.window = {0, 0, 1000, 63300};
    const Scan result = scan(root(), param);
    ASSERT_EQ(result.images.size(), 1U);
    EXPECT_EQ(decode(result.images[0].bytes).height, 63300U);
#ifndef __SANITIZE_ADDRESS__
    std::ifstream status("/proc/" + std::to_string(engine.pid()) + "/status");
    for (std::string word; status >> word;)
        if (word == "VmHWM:") {
            long kilobytes = 0;
            status >> kilobytes;
            EXPECT_LT(kilobytes, 60000) << "the page alone has 63 million pixels";
        }
#endif
}

struct FaultCase {
    std::vector<std::string> fault;
    std::uint32_t block_error;
    std::uint32_t sheet_error;
    std::size_t images;
    std::size_t sheets_left;
    std::uint32_t kept_error;
    std::vector<std::string> remedy; ///< what the person does to clear the error
};

TEST_F(ScanTest, faults_are_told_at_their_sheet) {
    const FaultCase cases[] = {
        {{"jam", "2"}, 0x2002, 0, 1, 1, 0x2002, {"hatch", "close"}},
        {{"jam", "2", "end"}, 0, 0x2002, 2, 1, 0x2002, {"hatch", "close"}},
        {{"jam", "1", "start"}, 0x2002, 0, 0, 3, 0x2002, {"fault", "clear"}},
        {{"mispick"}, 0x2001, 0, 0, 3, 0x2001, {"feeder", "load", "1"}},
        {{"multipick", "3"}, 0x2004, 0, 2, 0, 0x2004, {"hatch", "close"}},
        {{"toolong"}, 0x2007, 0, 0, 2, 0x2007, {"hatch", "close"}},
        {{"tooshort", "2"}, 0x2008, 0, 1, 1, 0x2008, {"hatch", "close"}},
        {{"hatch", "2"}, 0x2009, 0, 1, 1, 0x2009, {"hatch", "close"}},
        {{"tray", "2", "end"}, 0, 0x2016, 2, 1, 0x2016, {"tray", "open"}},
        {{"empty", "2"}, 0x200E, 0, 1, 2, 0x200E, {"feeder", "load", "1"}},
        {{"cancel", "2"}, 0x4001, 0, 1, 1, 0, {"fault", "clear"}},
        {{"abort"}, 0x4002, 0, 0, 2, 0, {"fault", "clear"}},
        {{"jam", "4"}, 0, 0, 3, 0, 0, {"fault", "clear"}},
    };
    for (const FaultCase &fault : cases) {
        SCOPED_TRACE(testing::PrintToString(fault.fault));
        ctl({"feeder", "empty"});
        ctl({"feeder", "load", "3"});
        std::vector<std::string> words = {"fault"};
        words.insert(words.end(), fault.fault.begin(), fault.fault.end());
        ctl(words);
        wire::ScanParam param = page_at(simplex, grey);
        param.byMiscOptions = 4; // the host wants to know of a multipick
        const Scan result = scan(root(), param);
        EXPECT_EQ(result.block_error, fault.block_error);
        EXPECT_EQ(result.sheet_error, fault.sheet_error);
        EXPECT_EQ(result.images.size(), fault.images);
        EXPECT_EQ(state().at("feeder").size(), fault.sheets_left);
        EXPECT_EQ(last_error(), fault.kept_error);
        expect_idle();
        ctl(fault.remedy);
        EXPECT_EQ(last_error(), 0U);
        ctl({"fault", "clear"});
    }
    const auto table = read_record<wire::NvramTable>(root() + wire::nvram_file);
    EXPECT_EQ(table.jam_events, 3);
    EXPECT_EQ(table.mispick_events, 1);
    EXPECT_EQ(table.multipick_events, 1);
}

TEST_F(ScanTest, a_feeder_that_cannot_pick_says_why) {
    struct Case {
        std::vector<std::string> before;
        std::uint32_t error;
        std::vector<std::string> after;
    };
    const Case cases[] = {{{"feeder", "empty"}, 0x200E, {"feeder", "load", "1"}},
                          {{"hatch", "open"}, 0x2009, {"hatch", "close"}},
                          {{"tray", "close"}, 0x2016, {"tray", "open"}}};
    ctl({"feeder", "load", "1"});
    for (const Case &obstacle : cases) {
        SCOPED_TRACE(testing::PrintToString(obstacle.before));
        ctl(obstacle.before);
        EXPECT_EQ(scan(root(), page_at(simplex, grey)).block_error, obstacle.error);
        EXPECT_EQ(last_error(), obstacle.error);
        EXPECT_EQ(scan(root(), page_at(flatbed, grey)).images.size(), 1U)
            << "the glass does not care";
        ctl(obstacle.after);
        EXPECT_EQ(last_error(), 0U);
    }
}

TEST_F(ScanTest, the_person_can_stop_a_running_scan) {
    struct Case {
        std::vector<std::string> what;
        std::uint32_t error;
    };
    const Case cases[] = {{{"fault", "cancel", "now"}, 0x4001},
                          {{"fault", "jam", "now"}, 0x2002},
                          {{"hatch", "open"}, 0x2009}};
    for (const Case &stop : cases) {
        SCOPED_TRACE(testing::PrintToString(stop.what));
        ctl({"feeder", "empty"});
        ctl({"feeder", "load", "20"});
        Manners manners;
        bool told = false;
        manners.next = [&](unsigned blocks) {
            if (blocks == 1 && !std::exchange(told, true))
                ctl(stop.what);
            return Next::go_on;
        };
        const Scan result = scan(root(), page_at(simplex, colour), manners);
        EXPECT_EQ(result.block_error | result.sheet_error, stop.error);
        EXPECT_LE(result.images.size(), 4U);
        ctl({"hatch", "close"});
    }
}

TEST_F(ScanTest, a_client_that_cancels_or_vanishes_ends_the_scan) {
    for (const Next end : {Next::cancel, Next::vanish})
        for (const unsigned at : {1U, 2U, 5U}) {
            SCOPED_TRACE(testing::PrintToString(std::pair(int(end), at)));
            ctl({"feeder", "empty"});
            ctl({"feeder", "load", "10"});
            Manners manners;
            manners.next = [&](unsigned blocks) { return blocks == at ? end : Next::go_on; };
            wire::ScanParam param = page_at(duplex, colour, 300);
            param.byCompression = 1;
            const Scan broken_off = scan(root(), param, manners);
            EXPECT_EQ(broken_off.block_error, end == Next::cancel ? 0x4002U : 0U);
            EXPECT_GE(state().at("feeder").size(), 5U) << "the scan ran far ahead of its client";
            for (int i = 0; i < 500 && state().at("status") != "idle"; ++i)
                usleep(10000);
            expect_idle();
            EXPECT_EQ(scan(root(), page_at(flatbed, grey)).images.size(), 1U);
        }
}

TEST_F(ScanTest, a_dropped_image_connection_ends_the_scan_there) {
    for (const bool on_glass : {false, true}) {
        ctl({"feeder", "empty"});
        ctl({"feeder", "load", "3"});
        ctl({"fault", "drop", on_glass ? "1" : "2"});
        const Scan result = scan(root(), page_at(on_glass ? flatbed : simplex, grey));
        EXPECT_TRUE(result.broken);
        EXPECT_EQ(result.images.size(), on_glass ? 0U : 1U);
        expect_idle();
        EXPECT_EQ(last_error(), 0U);
    }
    Manners manners;
    manners.next = [&](unsigned blocks) {
        if (blocks == 1)
            ctl({"fault", "drop", "now"});
        return Next::go_on;
    };
    ctl({"feeder", "load", "9"});
    EXPECT_TRUE(scan(root(), page_at(simplex, grey), manners).broken);
}

TEST_F(ScanTest, faults_that_are_no_error_show_in_the_status) {
    const auto status = [this] {
        const Link link(root());
        wire::ScannerStatus now;
        EXPECT_EQ(mvtc_cmd_pick_media(link, &now), 0);
        return now;
    };
    ctl({"power", "down"});
    EXPECT_EQ(status().byPowerDown, 1);
    ctl({"panel", "takeover"});
    EXPECT_EQ(status().byPanelTakeover, 0) << "there is no error to take over";
    ctl({"feeder", "load", "1"});
    ctl({"fault", "jam"});
    EXPECT_EQ(scan(root(), page_at(simplex, grey)).block_error, 0x2002U);
    EXPECT_EQ(status().byPanelTakeover, 1);
    EXPECT_EQ(status().dwLastErr, 0x2002U);
    EXPECT_EQ(status().byPowerDown, 0) << "the scan woke the engine";
    ctl({"hatch", "close"});
    EXPECT_EQ(status().byPanelTakeover, 0);

    ctl({"fault", "refuse"});
    const Link link(root());
    const wire::ScanParam param = page_at(simplex, grey);
    EXPECT_LT(mvtc_write_scan_param(link, &param), 0);
    EXPECT_EQ(mvtc_write_scan_param(link, &param), 0);
}

TEST_F(ScanTest, a_slow_engine_takes_its_time_and_can_be_cancelled) {
    struct Case {
        const char *per;
        const char *delay;
        int least_ms;
    };
    // 74 strips a page; one block.
    for (const Case &slow : {Case{"strip", "4", 290}, Case{"block", "200", 200}}) {
        ctl({"slow", slow.per, slow.delay});
        const std::int64_t before = wire::now_ms();
        EXPECT_EQ(scan(root(), page_at(flatbed, grey)).images.size(), 1U);
        EXPECT_GE(wire::now_ms() - before, slow.least_ms);
    }
    ctl({"slow", "strip", "60000"});
    const Link link(root());
    wire::ScannerStatus status;
    const wire::ScanParam param = page_at(flatbed, grey);
    const std::int64_t before = wire::now_ms();
    EXPECT_EQ(mvtc_write_scan_param(link, &param), 0);
    EXPECT_EQ(mvtc_cmd_startscan(link, &status, 0), 0);
    EXPECT_EQ(mvtc_read_blockimage(link), 0);
    {
        const wire::Descriptor gone = wire::connect_local(root(), wire::image_socket);
        wire::ActionCommand command;
        command.dwSignature = wire::action_signature;
        command.bySubCommand = 4;
        wire::send_all(gone.get(), &command, sizeof command, wire::now_ms() + 1000);
    }
    for (int i = 0; i < 500 && state().at("status") != "idle"; ++i)
        usleep(10000);
    expect_idle();
    EXPECT_LT(wire::now_ms() - before, 20000);
}

TEST_F(ScanTest, a_killed_engine_loses_at_most_the_counts_of_its_scan) {
    const auto pages = [this] {
        return std::uint32_t{read_record<wire::NvramTable>(root() + wire::nvram_file).adf_pages};
    };
    ctl({"feeder", "load", "3"});
    EXPECT_EQ(scan(root(), page_at(simplex, grey)).images.size(), 3U);
    EXPECT_EQ(pages(), 3U);
    ctl({"feeder", "load", "9"});
    Manners manners;
    manners.next = [&](unsigned blocks) {
        if (blocks == 3)
            engine.end(SIGKILL);
        return Next::go_on;
    };
    EXPECT_TRUE(scan(root(), page_at(simplex, grey), manners).broken);
    EXPECT_GE(pages(), 3U);
    EXPECT_LE(pages(), 3U + 9U);
}

TEST_F(ScanTest, a_scan_that_nobody_comes_for_ends_with_its_starter) {
    ctl({"feeder", "load", "3"});
    {
        const Link link(root());
        const wire::ScanParam param = page_at(simplex, colour);
        wire::ScannerStatus status;
        ASSERT_EQ(mvtc_write_scan_param(link, &param), 0);
        ASSERT_EQ(mvtc_cmd_startscan(link, &status, 0), 0);
        EXPECT_EQ(state().at("status"), "busy");
        EXPECT_LT(mvtc_cmd_startscan(link, &status, 0), 0) << "one scan at a time";
        EXPECT_LT(mvtc_write_scan_param(link, &param), 0) << "not while it is running";
    }
    for (int i = 0; i < 500 && state().at("status") != "idle"; ++i)
        usleep(10000);
    expect_idle();
}

TEST_F(ScanTest, many_scans_leave_nothing_behind) {
    const auto run = [&] {
        ctl({"feeder", "load", "2"});
        EXPECT_EQ(scan(root(), page_at(simplex, grey, 75)).images.size(), 2U);
    };
    run();
    const int descriptors = engine.descriptors();
    for (int i = 0; i < 20; ++i)
        run();
    for (int i = 0; i < 100 && engine.threads() > 5; ++i)
        usleep(10000);
    EXPECT_LE(engine.threads(), 5) << "one for each server and the main one";
    EXPECT_LE(engine.descriptors(), descriptors);
}

} // namespace
} // namespace varn::test
