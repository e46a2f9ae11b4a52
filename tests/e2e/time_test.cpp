/// Zone and network time of a whole scanner.

#include "device/web/document_texts.h"
#include "tests/e2e/e2e_fixture.h"

#include <cmath>
#include <ctime>
#include <thread>

namespace varn::testing {
namespace {

constexpr char clock_path[] = "/TimeService/RTCSetting";
constexpr char network_path[] = "/TimeService/SNTPSync";

class TimeService : public ScannerTest {
protected:
    std::string shown(const char *path, const char *root, const char *name) {
        const auto texts = web::document_texts(get(path).body, root);
        return texts && texts->contains(name) ? texts->find(name)->second : "absent";
    }
    std::string zone(const char *name) { return shown(clock_path, "RTCSetting", name); }
    std::string network(const char *name) { return shown(network_path, "SNTPSync", name); }

    /// The namespaces are those of the document that the device gives.
    std::string document(const char *path, const std::string &root, const std::string &content) {
        const std::string given = get(path).body;
        const auto begin = given.find(" xmlns");
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><ts:" + root +
               given.substr(begin, given.find('>', begin) - begin) + ">" + content +
               "</ts:" + root + ">";
    }
    int put_zone(const std::string &content) {
        return put(clock_path,
                   document(clock_path, "RTCSetting",
                            "<ts:CurrentTimeZone>" + content + "</ts:CurrentTimeZone>"));
    }
    int put_network(const std::string &content) {
        return put(network_path, document(network_path, "SNTPSync", content));
    }
    std::string settled_sync() {
        std::string state = network("SyncState");
        for (int i = 0; i < 100 && state == "connecting"; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            state = network("SyncState");
        }
        return state;
    }
    /// How far the clock of the document is from universal time, in minutes.
    long minutes_ahead() {
        const std::string stamp = zone("TimeStamp");
        tm time = {};
        EXPECT_NE(strptime(stamp.c_str(), "%Y-%m-%dT%H:%M:%S", &time), nullptr) << stamp;
        return std::lround(static_cast<double>(timegm(&time) - std::time(nullptr)) / 60);
    }
};

TEST_F(TimeService, ZoneAndNetworkTimeAreSetAndOutliveARestart) {
    EXPECT_EQ(zone("TimeZoneName"), "(GMT) Coordinated Universal Time");
    EXPECT_EQ(put_zone("<ts:TimeZoneName>(GMT+05:30) Chennai, Kolkata, Mumbai, New Delhi"
                       "</ts:TimeZoneName>"),
              200);
    EXPECT_EQ(zone("OffsetMinutes"), "330");
    EXPECT_EQ(zone("TimeStamp").substr(19), "+05:30");
    EXPECT_EQ(minutes_ahead(), 330);
    EXPECT_EQ(put_zone("<ts:TimeZoneName>(GMT-05:00) Eastern Time (US &amp; Canada)"
                       "</ts:TimeZoneName><dd:OffsetMinutes>-300</dd:OffsetMinutes>"
                       "<ts:DstSettings><ts:State>enabled</ts:State></ts:DstSettings>"),
              200);
    EXPECT_EQ(zone("TimeZoneName"), "(GMT-05:00) Eastern Time (US & Canada)");
    EXPECT_EQ(zone("Month") + zone("DayCount") + zone("DstOffsetMinutes"), "march260");
    EXPECT_EQ(minutes_ahead(), -300);

    EXPECT_EQ(put_network("<ts:State>enabled</ts:State><ts:SyncSetting>"
                          "<ts:ActionType>config</ts:ActionType>"
                          "<ts:ServerAddress>10.0.0.9</ts:ServerAddress>"
                          "<ts:ServerPort>1123</ts:ServerPort><ts:SyncInterval><ts:LeaseTime>6"
                          "</ts:LeaseTime><ts:TimeUnits>hours</ts:TimeUnits></ts:SyncInterval>"
                          "</ts:SyncSetting>"),
              200);
    EXPECT_EQ(settled_sync(), "succeeded");
    EXPECT_EQ(network("LastSyncServerAddress"), "10.0.0.9");
    EXPECT_EQ(network("State") + network("ServerPort") + network("LeaseTime"), "enabled11236");

    EXPECT_EQ(scanner_.stop(), 0);
    scanner_.start();
    ASSERT_TRUE(scanner_.ready());
    EXPECT_EQ(zone("TimeZoneName"), "(GMT-05:00) Eastern Time (US & Canada)");
    EXPECT_EQ(minutes_ahead(), -300);
    EXPECT_EQ(network("State") + network("ServerAddress"), "enabled10.0.0.9");
    EXPECT_EQ(shown("/TimeService/SNTPSync/Defaults", "SyncSetting", "ServerAddress"),
              "time.example.net");

    EXPECT_EQ(put_network("<ts:State>removed</ts:State>"), 200) << "and nothing else";
    EXPECT_EQ(network("State") + network("ServerAddress"), "disabled10.0.0.9");
}

TEST_F(TimeService, WhatCannotBeTakenIsRefusedAndChangesNothing) {
    EXPECT_EQ(put_network("<ts:State>enabled</ts:State>"), 200);
    EXPECT_EQ(put_zone("<ts:TimeZoneName>(GMT+09:00) Seoul</ts:TimeZoneName>"), 200);
    settled_sync();
    const std::string network_before = get(network_path).body;
    const std::string clock = document(clock_path, "RTCSetting", "");
    const std::string network = document(network_path, "SNTPSync", "");
    const std::string foreign = product_settings(asset_number("x"));
    const struct {
        const char *path;
        std::string document;
        int status;
    } rows[] = {
        {clock_path, "", 400},
        {clock_path, foreign, 400},
        {clock_path, network, 400},
        {clock_path, clock.substr(0, clock.size() - 5), 400},
        {clock_path, std::string(1 << 20, ' '), 413},
        {clock_path, clock, 200},
        {network_path, "", 400},
        {network_path, foreign, 400},
        {network_path, network.substr(0, network.size() - 5), 400},
        {network_path, std::string(1 << 20, ' '), 413},
        {network_path, network, 200},
    };
    for (const auto &row : rows)
        EXPECT_EQ(put(row.path, row.document), row.status) << row.document.substr(0, 200);
    EXPECT_EQ(put_zone("<ts:TimeZoneName>(GMT) Nowhere</ts:TimeZoneName>"), 400);
    EXPECT_EQ(put_zone("<ts:TimeZoneName>(GMT) Casablanca</ts:TimeZoneName>"), 400);
    EXPECT_EQ(put_network("<ts:State>off</ts:State>"), 400);
    EXPECT_EQ(put_network("<ts:Unknown>1</ts:Unknown><ts:State>disabled</ts:State>"), 200);
    EXPECT_EQ(this->network("State"), "disabled");
    EXPECT_EQ(put_network("<ts:State>enabled</ts:State>"), 200);
    settled_sync();
    EXPECT_EQ(zone("TimeZoneName"), "(GMT+09:00) Seoul");
    EXPECT_EQ(this->network("ServerAddress"), "time.example.net");
    EXPECT_EQ(
        put_zone("<ts:TimeZoneName>(GMT) Casablanca</ts:TimeZoneName><ts:Name>Here</ts:Name>"),
        200);
    EXPECT_EQ(zone("TimeZoneName") + zone("OffsetMinutes"), "(GMT) Casablanca0");
}

TEST_F(TimeService, TheZonesOnOfferAreTheEngines) {
    const std::string zones = get("/TimeService/SupportedTimeZones").body;
    std::size_t count = 0;
    for (std::size_t at = 0; (at = zones.find("<dd:OffsetMinutes>", at)) != std::string::npos; ++at)
        ++count;
    EXPECT_EQ(count, 108U);
    const auto seoul = zones.find("(GMT+09:00) Seoul");
    EXPECT_NE(zones.find("<dd:OffsetMinutes>540<", seoul), std::string::npos);
    for (const char *path :
         {"/TimeService/TimeServiceCap.xml", "/TimeService/TimeServiceManifest.xml"})
        EXPECT_EQ(get(path).status, 200) << path;
}

} // namespace
} // namespace varn::testing
