/// Maintenance at the panel: alerts, OK, and what was counted.

#include "tests/panel/panel_fixture.h"

namespace varn::testing {
namespace {

using nlohmann::json;

constexpr char clean[] = "scannerMaintenanceCleanRollersNeeded";
constexpr char rollers[] = "scannerMaintenanceReplaceRollersNeeded";
constexpr char pad[] = "scannerMaintenanceReplacePadNeeded";

class PanelMaintenance : public PanelTest {
protected:
    json shown() { return state().at("maintenance"); }
    bool alerts_get(const json &expected) {
        return eventually([&] { return shown().at("alerts") == expected; });
    }
    int press_ok(const json &alert) {
        return act({{"action", "alert.acknowledge"}, {"alert", alert}}).status;
    }
};

TEST_F(PanelMaintenance, OkTakesOneAlertAway) {
    EXPECT_EQ(shown().at("alerts"), json::array());
    EXPECT_EQ(shown().at("wear").at("clean").at("pages"), 0);
    EXPECT_EQ(press_ok(clean), 409) << "not raised";
    ASSERT_TRUE(scanner_.ctl({"wear", "clean", "now"}));
    ASSERT_TRUE(scanner_.ctl({"wear", "rollers", "now"}));
    EXPECT_TRUE(alerts_get({clean, rollers, pad}));
    EXPECT_EQ(press_ok(clean), 200);
    EXPECT_EQ(shown().at("alerts"), json({rollers, pad})) << "at once";
    EXPECT_EQ(press_ok(pad), 409) << "the rollers' mark stands for it, too";
    EXPECT_EQ(press_ok(rollers), 200);
    EXPECT_EQ(shown().at("alerts"), json::array());
    EXPECT_EQ(get("/DevMgmt/ProductStatusDyn.xml").body.find("psdyn:Alert>"), std::string::npos);
    EXPECT_EQ(press_ok("stranger"), 409);
    EXPECT_EQ(press_ok(173), 400);
}

TEST_F(PanelMaintenance, CountsFollowTheDevice) {
    EXPECT_EQ(shown().at("counts").at("scans"), 0);
    ASSERT_EQ(act({{"action", "glass.put"}, {"picture", "chart"}}).status, 200);
    ASSERT_EQ(act({{"action", "preview.start"}, {"source", "glass"}}).status, 200);
    EXPECT_TRUE(eventually([&] {
        const json counts = shown().at("counts");
        return counts.at("scans") == 1 && counts.at("flatbedPages") == 1;
    })) << shown();
}

} // namespace
} // namespace varn::testing
