/// The network at the panel: what a host or the world changed is shown, buttons reach the service.

#include "tests/panel/panel_fixture.h"

namespace varn::testing {
namespace {

using nlohmann::json;

class PanelNetwork : public PanelTest {
protected:
    json network() { return state().at("network"); }
    json adapter(std::size_t i) { return network().at("adapters").at(i); }
    bool session_gets(const std::string &word) {
        return eventually([&] { return network().at("wps").at("session") == word; });
    }
};

TEST_F(PanelNetwork, ShowsAdaptersAndWhatIsInRange) {
    const json shown = network();
    ASSERT_EQ(shown.at("adapters").size(), 3U);
    EXPECT_EQ(shown.at("adapters").at(0).at("name"), "eth0");
    const auto address = shown.at("adapters").at(0).at("addresses").at(0).get<std::string>();
    EXPECT_TRUE(address.starts_with("192.168.10.")) << address;
    EXPECT_EQ(shown.at("adapters").at(1).at("link"), false);
    EXPECT_TRUE(shown.at("adapters").at(1).at("addresses").empty());
    EXPECT_EQ(shown.at("networks").size(), 3U);
    EXPECT_EQ(shown.at("wps").at("pin").get<std::string>().size(), 8U);
    EXPECT_EQ(shown.dump().find("office-pass"), std::string::npos);

    ASSERT_TRUE(scanner_.ctl({"net", "network", "add", "<b>\"Café\"", "NONE"}));
    EXPECT_TRUE(eventually([&] { return network().at("networks").size() == 4; }));
    EXPECT_EQ(network().at("networks").at(3).at("ssid"), "<b>\"Café\"");
}

TEST_F(PanelNetwork, WpsSessionsEndAsTheWorldLetsThem) {
    EXPECT_EQ(act({{"action", "wps.push"}}).status, 200);
    EXPECT_EQ(network().at("wps").at("session"), "running");
    EXPECT_EQ(act({{"action", "wps.pin"}}).status, 409);
    EXPECT_EQ(act({{"action", "wps.cancel"}}).status, 200);
    EXPECT_TRUE(session_gets("cancelled"));

    EXPECT_EQ(act({{"action", "wps.partner"}, {"on", true}}).status, 200);
    EXPECT_EQ(act({{"action", "wps.pin"}}).status, 200);
    EXPECT_TRUE(session_gets("succeeded"));
    EXPECT_EQ(adapter(1).at("network"), "Office");
    EXPECT_EQ(adapter(1).at("signal"), 5);
}

TEST_F(PanelNetwork, AdaptersAreSwitched) {
    for (const bool on : {true, false}) {
        EXPECT_EQ(act({{"action", "adapter.power"}, {"adapter", "wifi1"}, {"on", on}}).status, 200);
        EXPECT_EQ(adapter(2).at("on"), on);
    }
    for (const json &request : {json{{"adapter", "usb"}, {"on", true}}, json{{"adapter", "wifi1"}},
                                json{{"adapter", "wifi1"}, {"on", 1}}, json{{"on", true}}}) {
        json action = request;
        action["action"] = "adapter.power";
        EXPECT_EQ(act(action).status, 400) << request;
    }
    EXPECT_EQ(act({{"action", "wps.partner"}}).status, 400);
}

} // namespace
} // namespace varn::testing
