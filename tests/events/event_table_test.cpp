/// The event table and what its filter selects.

#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "varn/varn.h"

#include <cstring>
#include <optional>
#include <thread>

using namespace varn::test;

namespace {

constexpr char table_file[] = "tmp/xml_tickets/EventMgmt/EventTable.xml";

std::string join(const std::vector<std::string> &words) {
    std::string line;
    for (const std::string &word : words)
        line += (line.empty() ? "" : " ") + word;
    return line;
}

class EventTable : public DeviceTest {
protected:
    EventTable() {
        g_PowerCycle = 3;
        g_EventCount = 0;
    }

    /// The whole table, or what the filter leaves of it; none: no document.
    std::optional<std::string> get(const varn_event_filter *filter = nullptr) {
        char *buffer = nullptr;
        uint32_t length = 99;
        memset(stamp, 'x', sizeof stamp);
        EXPECT_EQ(VARN_GetEventTable(filter, &buffer, &length, stamp), 0);
        if (length == 0) {
            EXPECT_EQ(buffer, nullptr);
            return std::nullopt;
        }
        std::string document(buffer, length);
        free(buffer);
        EXPECT_EQ(schema_fault(document), "");
        return document;
    }
    static varn_event_filter make_filter(uint32_t flags, const char *after, const char *category) {
        varn_event_filter filter = {flags, {}, {}};
        // Not terminated when it fills its field.
        memcpy(filter.stamp, after, strnlen(after, sizeof filter.stamp));
        memcpy(filter.category, category, strnlen(category, sizeof filter.category));
        return filter;
    }
    /// Stamps of what is selected.
    std::string selected(uint32_t flags, const char *after, const char *category) {
        const varn_event_filter filter = make_filter(flags, after, category);
        const auto document = get(&filter);
        return document ? join(texts(*document, "dd:AgingStamp")) : "nothing";
    }

    char stamp[VARN_EVENT_STAMP_SIZE] = {};
};

TEST_F(EventTable, EveryKindHasItsCategoryAndPayload) {
    const struct {
        int32_t bit;
        const char *category;
        const char *payload;
    } rows[] = {
        {VARN_EVENT_POWER_UP, "PowerUpEvent", ""},
        {VARN_EVENT_POWERING_DOWN, "PoweringDownEvent", ""},
        {VARN_EVENT_SCAN, "ScanEvent",
         "/a wus:WalkupScanToCompDestination /WalkupScanToComp/WalkupScanToCompEvent "
         "wus:WalkupScanToCompEvent"},
        {VARN_EVENT_ALERT_TABLE_CHANGED, "AlertTableChanged",
         "/DevMgmt/ProductStatusDyn.xml varn:zqVarnProductStatusDyn"},
        {VARN_EVENT_STATUS, "StatusEvent", ""},
        {VARN_EVENT_CAPABILITIES_CHANGED, "DeviceCapabilitiesChanged", ""},
    };
    for (const auto &row : rows) {
        tree.remove(table_file);
        EXPECT_EQ(VARN_SetEventTable(row.bit, "/a"), 0);
        const auto document = get();
        ASSERT_TRUE(document) << row.category;
        EXPECT_EQ(join(texts(*document, "dd:UnqualifiedEventCategory")), row.category);
        EXPECT_EQ(join(texts(*document, "dd:AgingStamp")), "3-1");
        EXPECT_EQ(text_of(*document, "dd:Revision"), "2.5");
        EXPECT_EQ(text_of(*document, "dd:Date"), "2014-07-29");
        std::string payload;
        const auto uris = texts(*document, "dd:ResourceURI");
        const auto types = texts(*document, "dd:ResourceType");
        ASSERT_EQ(uris.size(), types.size());
        for (size_t i = 0; i < uris.size(); ++i)
            payload += (i > 0 ? " " : "") + uris[i] + " " + types[i];
        EXPECT_EQ(payload, row.payload);
    }
}

TEST_F(EventTable, ARepeatedEventMovesLastWithANewStamp) {
    for (const int32_t bit : {VARN_EVENT_POWER_UP, VARN_EVENT_SCAN, VARN_EVENT_STATUS})
        VARN_SetEventTable(bit, "/first");
    const struct {
        int32_t bit;
        const char *uri;
        const char *stamps;
        const char *categories;
        const char *scan_uri;
    } rows[] = {
        {VARN_EVENT_POWER_UP, nullptr, "3-2 3-3 3-4", "ScanEvent StatusEvent PowerUpEvent",
         "/first"},
        {VARN_EVENT_SCAN, "/second", "3-3 3-4 3-5", "StatusEvent PowerUpEvent ScanEvent",
         "/second"},
        {VARN_EVENT_SCAN, "/third", "3-3 3-4 3-6", "StatusEvent PowerUpEvent ScanEvent", "/third"},
        {VARN_EVENT_SCAN, nullptr, "3-3 3-4 3-7", "StatusEvent PowerUpEvent ScanEvent", ""},
    };
    for (const auto &row : rows) {
        VARN_SetEventTable(row.bit, row.uri);
        const std::string document = get().value_or("");
        EXPECT_EQ(join(texts(document, "dd:AgingStamp")), row.stamps);
        EXPECT_EQ(join(texts(document, "dd:UnqualifiedEventCategory")), row.categories);
        EXPECT_EQ(text_of(document, "dd:ResourceURI"), row.scan_uri);
    }
    EXPECT_STREQ(stamp, "3-7");
    EXPECT_EQ(g_EventCount, 7);
}

TEST_F(EventTable, TheFilterOpensAtTheFirstMatchAndStaysOpen) {
    for (const int32_t bit :
         {VARN_EVENT_POWER_UP, VARN_EVENT_SCAN, VARN_EVENT_STATUS, VARN_EVENT_ALERT_TABLE_CHANGED})
        VARN_SetEventTable(bit, "/a");
    constexpr uint32_t by_stamp = VARN_EVENT_FILTER_STAMP;
    constexpr uint32_t by_category = VARN_EVENT_FILTER_CATEGORY;
    const struct {
        uint32_t flags;
        const char *after;
        const char *category;
        const char *stamps;
    } rows[] = {
        {0, "3-4", "nonsense", "3-1 3-2 3-3 3-4"},
        {by_stamp, "3-2", "", "3-3 3-4"},
        {by_stamp, "9-2", "", "3-3 3-4"}, // another power cycle makes no difference
        {by_stamp, "3-4", "", "nothing"},
        {by_stamp, "", "", "3-1 3-2 3-3 3-4"},
        {by_stamp, "no number", "", "3-1 3-2 3-3 3-4"},
        {by_stamp, "3-99999999999", "", "nothing"},
        {by_category, "", "StatusEvent", "3-3 3-4"},
        {by_category, "", "CopyEvent", "nothing"},
        {by_category, "", "PoweringDownEvent", "nothing"},
        {by_category, "", "DeviceCapabilitiesChangedAndMore", "nothing"},
        {by_stamp | by_category, "3-1", "StatusEvent", "3-3 3-4"},
        {by_stamp | by_category, "3-2", "PowerUpEvent", "3-3 3-4"}, // met on different events
        {by_stamp | by_category, "3-4", "PowerUpEvent", "nothing"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(selected(row.flags, row.after, row.category), row.stamps)
            << row.flags << " " << row.after << " " << row.category;
        EXPECT_STREQ(stamp, "3-4");
    }
    const varn_event_filter unknown = make_filter(by_category, "", "CopyEvent");
    const std::string log = log_of([&] { get(&unknown); });
    EXPECT_NE(log.find("get_eventFilterCategory:"), std::string::npos);
    EXPECT_NE(log.find(": error,not support event:CopyEvent !\n"), std::string::npos);
}

TEST_F(EventTable, WithoutEventsThereIsNoDocumentButAStamp) {
    const varn_event_filter unknown = make_filter(2, "", "CopyEvent");
    for (const char *content : {"", "no table", "<ev:EventTable"}) {
        tree.put(table_file, content);
        // The filter is not looked at.
        const std::string log = log_of([&] { EXPECT_FALSE(get(&unknown)) << content; });
        EXPECT_EQ(log.find("not support event"), std::string::npos) << content;
        EXPECT_STREQ(stamp, "3-0");
    }
    EXPECT_EQ(VARN_GetEventTable(nullptr, nullptr, nullptr, stamp), -1);
    // A table that nobody can read begins again.
    VARN_SetEventTable(VARN_EVENT_STATUS, nullptr);
    EXPECT_EQ(selected(0, "", ""), "3-1");
}

TEST_F(EventTable, AnUnknownKindIsLoggedAndChangesNothing) {
    VARN_SetEventTable(VARN_EVENT_STATUS, nullptr);
    const std::string before = tree.get(table_file);
    for (const int32_t bit : {0, 3, 4, 128, -1}) {
        const std::string log = log_of([&] { EXPECT_EQ(VARN_SetEventTable(bit, "/a"), 0); });
        EXPECT_NE(log.find("gsoap mode:VARN_SetEventTable eventtype=" + std::to_string(bit) + "\n"),
                  std::string::npos);
        EXPECT_NE(log.find("soap_read_ev__SupportedEventList error=0\n"), std::string::npos);
        EXPECT_NE(log.find(":" + std::to_string(bit) + " event not support !\n"),
                  std::string::npos);
    }
    EXPECT_EQ(tree.get(table_file), before);
}

/// What stands in the table need not have been written here.
TEST_F(EventTable, StrangeEntriesAndLongUrisAreBorne) {
    VARN_SetEventTable(VARN_EVENT_SCAN, std::string(1000, 'u').c_str());
    EXPECT_EQ(text_of(get().value_or(""), "dd:ResourceURI"), std::string(255, 'u'));
    tree.replace(table_file, ">3-1<", ">3-2147483647<");
    VARN_SetEventTable(VARN_EVENT_STATUS, nullptr);
    EXPECT_STREQ((get(), stamp), "3--2147483648");

    VARN_SetEventTable(VARN_EVENT_STATUS, nullptr);
    tree.replace(table_file, "<dd:UnqualifiedEventCategory>ScanEvent</dd:UnqualifiedEventCategory>",
                 "");
    VARN_SetEventTable(VARN_EVENT_SCAN, "/a");
    EXPECT_EQ(texts(get().value_or(""), "dd:AgingStamp").size(), 3U);
    tree.remove("tmp/xml_tickets/EventMgmt/EventCapabilities");
    VARN_SetEventTable(VARN_EVENT_SCAN, "/b");
    EXPECT_NE(get().value_or("").find(">/b<"), std::string::npos);
}

TEST_F(EventTable, ThreadsMayRaiseAndReadAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int n = 0; n < 25; ++n) {
                VARN_SetEventTable(i % 2 == 0 ? VARN_EVENT_SCAN : VARN_EVENT_STATUS, "/a");
                char *buffer = nullptr;
                uint32_t length = 0;
                EXPECT_EQ(VARN_GetEventTable(nullptr, &buffer, &length, nullptr), 0);
                free(buffer);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(texts(get().value_or(""), "dd:AgingStamp").back(), "3-100");
}

TEST_F(EventTable, StaticResourcesAreTheirTickets) {
    const struct {
        int32_t (*get)(char **, uint32_t *);
        const char *file;
    } rows[] = {{VARN_GetEventSubscriptionList, "SubscriptionList"},
                {VARN_GetEventManifest, "EventMgmtManifest.xml"},
                {VARN_GetEventCapabilities, "EventCapabilities"}};
    for (const auto &row : rows) {
        char *buffer = nullptr;
        uint32_t length = 0;
        ASSERT_EQ(row.get(&buffer, &length), 0) << row.file;
        EXPECT_EQ(std::string(buffer, length),
                  tree.get(std::string("tmp/xml_tickets/EventMgmt/") + row.file));
        free(buffer);
    }
}

} // namespace
