/// What the device counts.
#include "device/wire/counters.h"
#include "device/wire/nvram.h"
#include "device/wire/places.h"
#include "platform/mvtc.h"
#include "tests/engine/engine_fixture.h"
#include "tests/engine/scan_client.h"

#include <csignal>

namespace varn::test {
namespace {

using CountTest = EngineTest;

TEST_F(CountTest, what_is_scanned_is_counted_and_outlives_the_engine) {
    const auto counted = [this] {
        const Link link(root());
        wire::Counters counters;
        EXPECT_EQ(mvtc_read_H1_Bigdata(link, &counters), 0);
        return std::vector<std::uint32_t>{counters.scans, counters.sheets, counters.flatbed_pages,
                                          counters.jam_events, counters.feeder_pages};
    };
    using Counts = std::vector<std::uint32_t>;
    EXPECT_EQ(counted(), Counts({0, 0, 0, 0, 0}));
    ctl({"wear", "clean", "4"});
    ctl({"feeder", "load", "3"});
    ctl({"fault", "slowpick", "2"});
    EXPECT_EQ(scan(root(), page_at(4, 2, 75)).images.size(), 6U);
    EXPECT_EQ(scan(root(), page_at(0, 2, 75)).images.size(), 1U);
    ctl({"feeder", "load", "1"});
    ctl({"fault", "jam"});
    EXPECT_EQ(scan(root(), page_at(6, 2, 75)).block_error, 0x2002U);
    const Counts expected = {3, 4, 1, 1, 6};
    EXPECT_EQ(counted(), expected);
    const nlohmann::json before = state();
    EXPECT_EQ(before.at("/wear/clean"_json_pointer),
              nlohmann::json({{"interval", 4}, {"pages", 6}}));
    const auto table = read_record<wire::NvramTable>(root() + wire::nvram_file);
    EXPECT_EQ(table.adf_pages, 6U);
    EXPECT_EQ(table.flatbed_pages, 1U);
    EXPECT_EQ(table.slow_pick_events, 1);
    EXPECT_EQ(table.scan_count_at_roller_clean, 0U);

    EXPECT_EQ(engine.end(SIGKILL), SIGKILL) << "the counts of a scan that has ended are on flash";
    const EngineProcess again(root());
    EXPECT_EQ(counted(), expected);
    EXPECT_EQ(state().at("counts"), before.at("counts"));
    EXPECT_EQ(run_ctl(root(), {"wear", "rollers", "now"}).status, 0);
    EXPECT_TRUE(std::filesystem::exists(root() + "/tmp/replacer"));
}

} // namespace
} // namespace varn::test
