/// Jobs, events and the USB interrupt channel, over HTTP.

#include "tests/e2e/e2e_fixture.h"

#include <chrono>
#include <fstream>
#include <memory>

namespace varn::testing {
namespace {

class JobsAndEvents : public ScannerTest {
protected:
    std::unique_ptr<RawConnection> new_listener() {
        const std::string url = scanner_.url("usb");
        auto connection =
            std::make_unique<RawConnection>(std::stoi(url.substr(url.rfind(':') + 1)));
        connection->send("GET /usb/interrupt HTTP/1.1\r\nHost: scanner.local\r\n\r\n");
        return connection;
    }
    static bool is_listening(const RawConnection &connection) {
        std::string got;
        for (std::string some; got.find(": listening\n") == std::string::npos; got += some)
            if ((some = connection.receive_some(1000)).empty() || some.starts_with("HTTP/1.1 503"))
                return false;
        return true;
    }
};

TEST_F(JobsAndEvents, TheJobListBeginsEmptyAndTakesPuts) {
    const std::string list = get("/Jobs/JobList").body;
    EXPECT_NE(list.find("<j:JobList "), std::string::npos);
    EXPECT_EQ(get("/Jobs/JobList/1").status, 404);
    EXPECT_EQ(get("/Jobs/JobsManifest.xml").status, 200);

    std::string with_job = list;
    with_job.insert(with_job.find("</j:JobList>"),
                    "<j:Job><j:JobUrl>/Jobs/JobList/7</j:JobUrl><j:JobState>Processing</j:JobState>"
                    "</j:Job>");
    std::ofstream(scanner_.root() / "tmp/xml_tickets/Jobs/JobsList.xml") << with_job;
    const std::string job = get("/Jobs/JobList/7").body;
    EXPECT_NE(job.find(">Processing<"), std::string::npos) << job;
    std::string changed = job;
    changed.replace(changed.find("Processing"), 10, "Canceled");
    EXPECT_EQ(put("/Jobs/JobList/7", changed), 200);
    EXPECT_NE(get("/Jobs/JobList").body.find(">Canceled<"), std::string::npos);
    EXPECT_EQ(put("/Jobs/JobList/8", changed), 409);
    EXPECT_EQ(put("/Jobs/JobList", "no document"), 400);
    EXPECT_EQ(field_of(ask_raw("DELETE", "/Jobs/JobList/7"), "Allow"), "OPTIONS, GET, HEAD, PUT");
}

TEST_F(JobsAndEvents, EachStartIsAPowerUpEventOfANewCycle) {
    for (const char *path : {"/EventMgmt/EventCapabilities", "/EventMgmt/EventMgmtManifest.xml",
                             "/EventMgmt/SubscriptionList"})
        EXPECT_EQ(get(path).status, 200) << path;
    const std::string table = ask_raw("GET", "/EventMgmt/EventTable");
    EXPECT_NE(table.find(">PowerUpEvent<"), std::string::npos);
    EXPECT_EQ(field_of(table, "ETag"), "\"1-1\"");
    const std::string nothing = ask_raw("GET", "/EventMgmt/EventTable?AgingStamp=1-1");
    EXPECT_EQ(testing::status_of(nothing), 204);
    EXPECT_EQ(field_of(nothing, "ETag"), "\"1-1\"");
    EXPECT_EQ(get("/EventMgmt/EventTable?AgingStamp=now").status, 400);

    ASSERT_EQ(scanner_.stop(), 0);
    scanner_.start();
    ASSERT_TRUE(scanner_.ready());
    EXPECT_EQ(field_of(ask_raw("GET", "/EventMgmt/EventTable"), "ETag"), "\"2-1\"");
}

TEST_F(JobsAndEvents, TheInterruptChannelIsForAFewListenersOnUsb) {
    EXPECT_EQ(get("/usb/interrupt").status, 404);
    scanner_.set_link("usb", true);
    std::vector<std::unique_ptr<RawConnection>> listeners;
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(is_listening(*listeners.emplace_back(new_listener())));
    EXPECT_EQ(testing::status_of(new_listener()->receive()), 503);

    listeners.pop_back();
    EXPECT_TRUE(eventually([&] {
        auto again = new_listener();
        return is_listening(*again);
    })) << "the place of one that has gone";

    // An end of the server does not wait for them.
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(scanner_.stop(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(JobsAndEvents, TheInterruptChannelEndsWithItsCable) {
    scanner_.set_link("usb", true);
    const auto listener = new_listener();
    ASSERT_TRUE(is_listening(*listener));
    scanner_.set_link("usb", false);
    std::string rest;
    for (std::string some; rest.find("0\r\n\r\n") == std::string::npos; rest += some) {
        some = listener->receive_some(1000);
        ASSERT_FALSE(some.empty()) << rest;
    }
}

} // namespace
} // namespace varn::testing
