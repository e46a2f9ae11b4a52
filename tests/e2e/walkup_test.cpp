/// Walk-up scanning over HTTP: who may be picked, and what a picked host is told.

#include "tests/e2e/e2e_fixture.h"

namespace varn::testing {
namespace {

const std::string subscriptions = "/eSCL/WalkupSubscriptions";
const std::string destinations = "/WalkupScanToComp/WalkupScanToCompDestinations";

class Walkup : public ScannerTest {
protected:
    struct Answer {
        int status;
        std::string path; ///< of the Location, without scheme and host
    };
    Answer post(const std::string &path, const std::string &xml) {
        const std::string answer = ask_raw("POST", path, xml);
        const std::string location = field_of(answer, "Location");
        const auto at = location.find('/', location.find("//") + 2);
        return {status_of(answer), location.empty() ? "" : location.substr(at)};
    }
    int ask(const std::string &method, const std::string &path) {
        return status_of(ask_raw(method, path, ""));
    }
};

std::string subscription(const std::string &name, const std::string &connection) {
    const std::string settings = client::settings_document({});
    const auto begin = settings.find(" xmlns:");
    const std::string names = settings.substr(begin, settings.find('>', begin) - begin);
    return "<scan:WalkupScanSubscription" + names + "><scan:HostIdentifier>" + name +
           "</scan:HostIdentifier><scan:Connection>" + connection +
           "</scan:Connection></scan:WalkupScanSubscription>";
}

std::string destination(const std::string &name, const std::string &link) {
    const std::string base = "=\"http://schemas.varn.example/schemas/imaging/con/";
    return "<wus:WalkupScanToCompDestination xmlns:wus" + base +
           "varn/walkupscan/2010/09/28\" xmlns:dd" + base + "dictionaries/1.0/\" xmlns:dd3" + base +
           "dictionaries/2009/04/06\"><dd:Name>" + name + "</dd:Name><dd3:Hostname>" + name +
           "</dd3:Hostname><wus:LinkType>" + link +
           "</wus:LinkType></wus:WalkupScanToCompDestination>";
}

TEST_F(Walkup, ASubscriptionOutlivesTheScannerAndGoesWhenItIsTold) {
    const Answer created = post(subscriptions, subscription("desk", "Network"));
    ASSERT_EQ(created.status, 201);
    EXPECT_EQ(post(subscriptions, subscription("desk", "Network")).path, created.path);
    ASSERT_EQ(scanner_.stop(), 0);
    scanner_.start();
    ASSERT_TRUE(scanner_.ready());
    EXPECT_NE(get(subscriptions).body.find(">desk<"), std::string::npos);
    EXPECT_NE(get(created.path).body.find(">desk<"), std::string::npos);
    EXPECT_EQ(ask("DELETE", created.path), 200);
    EXPECT_EQ(get(subscriptions).body.find(">desk<"), std::string::npos);
    const client::HttpAnswer gone = get(created.path);
    EXPECT_EQ(gone.status, 200);
    EXPECT_EQ(gone.body.find(">desk<"), std::string::npos);
}

TEST_F(Walkup, NetworkHostsAreLimitedAndUsbHostsAreNot) {
    for (int i = 0; i < 12; ++i)
        ASSERT_EQ(post(subscriptions, subscription("usb" + std::to_string(i), "USB")).status, 201);
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(post(subscriptions, subscription("net" + std::to_string(i), "Network")).status,
                  201);
    EXPECT_EQ(post(subscriptions, subscription("net10", "Network")).status, 409);
    EXPECT_EQ(post(destinations, destination("net10", "Network")).status, 409);
    EXPECT_EQ(post(subscriptions, "subscribe me").status, 400);
}

TEST_F(Walkup, AHostWithoutAnEventIsToldSo) {
    const Answer created = post(subscriptions, subscription("desk", "Network"));
    const std::string event = "/eSCL/WalkupScanEvent" + created.path.substr(subscriptions.size());
    const client::HttpAnswer answer = get(event);
    EXPECT_EQ(answer.status, 204);
    EXPECT_EQ(answer.body, "");
}

TEST_F(Walkup, DestinationsAreRegisteredToldAndRemoved) {
    EXPECT_EQ(get(destinations).status, 200);
    EXPECT_EQ(ask("GET", "/WalkupScanToComp/WalkupScanToCompEvent"), 404);
    const Answer created = post(destinations, destination("desk", "Network"));
    ASSERT_EQ(created.status, 201);
    EXPECT_EQ(post(destinations, destination("desk", "Network")).path, created.path);
    EXPECT_NE(get(destinations).body.find(created.path), std::string::npos);
    EXPECT_NE(get(created.path).body.find(">desk<"), std::string::npos);
    EXPECT_NE(get(subscriptions).body.find(">desk<"), std::string::npos) << "the same list";
    EXPECT_EQ(ask("DELETE", created.path), 200);
    EXPECT_EQ(ask("GET", created.path), 404);
    EXPECT_EQ(ask("DELETE", created.path), 404);
    EXPECT_EQ(get(subscriptions).body.find(">desk<"), std::string::npos);
    EXPECT_EQ(post(destinations, "register me").status, 400);
}

TEST_F(Walkup, TheManifestNamesWhatIsThere) {
    const std::string manifest = get("/WalkupScanToComp/WalkupScanManifest.xml").body;
    for (const std::string path :
         {"/WalkupScanToComp/WalkupScanToCompCaps", destinations.c_str()}) {
        EXPECT_NE(manifest.find(">" + path + "<"), std::string::npos) << path;
        EXPECT_EQ(get(path).status, 200) << path;
    }
}

} // namespace
} // namespace varn::testing
