/// Zone and network time: what the engine takes from a block, and what it says of a
/// synchronisation.
#include "device/wire/time_block.h"
#include "platform/mvtc.h"
#include "tests/engine/engine_fixture.h"

#include <csignal>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace varn::test {
namespace {

using wire::TimeBlock;

TimeBlock read_block(std::uint32_t link) {
    TimeBlock block;
    EXPECT_EQ(mvtc_read_h1_parameter(link, &block, sizeof block, 2), 0);
    return block;
}

/// Everything that a write can change, in a line.
std::string settings_of(const TimeBlock &block) {
    const wire::TimeZoneRecord &zone = block.currentZone;
    const auto number = [](std::int64_t value) { return std::to_string(value) + " "; };
    const auto boundary = [](const wire::DstBoundary &b) {
        return std::to_string(b.dayCount) + "," + std::to_string(b.day) + "," +
               std::to_string(b.month) + "," + std::to_string(b.hour) + " ";
    };
    return number(zone.byCode) + number(zone.offsetMinutes) + number(zone.dwDst) +
           number(zone.dstOffsetMinutes) + boundary(zone.dstStart) + boundary(zone.dstEnd) + "| " +
           number(block.dwSntpState) + number(block.dwAction) + number(block.source.dwPort) +
           number(block.source.interval.dwLength) + number(block.source.interval.dwUnits) +
           block.szServer;
}

class TimeBlockTest : public EngineTest {
protected:
    /// The state behind a running synchronisation.
    std::uint32_t settled_state() const {
        std::uint32_t state = wire::sync_connecting;
        for (int i = 0; i < 100 && state == wire::sync_connecting; ++i, usleep(20000))
            state = read_block(link).dwSyncState;
        return state;
    }

    Link link{root()};
};

TEST_F(TimeBlockTest, a_new_device_has_its_zones_and_no_network_time) {
    const TimeBlock block = read_block(link);
    EXPECT_EQ(settings_of(block), "1 0 0 0 0,0,0,0 0,0,0,0 | 0 0 123 24 0 time.example.net");
    EXPECT_EQ(block.dwZoneCount, 108U);
    EXPECT_EQ(block.zones[0].offsetMinutes, -720);
    EXPECT_EQ(block.zones[24].offsetMinutes, -210);
    EXPECT_EQ(block.zones[107].offsetMinutes, 840);
    EXPECT_EQ(block.zones[15].dwDst, 1U) << "Eastern Time";
    EXPECT_EQ(block.zones[15].dstStart.dayCount, 2);
    EXPECT_EQ(block.zones[11].dwDst, 0U);
}

TEST_F(TimeBlockTest, a_write_changes_what_it_gives) {
    struct Row {
        const char *name;
        void (*give)(TimeBlock &block);
        const char *expected;
    };
    const Row rows[] = {
        {"a zone by its name alone", [](TimeBlock &b) { b.currentZone.byCode = 69; },
         "69 540 0 0 0,0,0,0 0,0,0,0 | 0 0 123 24 0 time.example.net"},
        {"daylight saving with the zone's own days",
         [](TimeBlock &b) {
             b.currentZone.byCode = 4;
             b.currentZone.dwDst = 1;
         },
         "4 60 1 60 5,0,2,2 5,0,9,3 | 0 0 123 24 0 time.example.net"},
        {"everything of a zone",
         [](TimeBlock &b) {
             b.currentZone.dwNameReference = 0x12345678;
             b.currentZone.byCode = 116;
             b.currentZone.offsetMinutes = -290;
             b.currentZone.dwDst = 1;
             b.currentZone.dstStart = {1, 1, 2, 3};
             b.currentZone.dstEnd = {2, 3, 4, 5};
         },
         "116 -290 1 60 1,1,2,3 2,3,4,5 | 0 0 123 24 0 time.example.net"},
        {"an offset for the zone that is set",
         [](TimeBlock &b) { b.currentZone.offsetMinutes = 7; },
         "116 7 0 0 0,0,0,0 0,0,0,0 | 0 0 123 24 0 time.example.net"},
        {"the zone of code 0 by its reference",
         [](TimeBlock &b) { b.currentZone.dwNameReference = 1; },
         "0 0 0 0 0,0,0,0 0,0,0,0 | 0 0 123 24 0 time.example.net"},
        {"network time on", [](TimeBlock &b) { b.dwSntpState = 1; },
         "0 0 0 0 0,0,0,0 0,0,0,0 | 1 0 123 24 0 time.example.net"},
        {"a server of its own",
         [](TimeBlock &b) {
             b.dwSntpState = 1;
             b.dwAction = wire::sync_config;
             std::strcpy(b.szServer, "10.0.0.9");
             b.source = {1123, {90, wire::sync_minutes}};
             b.dwSyncState = wire::sync_failed; // the engine's own word
             std::strcpy(b.szDefaultServer, "elsewhere");
             b.dwZoneCount = 5;
         },
         "0 0 0 0 0,0,0,0 0,0,0,0 | 1 1 1123 90 1 10.0.0.9"},
        {"a zone, with network time as it is", [](TimeBlock &b) { b.currentZone.byCode = 70; },
         "70 540 0 0 0,0,0,0 0,0,0,0 | 1 1 1123 90 1 10.0.0.9"},
        {"nothing", [](TimeBlock &) {}, "70 540 0 0 0,0,0,0 0,0,0,0 | 1 1 1123 90 1 10.0.0.9"},
        {"off, with a setting",
         [](TimeBlock &b) {
             b.dwAction = wire::sync_config;
             b.source.dwPort = 1123;
         },
         "70 540 0 0 0,0,0,0 0,0,0,0 | 0 1 1123 90 1 10.0.0.9"},
        {"the defaults",
         [](TimeBlock &b) {
             b.dwSntpState = 1;
             b.source.interval.dwLength = 1;
         },
         "70 540 0 0 0,0,0,0 0,0,0,0 | 1 0 123 24 0 time.example.net"},
    };
    for (const Row &row : rows) {
        TimeBlock block;
        row.give(block);
        ASSERT_EQ(mvtc_write_h1_parameter(link, &block, sizeof block, 2), 0) << row.name;
        EXPECT_EQ(settings_of(read_block(link)), row.expected) << row.name;
    }
    const std::string kept = settings_of(read_block(link));
    EXPECT_EQ(engine.end(SIGKILL), SIGKILL);
    const EngineProcess again(root());
    const Link new_link(root());
    EXPECT_EQ(settings_of(read_block(new_link)), kept);
    EXPECT_STREQ(read_block(new_link).szDefaultServer, "time.example.net");
}

TEST_F(TimeBlockTest, a_synchronisation_comes_to_what_the_server_does) {
    TimeBlock on;
    on.dwSntpState = 1;
    on.currentZone.byCode = 60; // eight hours east
    ctl({"time", "unreachable"});
    ASSERT_EQ(mvtc_write_h1_parameter(link, &on, sizeof on, 2), 0);
    EXPECT_EQ(read_block(link).dwSyncState, wire::sync_connecting);
    EXPECT_EQ(settled_state(), wire::sync_failed);
    EXPECT_EQ(read_block(link).lastSyncTime[5], 0);

    ctl({"time", "reachable"});
    TimeBlock now;
    now.dwSntpState = 1;
    now.dwAction = wire::sync_now;
    ASSERT_EQ(mvtc_write_h1_parameter(link, &now, sizeof now, 2), 0);
    EXPECT_EQ(settled_state(), wire::sync_succeeded);
    const TimeBlock block = read_block(link);
    EXPECT_STREQ(block.szLastServer, "time.example.net");
    std::tm time = {};
    time.tm_sec = block.lastSyncTime[0];
    time.tm_min = block.lastSyncTime[1];
    time.tm_hour = block.lastSyncTime[2];
    time.tm_mday = block.lastSyncTime[3];
    time.tm_mon = block.lastSyncTime[4];
    time.tm_year = block.lastSyncTime[5];
    EXPECT_NEAR(static_cast<double>(timegm(&time)),
                static_cast<double>(std::time(nullptr)) + 8 * 3600, 10);
    ASSERT_EQ(mvtc_cmd_factorydefault(link), 0);
    EXPECT_EQ(read_block(link).dwSyncState, wire::sync_idle);
}

} // namespace
} // namespace varn::test
