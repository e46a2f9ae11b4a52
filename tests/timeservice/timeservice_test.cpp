/// Zone and network time, with the engine's block kept by the test.

#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "varn/timeservice.h"

#include <cstring>
#include <map>
#include <regex>
#include <set>

using namespace varn::test;

namespace {

constexpr size_t block_size = 3580;
std::string block; ///< "" cannot be read
std::string written;
std::vector<std::string> writes; ///< sizes and identifiers

} // namespace

extern "C" int32_t mvtc_read_h1_parameter(uint32_t, void *out, uint32_t size, uint32_t id) {
    if (id != 2 || block.size() != size)
        return -1;
    memcpy(out, block.data(), size);
    return 0;
}

extern "C" int32_t mvtc_write_h1_parameter(uint32_t, const void *in, uint32_t size, uint32_t id) {
    writes.push_back(std::to_string(size) + " " + std::to_string(id));
    written.assign(static_cast<const char *>(in), size);
    return -1; // nobody looks
}

namespace {

void set(size_t offset, int32_t value, size_t width = 4) { memcpy(&block[offset], &value, width); }
void set(size_t offset, std::string_view text) { block.replace(offset, text.size(), text); }

/// The bytes of the written block that are not zero, as "offset:value" of words or texts.
std::string given() {
    std::string parts;
    const auto add = [&](size_t offset, const std::string &value) {
        parts += (parts.empty() ? "" : " ") + std::to_string(offset) + ":" + value;
    };
    for (size_t at = 0; at < written.size();) {
        int32_t word = 0;
        memcpy(&word, &written[at], sizeof word);
        const bool is_text = at == 3036 || at == 3228 || at == 3376;
        if (is_text && word != 0) {
            const std::string text = &written[at];
            add(at, text.size() > 20 ? "(" + std::to_string(text.size()) + ")" : text);
            at += (text.size() / 4 + 1) * 4;
            continue;
        }
        if (at == 3552 && word != 0)
            add(at, "name");
        else if (at >= 3572 && word != 0)
            for (size_t i = at; i < at + 4; ++i)
                add(i, std::to_string(written[i]));
        else if (word != 0)
            add(at, std::to_string(word));
        at += 4;
    }
    return parts;
}

std::string document(const std::string &root, const std::string &children) {
    return with_schema_hosts(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><ts:" + root +
        " xmlns:ts=\"http://schemas.varn.example/schemas/imaging/con/varn/timeservice/2014/08/18\""
        " xmlns:dd=\"http://schemas.varn.example/schemas/imaging/con/dictionaries/1.0/\">" +
        children + "</ts:" + root + ">");
}

class TimeService : public DeviceTest {
protected:
    TimeService() {
        block.assign(block_size, '\0');
        written.clear();
        writes.clear();
        setenv("TZ", "UTC", 1);
    }

    /// The document of a GET, which has to be valid.
    static std::string get(int32_t (*function)(char **, uint32_t *)) {
        char *text = nullptr;
        uint32_t length = 0;
        EXPECT_EQ(function(&text, &length), 0);
        const std::string result(text != nullptr ? text : "", length);
        free(text);
        EXPECT_EQ(schema_fault(result), "") << result;
        return result;
    }

    std::string ticket(int32_t (*builder)(), const char *name) const {
        EXPECT_EQ(builder(), 0);
        const std::string result = tree.get(std::string("tmp/xml_tickets/timeservice/") + name);
        EXPECT_EQ(schema_fault(result), "") << result;
        return result;
    }
};

TEST_F(TimeService, an_offset_shows_its_sign_more_than_once) {
    const std::pair<int32_t, const char *> rows[] = {
        {330, "+05:30"},
        {0, "-00:00"},
        {60, "+01:00"},
        {-60, "--1:00"},
        {-300, "--5:00"},
        {-330, "--5:-30"},
        {840, "+14:00"},
        {-1, "-00:-1"},
        {INT32_MAX, "+35791394:07"},
        {INT32_MIN, "--35791394:-8"},
    };
    for (const auto &[minutes, text] : rows) {
        char out[16];
        const std::string log = log_of([&] { FormratTZStr(out, minutes); });
        EXPECT_STREQ(out, text);
        EXPECT_EQ(log, std::string("FormratTZStr===>") + text + "\n");
    }
    FormratTZStr(nullptr, 1);
}

TEST_F(TimeService, zones_on_offer) {
    set(0, 7); // the count is for the log alone
    for (int i = 0; i < 108; ++i) {
        set(4 + static_cast<size_t>(i) * 28, 0x41414141); // a name elsewhere
        set(4 + static_cast<size_t>(i) * 28 + 8, i - 50);
    }
    set(4 + 28 + 12, 1);
    set(4 + 28 + 16, 60);
    set(4 + 28 + 20, std::string_view("\2\0\2\3", 4));
    set(4 + 28 + 24, std::string_view("\5\6\13\x17", 4));
    set(4 + 2 * 28 + 12, 2);
    std::string zones;
    const std::string log = log_of([&] { zones = get(VARN_GetTimeServiceSupportedTimeZones); });
    EXPECT_NE(log.find("Ts->support_tz.dwsSupport_TZ_Cnt=7\n"), log.npos);

    const auto names = texts(zones, "ts:TimeZoneName");
    ASSERT_EQ(names.size(), 108U);
    EXPECT_EQ(names[0], "(GMT-12:00) International Date Line West");
    EXPECT_EQ(names[24], "(GMT-03:30) Newfoundland");
    EXPECT_EQ(names[34], "(GMT) Casablanca");
    EXPECT_EQ(names[107], "(GMT+14:00) Kiritimati Island");
    EXPECT_EQ(names, texts(zones, "ts:Name"));
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 108U);
    EXPECT_EQ(texts(zones, "dd:OffsetMinutes")[107], "57");
    const auto states = texts(zones, "ts:State");
    EXPECT_EQ(states[0] + states[1] + states[2], "disabledenableddisabled");
    EXPECT_EQ(texts(zones, "dd:DayCount")[2] + texts(zones, "ts:Day")[2] +
                  texts(zones, "ts:Month")[2] + texts(zones, "ts:Hours")[2],
              "2sundaymarch3");
    EXPECT_EQ(texts(zones, "dd:DayCount")[3] + texts(zones, "ts:Day")[3] +
                  texts(zones, "ts:Month")[3] + texts(zones, "ts:Hours")[3],
              "5saturdaydecember23");
    EXPECT_EQ(text_of(zones, "dd:DstOffsetMinutes"), "absent");
}

TEST_F(TimeService, hours_are_those_of_the_names) {
    const auto names = texts(get(VARN_GetTimeServiceSupportedTimeZones), "ts:TimeZoneName");
    ASSERT_EQ(names.size(), 108U);
    const std::regex hours("\\(GMT([+-]\\d\\d)?.*");
    for (size_t i = 0; i < names.size(); ++i) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(names[i], match, hours));
        EXPECT_EQ(TimeZoneOffsetHours[SupportTZList[i]], match[1].matched ? std::stoi(match[1]) : 0)
            << names[i];
    }
}

TEST_F(TimeService, clock_and_zone) {
    setenv("TZ", "XYZ-3", 1); // the process's, whatever the zone says
    set(3556, 116);
    set(3560, -300);
    set(3564, 1);
    set(3568, 60);
    set(3572, std::string_view("\2\0\2\2", 4));
    const time_t before = time(nullptr);
    const std::string clock = get(VARN_GetTimeServiceRTCSetting);
    const std::string stamp = text_of(clock, "ts:TimeStamp");
    EXPECT_EQ(stamp.substr(19), "--5:00") << stamp;
    tm shown = {};
    ASSERT_NE(strptime(stamp.c_str(), "%Y-%m-%dT%H:%M:%S", &shown), nullptr) << stamp;
    const time_t seconds = timegm(&shown) - 3 * 3600;
    EXPECT_TRUE(seconds >= before && seconds <= before + 5) << stamp;
    EXPECT_EQ(text_of(clock, "ts:TimeZoneName"), "(GMT-05:00) Eastern Time (US &amp; Canada)");
    EXPECT_EQ(text_of(clock, "ts:Name"), text_of(clock, "ts:TimeZoneName"));
    EXPECT_EQ(text_of(clock, "dd:OffsetMinutes"), "-300");
    EXPECT_EQ(text_of(clock, "ts:State"), "enabled");
    EXPECT_EQ(text_of(clock, "dd:DstOffsetMinutes"), "60");
}

TEST_F(TimeService, network_time) {
    set(3028, 1);
    set(3032, 2);
    set(3036, "10.0.0.1");
    for (size_t i = 0; i < 6; ++i)
        set(3168 + 4 * i, std::array{36, 45, 12, 18, 7, 114}[i]);
    set(3212, 1);
    set(3216, 1123);
    set(3220, 90);
    set(3224, 1);
    set(3228, std::string(136, 'a')); // not terminated
    set(3364, 123);
    set(3368, 24);
    set(3376, "time.varn.example");
    set(3560, 90);
    const std::string config = get(VARN_GetTimeServiceSNTPSync);
    const std::pair<const char *, std::string> expected[] = {
        {"ts:State", "enabled"},     {"ts:SyncState", "succeeded"},
        {"ts:ServerPort", "1123"},   {"ts:LastSyncTime", "2014-08-18T12:45:36+01:30"},
        {"ts:ActionType", "config"}, {"ts:LastSyncServerAddress", "10.0.0.1"},
        {"ts:LeaseTime", "90"},      {"ts:ServerAddress", std::string(136, 'a')},
        {"ts:TimeUnits", "minutes"}, {"ts:DiscoveryStatus", "absent"},
    };
    for (const auto &[tag, text] : expected)
        EXPECT_EQ(text_of(config, tag), text) << tag;
    const std::string defaults = get(VARN_GetTimeServiceSNTPDefaults);
    EXPECT_EQ(text_of(defaults, "ts:ServerAddress") + text_of(defaults, "ts:ServerPort") +
                  text_of(defaults, "ts:LeaseTime") + text_of(defaults, "ts:TimeUnits") +
                  text_of(defaults, "ts:ActionType"),
              "time.varn.example12324hoursabsent");
    EXPECT_EQ(ticket(TimeService_SNTPSync_useDefaults_get, "tsConfig.xml"), defaults);
    const std::string discovery =
        ticket(TimeService_SNTPSync_DiscoveryStatus_get, "SNTPSync_DiscoveryStatus.xml");
    EXPECT_EQ(text_of(discovery, "ts:State") + text_of(discovery, "ts:SyncState") +
                  text_of(discovery, "ts:DiscoveryStatus"),
              "enabledidlesucceeded");
    const std::string sample = ticket(TimeService_SNTPSync_syncNow_get, "SNTPSync_syncnow.xml");
    EXPECT_EQ(text_of(sample, "ts:SyncState") + text_of(sample, "ts:LastSyncTime") +
                  text_of(sample, "ts:ActionType") + text_of(sample, "ts:ServerPort"),
              "failed2014-08-18T12:45:36-00:00syncNow9002");
}

TEST_F(TimeService, whatever_the_engine_says_the_documents_are_valid) {
    for (const std::string &wild :
         {std::string(block_size, '\xFF'), std::string(block_size, '\x01'),
          std::string(block_size, '\x80'), std::string()}) {
        block = wild;
        for (auto *function : {VARN_GetTimeServiceSupportedTimeZones, VARN_GetTimeServiceRTCSetting,
                               VARN_GetTimeServiceSNTPSync, VARN_GetTimeServiceSNTPDefaults})
            get(function);
    }
}

struct Put {
    int32_t (*put)(const char *);
    std::string document;
    const char *given;
};

TEST_F(TimeService, a_put_writes_what_it_was_given_over_zeros) {
    block.assign(block_size, '\x55'); // nothing of it comes back
    const auto zone = [](const std::string &children) {
        return document("RTCSetting", "<ts:CurrentTimeZone>" + children + "</ts:CurrentTimeZone>");
    };
    const auto sync = [](const std::string &children) { return document("SNTPSync", children); };
    const std::string eastern =
        "<ts:TimeZoneName>(GMT-05:00) Eastern Time (US &amp; Canada)</ts:TimeZoneName>";
    const std::string boundary = "<dd:DayCount>258</dd:DayCount><ts:Day>monday</ts:Day>"
                                 "<ts:Month>march</ts:Month><ts:Hours>3</ts:Hours>";
    auto *rtc = VARN_PutTimeServiceRTCSetting;
    auto *sntp = VARN_PutTimeServiceSNTPSync;
    const Put rows[] = {
        {rtc, document("RTCSetting", ""), ""},
        {rtc, document("RTCSetting", "<ts:TimeStamp>2020-01-01T00:00:00</ts:TimeStamp>"), ""},
        {rtc, zone(eastern), "3556:116"},
        {rtc, zone(eastern + "<ts:Name>Here</ts:Name><dd:OffsetMinutes>-300</dd:OffsetMinutes>"),
         "3552:name 3556:116 3560:-300"},
        {rtc,
         zone("<ts:DstSettings><ts:State>enabled</ts:State><ts:DstStart>" + boundary +
              "</ts:DstStart><ts:DstEnd>" + boundary +
              "</ts:DstEnd><dd:DstOffsetMinutes>60</dd:DstOffsetMinutes></ts:DstSettings>"),
         "3564:1 3572:2 3573:1 3574:2 3575:3 3576:2 3577:1 3578:2 3579:3"},
        {rtc, zone("<ts:DstSettings><ts:State>removed</ts:State></ts:DstSettings>"), ""},
        {rtc,
         zone("<ts:DstSettings><ts:DstEnd><ts:Hours>4</ts:Hours></ts:DstEnd>"
              "</ts:DstSettings>"),
         "3576:0 3577:0 3578:0 3579:4"},
        {rtc, "<?xml version=\"1.0\"?><ts:RTCSetting", ""},
        {rtc, "", ""},
        {sntp, sync("<ts:State>enabled</ts:State>"), "3028:1"},
        {sntp, sync("<ts:State>disabled</ts:State>"), ""},
        {sntp, sync("<ts:State>removed</ts:State>"), ""},
        {sntp,
         sync("<ts:State>enabled</ts:State><ts:SyncStatus><ts:SyncState>failed</ts:SyncState>"
              "<ts:LastSyncServerAddress>10.1.1.1</ts:LastSyncServerAddress></ts:SyncStatus>"
              "<ts:SyncSetting><ts:ActionType>syncNow</ts:ActionType>"
              "<ts:ServerAddress>10.2.2.2</ts:ServerAddress><ts:ServerPort>99</ts:ServerPort>"
              "<ts:SyncInterval><ts:LeaseTime>5</ts:LeaseTime><ts:TimeUnits>seconds"
              "</ts:TimeUnits></ts:SyncInterval></ts:SyncSetting>"),
         "3028:1 3032:3 3036:10.1.1.1 3212:2 3216:99 3220:5 3224:2 3228:10.2.2.2"},
        {sntp,
         sync("<ts:SyncSetting><ts:ActionType>config</ts:ActionType><ts:ServerAddress>" +
              std::string(500, 'x') + "</ts:ServerAddress></ts:SyncSetting>"),
         "3212:1 3228:(135)"},
        {sntp,
         sync("<ts:SyncStatus><ts:LastSyncServerAddress>" + std::string(500, 'x') +
              "</ts:LastSyncServerAddress></ts:SyncStatus>"),
         "3036:(131)"},
        {sntp, "<?xml version=\"1.0\"?><ts:SNTPSync><ts:State>", ""},
    };
    for (const Put &row : rows) {
        SCOPED_TRACE(row.document);
        EXPECT_EQ(row.put(row.document.c_str()), 0);
        EXPECT_EQ(given(), row.given);
        EXPECT_EQ(std::exchange(writes, {}), std::vector<std::string>{"3580 2"});
    }
    EXPECT_EQ(rtc(nullptr), -1);
    EXPECT_EQ(sntp(nullptr), -1);
    EXPECT_TRUE(writes.empty());
}

TEST_F(TimeService, every_zone_on_offer_can_be_put) {
    const auto names = texts(get(VARN_GetTimeServiceSupportedTimeZones), "ts:TimeZoneName");
    ASSERT_EQ(names.size(), 108U);
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string xml = document(
            "RTCSetting",
            "<ts:CurrentTimeZone><ts:TimeZoneName>\n " + names[i] +
                "\n</ts:TimeZoneName><dd:OffsetMinutes>1</dd:OffsetMinutes></ts:CurrentTimeZone>");
        EXPECT_EQ(VARN_PutTimeServiceRTCSetting(xml.c_str()), 0);
        const uint32_t code = SupportTZList[i];
        EXPECT_EQ(given(), (code != 0 ? "3556:" + std::to_string(code) + " " : "") + "3560:1")
            << names[i];
    }
}

TEST_F(TimeService, static_tickets) {
    for (auto *function : {VARN_GetTimeServiceCap, VARN_GetTimeServiceManifest}) {
        char *text = nullptr;
        uint32_t length = 0;
        EXPECT_EQ(function(&text, &length), 0);
        EXPECT_GT(length, 0U);
        free(text);
    }
}

} // namespace
