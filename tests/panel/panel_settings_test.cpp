/// Settings files as the operator shows and changes them.

#include "tests/panel/panel_fixture.h"

#include <fstream>

namespace varn::testing {
namespace {

using nlohmann::json;

class PanelSettings : public PanelTest {
protected:
    json settings() { return json::parse(http_.get("http://" + host() + "/settings").body); }
    std::string file(const std::string &name) const {
        std::ifstream stream(scanner_.root() / "datafs" / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    int change(const std::string &action, const json &request) {
        json whole = request;
        whole["action"] = action;
        return act(whole).status;
    }
};

TEST_F(PanelSettings, FilesAreResetAndChangedValueByValue) {
    EXPECT_EQ(settings().at("mail"), nullptr);
    EXPECT_EQ(change("mail.put", {{"values", {{"ServerName", "first"}}}}), 200);
    EXPECT_EQ(settings().at("mail").at("Security"), "ON") << "as in a new device";
    std::filesystem::remove(scanner_.root() / "datafs" / "ESMTP.xml");
    for (const char *name : {"mail", "time", "protocols", "administrator", "scan_defaults",
                             "folders", "addressbook"}) {
        EXPECT_EQ(settings().at(name), nullptr) << name;
        EXPECT_EQ(change(std::string(name) + ".reset", json::object()), 200) << name;
        EXPECT_NE(settings().at(name), nullptr) << name;
    }
    const std::string text = "B\xC3\xBCro <b> & \"co\"";
    EXPECT_EQ(change("mail.put", {{"values", {{"ServerName", text}, {"Password", "s3cret"}}}}),
              200);
    EXPECT_EQ(change("mail.put", {{"values", {{"ServerPort", "587"}}}}), 200);
    EXPECT_EQ(change("scan_defaults.put", {{"values", {{"EmailBodyText", "one\ntwo"}}}}), 200);
    EXPECT_EQ(change("protocols.put", {{"values", {{"WS-Scan", "Disable"}}}}), 200);
    EXPECT_EQ(change("protocols.put", {{"values", {{"Telnet", "Disable"}}}}), 200);
    const json state = settings();
    EXPECT_EQ(state["mail"]["ServerName"], text);
    EXPECT_EQ(state["mail"]["ServerPort"], "587");
    EXPECT_EQ(state["mail"]["Security"], "ON");
    EXPECT_EQ(state["mail"]["has_Password"], true);
    EXPECT_EQ(state.dump().find("s3cret"), std::string::npos);
    EXPECT_NE(file("ESMTP.xml").find(">s3cret<"), std::string::npos) << "kept by the second";
    EXPECT_EQ(state["scan_defaults"]["EmailBodyText"], "one\ntwo");
    EXPECT_EQ(state["scan_defaults"]["EmailSubject"], "");
    EXPECT_NE(file("ScanSettings.xml").find("<EmailSubject>TlVMTA==<"), std::string::npos);
    EXPECT_EQ(state["protocols"]["WS-Scan"], "Disable");
    EXPECT_EQ(state["protocols"]["IPv4"], "Enable");
}

TEST_F(PanelSettings, FoldersAndAddresses) {
    const json folder = {{"name", "Scans & <more>"},
                         {"path", "//host/scans"},
                         {"user", "ann"},
                         {"password", "s3cret"}};
    EXPECT_EQ(change("folders.put", folder), 200) << "the file is made";
    EXPECT_EQ(change("folders.put", {{"name", "second"}, {"pin", "4711"}}), 200);
    EXPECT_EQ(change("folders.put", {{"row", 1}, {"path", "//other"}}), 200);
    const json expected = {{{"row", 1},
                            {"name", "Scans & <more>"},
                            {"path", "//other"},
                            {"user", "ann"},
                            {"has_password", true},
                            {"has_pin", false}},
                           {{"row", 2},
                            {"name", "second"},
                            {"path", ""},
                            {"user", ""},
                            {"has_password", false},
                            {"has_pin", true}}};
    EXPECT_EQ(settings()["folders"], expected);
    EXPECT_NE(file("Smb.xml").find(">s3cret<"), std::string::npos);
    EXPECT_EQ(change("folders.delete", {{"row", 1}}), 200);
    EXPECT_EQ(settings()["folders"][0]["name"], "second");
    EXPECT_EQ(settings()["folders"][0]["row"], 1);

    for (int i = 1; i <= 50; ++i)
        EXPECT_EQ(change("addressbook.put", {{"address", "a" + std::to_string(i)}}), 200);
    EXPECT_EQ(change("addressbook.put", {{"address", "one more"}}), 409);
    EXPECT_EQ(settings()["addressbook"].size(), 50U);
    EXPECT_EQ(settings()["addressbook"][49]["address"], "a50");
}

TEST_F(PanelSettings, WhatIsNoSettingChangesNothing) {
    ASSERT_EQ(change("mail.reset", json::object()), 200);
    ASSERT_EQ(change("folders.put", {{"name", "kept"}}), 200);
    const json before = settings();
    const struct {
        const char *action;
        json request;
        int status;
    } rows[] = {
        {"mail.put", json::object(), 400},
        {"mail.put", {{"values", {{"Stranger", "x"}}}}, 400},
        {"mail.put", {{"values", {{"ServerPort", 587}}}}, 400},
        {"mail.put", {{"values", {{"ServerPort", "12345678901"}}}}, 400},
        {"mail.put", {{"values", {{"UserName", "\x01"}}}}, 400},
        {"mail.delete", json::object(), 400},
        {"mail", json::object(), 400},
        {"folders.put", {{"name", std::string(200, 'n')}}, 400},
        {"folders.put", {{"row", 7}, {"name", "n"}}, 409},
        {"folders.delete", {{"row", 0}}, 409},
        {"folders.delete", {{"row", 2}}, 409},
        {"folders.delete", json::object(), 400},
        {"folders.delete", {{"row", 1}, {"was", "another"}}, 409},
        {"folders.delete", {{"row", 1}, {"was", 1}}, 409},
        {"folders.put", {{"row", 1}, {"was", "another"}, {"name", "n"}}, 409},
        {"clock.put", {{"zone", "(GMT+30:00) Nowhere"}}, 400},
        {"clock.put", json::object(), 400},
        {"sharepoint.test", {{"uuid", "f335e8b5-b9c1-40cc-9782-2711abe12c69"}}, 409},
        {"sharepoint.test", {{"uuid", "../../x"}}, 409},
    };
    for (const auto &row : rows)
        EXPECT_EQ(change(row.action, row.request), row.status) << row.action << row.request;
    EXPECT_EQ(settings(), before);
}

TEST_F(PanelSettings, APageHearsOfTheChangesOfAnother) {
    const auto revision = [&] { return state().at("settings_revision").get<std::uint64_t>(); };
    const std::uint64_t before = revision();
    EXPECT_EQ(change("addressbook.put", {{"address", "a@b"}}), 200);
    const std::uint64_t after = revision();
    EXPECT_NE(after, before);
    EXPECT_EQ(change("addressbook.delete", {{"row", 1}, {"was", "b@a"}}), 409);
    EXPECT_EQ(change("feeder.clear", json::object()), 200);
    EXPECT_EQ(revision(), after);
    EXPECT_EQ(change("addressbook.delete", {{"row", 1}, {"was", "a@b"}}), 200);
    EXPECT_EQ(settings()["addressbook"], json::array());
}

TEST_F(PanelSettings, TheZoneOfTheClock) {
    EXPECT_EQ(settings()["clock"]["zone"], "(GMT) Coordinated Universal Time");
    EXPECT_EQ(settings()["clock"]["zones"].size(), 108U);
    for (const char *zone : {"(GMT-05:00) Eastern Time (US & Canada)",
                             "(GMT+05:30) Chennai, Kolkata, Mumbai, New Delhi"}) {
        EXPECT_EQ(change("clock.put", {{"zone", zone}}), 200);
        EXPECT_EQ(settings()["clock"]["zone"], zone);
    }
    const std::string clock = get("/TimeService/RTCSetting").body;
    EXPECT_NE(clock.find("<dd:OffsetMinutes>330<"), std::string::npos) << clock;
    EXPECT_NE(clock.find("<ts:State>disabled<"), std::string::npos) << "not of the zone before";
}

TEST_F(PanelSettings, SharePointJobsAreListedAndTested) {
    const std::string path = "/DevMgmt/SharePoint/PredefinedJobs";
    const std::string none = get(path).body;
    const auto begin = none.find(" xmlns");
    const std::string created =
        http_
            .post_xml(scanner_.url() + path, "<?xml version=\"1.0\"?><folder:PredefinedJob" +
                                                 none.substr(begin, none.find('>', begin) - begin) +
                                                 R"(>
    <folder:SendFolderDestinations>
        <folder:SendSharePointDestination>
            <folder:SharePointPath>https://h/&lt;b></folder:SharePointPath>
            <security:AuthenticationSettings>
                <security:CredentialType>zq_windowsNegotiated_v1</security:CredentialType>
                <security:WindowsAuthenticationSettings>
                    <dd:Password>s3cret</dd:Password>
                </security:WindowsAuthenticationSettings>
            </security:AuthenticationSettings>
        </folder:SendSharePointDestination>
    </folder:SendFolderDestinations>
    <dsd:DisplaySettings><dd:Name>Bills</dd:Name></dsd:DisplaySettings>
</folder:PredefinedJob>)")
            .location;
    const std::string uuid = created.substr(created.rfind('/') + 1);
    const json expected = {{{"uuid", uuid}, {"name", "Bills"}, {"path", "https://h/<b>"}}};
    EXPECT_EQ(settings()["sharepoint"], expected);
    EXPECT_NE(get(path).body.find("s3cret"), std::string::npos) << "it is there to be shown";

    EXPECT_EQ(state().at("sharepoint_test"), "never ran");
    ASSERT_TRUE(scanner_.ctl({"sharepoint", "no-folder", "10"}));
    EXPECT_EQ(change("sharepoint.test", {{"uuid", uuid}}), 200);
    EXPECT_TRUE(state_gets([](const json &s) { return s.at("sharepoint_test") == "no-folder"; }));
}

} // namespace
} // namespace varn::testing
