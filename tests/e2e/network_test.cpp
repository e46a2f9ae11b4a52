/// The network over HTTP: a change arrives at the net service, and the next document shows it.

#include "tests/e2e/e2e_fixture.h"

#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

namespace varn::testing {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

const std::string adapters = "/IoMgmt/Adapters/";

std::string document(const std::string &root, const std::string &elements) {
    const struct {
        const char *prefix;
        const char *path;
    } schemas[] = {{"io", "varn/iomgmt/2008/11/30"},
                   {"dd", "dictionaries/1.0/"},
                   {"dd3", "dictionaries/2009/04/06"},
                   {"wifi", "wifi/2009/06/26"},
                   {"nadyn", "varn/netappdyn/2009/06/24"},
                   {"nasdyn", "varn/netappsecdyn/2012/11/15"},
                   {"iocfgdyn2", "varn/ioconfigdyn/2009/03/17"}};
    std::string xml = "<?xml version=\"1.0\"?><" + root;
    for (const auto &schema : schemas)
        xml.append(" xmlns:")
            .append(schema.prefix)
            .append("=\"http://schemas.varn.example/")
            .append("schemas/imaging/con/")
            .append(schema.path)
            .append("\"");
    return xml + ">" + elements + "</" + root + ">";
}

std::string address_profile(const std::string &address) {
    return document("io:Profile", "<io:NetworkProfile><io:IPv4Network><dd:IPAddress>" + address +
                                      "</dd:IPAddress><dd:SubnetMask>255.255.0.0</dd:SubnetMask>"
                                      "<dd:IPv4AutoAssignmentPriority><dd:ConfigMethod>manual"
                                      "</dd:ConfigMethod></dd:IPv4AutoAssignmentPriority>"
                                      "</io:IPv4Network></io:NetworkProfile>");
}

/// Joins the open network "Guest".
const std::string guest_profile =
    document("io:Profile", "<io:AdapterProfile><io:WifiProfile><wifi:SSID>4775657374</wifi:SSID>"
                           "<wifi:EncryptionType>none</wifi:EncryptionType></io:WifiProfile>"
                           "</io:AdapterProfile>");

std::string power(const std::string &state) {
    return document("io:Adapter",
                    "<io:HardwareConfig><dd:Power>" + state + "</dd:Power></io:HardwareConfig>");
}

std::string communities(const std::string &get_name, const std::string &set_name) {
    return document("iocfgdyn2:IOConfigDyn",
                    "<dd3:IOAdaptorConfig><dd3:ApplicationConfig><dd:ApplicationSupport>SNMP"
                    "</dd:ApplicationSupport><dd:SNMPConfig><dd:GetCommunityName>" +
                        get_name + "</dd:GetCommunityName><dd:SetCommunityName>" + set_name +
                        "</dd:SetCommunityName></dd:SNMPConfig></dd3:ApplicationConfig>"
                        "<dd:DeviceConnectivityPortType>usb</dd:DeviceConnectivityPortType>"
                        "</dd3:IOAdaptorConfig>");
}

class Network : public ScannerTest {
protected:
    bool shows(const std::string &path, const std::string &element) {
        return get(path).body.find(element) != std::string::npos;
    }
    int ask(const std::string &method, const std::string &path, const std::string &body = {}) {
        return status_of(ask_raw(method, path, body));
    }
    /// What the net service says of itself.
    nlohmann::json service() const {
        return nlohmann::json::parse(
            run_program({CTL_PROGRAM, "--root", scanner_.root(), "net", "state"}).output);
    }
    /// Path of what a POST made.
    std::string post(const std::string &path, const std::string &body) {
        const std::string answer = ask_raw("POST", path, body);
        EXPECT_EQ(status_of(answer), 201);
        const std::string location = field_of(answer, "Location");
        return location.substr(std::min(location.find('/', 8), location.size()));
    }
};

TEST_F(Network, AProfileChangesTheAddressAndStaysOverARestart) {
    const std::string profile = adapters + "eth0/Profiles/1";
    EXPECT_EQ(put(profile, address_profile("10.20.30.40")), 200);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(service()["interfaces"]["eth0"]["address"], "10.20.30.40");
        for (const std::string &path : {profile, adapters + "eth0/Protocols"}) {
            EXPECT_TRUE(shows(path, ">10.20.30.40<")) << path << i;
            EXPECT_TRUE(shows(path, ">255.255.0.0<")) << path << i;
        }
        ASSERT_EQ(scanner_.stop(), 0);
        scanner_.start();
        ASSERT_TRUE(scanner_.ready());
    }
}

/// The library waits eight seconds for the network to be joined.
TEST_F(Network, AProfileThatJoinsANetworkHoldsUpOnlyOtherProfiles) {
    const auto begun = Clock::now();
    int status = 0;
    std::thread joining([&] { status = put(adapters + "wifi0/Profiles/1", guest_profile); });
    EXPECT_TRUE(eventually([&] { return service()["station"]["joined"] == true; }, 5000));

    int other_status = 0;
    Clock::duration other_took{};
    std::thread other([&] {
        other_status = put(adapters + "eth0/Profiles/1", address_profile("10.0.0.7"));
        other_took = Clock::now() - begun;
    });
    for (const std::string path :
         {"/IoMgmt/Adapters", "/IoMgmt/Adapters/wifi0/Profiles/1",
          "/IoMgmt/Adapters/wifi0/WifiNetworks", "/DevMgmt/IOConfigDyn.xml", "/eSCL/ScannerStatus",
          "/eSCL/ScannerCapabilities", "/eSCL/eSCLConfig"})
        EXPECT_EQ(get(path).status, 200) << path;
    EXPECT_EQ(put(adapters + "wifi1", power("on")), 200);
    EXPECT_EQ(put("/DevMgmt/IOConfigDyn.xml", communities("a", "b")), 200);
    EXPECT_EQ(put("/DevMgmt/ProductConfigDyn.xml", asset_number("x")), 200);
    EXPECT_LT(Clock::now() - begun, 7s);

    joining.join();
    EXPECT_EQ(status, 200);
    EXPECT_GE(Clock::now() - begun, 8s);
    other.join();
    EXPECT_EQ(other_status, 200);
    EXPECT_GE(other_took, 8s);
    EXPECT_TRUE(shows("/IoMgmt/Adapters", "<wifi:SSID>4775657374<"));
    EXPECT_EQ(service()["interfaces"]["wlan0"]["link"], "up");
}

TEST_F(Network, PowerIsThatOfTheAdapterThatThePathNames) {
    EXPECT_EQ(put(adapters + "wifi1", power("on")), 200);
    EXPECT_EQ(service()["interfaces"]["wlan1"]["power"], "on");
    EXPECT_EQ(put(adapters + "wifi1", power("off")), 200);
    EXPECT_EQ(service()["interfaces"]["wlan1"]["power"], "off");
    EXPECT_EQ(service()["interfaces"]["wlan0"]["power"], "on");
}

TEST_F(Network, AnAdapterHasItsOwnResources) {
    const struct {
        const char *method;
        const char *path;
        std::vector<std::string> at; ///< the adapters that have it
    } rows[] = {
        {"GET", "/Profiles/1", {"eth0", "wifi0", "wifi1"}},
        {"GET", "/Protocols", {"eth0", "wifi0", "wifi1"}},
        {"GET", "/NetworkStats", {"eth0", "wifi0", "wifi1"}},
        {"GET", "/ClientList", {"eth0", "wifi0", "wifi1"}},
        {"GET", "/VsaCodes", {"eth0", "wifi0", "wifi1"}},
        {"GET", "/WifiNetworks", {"wifi0", "wifi1"}},
        {"GET", "/WPS/Pin", {"wifi0"}},
        {"GET", "/WPS/PinSessions/1", {"wifi0"}},
        {"GET", "/WPS/PushButtonSessions/any", {"wifi0"}},
        {"POST", "/WPS/PinSessions", {"wifi0"}},
        {"POST", "/WPS/PushButtonSessions", {"wifi0"}},
        {"DELETE", "/WPS/PinSessions/1", {"wifi0"}},
        {"DELETE", "/WPS/PushButtonSessions/1", {"wifi0"}},
        {"PUT", "/Profiles/1", {"eth0", "wifi0", "wifi1"}},
        {"PUT", "", {"eth0", "wifi0", "wifi1", "usb"}},
    };
    for (const auto &row : rows)
        for (const std::string adapter : {"eth0", "wifi0", "wifi1", "usb", "eth1", "wifi0%20"}) {
            const bool has = std::find(row.at.begin(), row.at.end(), adapter) != row.at.end();
            const int found = std::string(row.method) == "POST" ? 201 : 200;
            EXPECT_EQ(ask(row.method, adapters + adapter + row.path), has ? found : 404)
                << row.method << " " << adapter << row.path;
        }
}

TEST_F(Network, OneNetworkInRangeIsAskedForByItsName) {
    ASSERT_TRUE(scanner_.ctl({"net", "network", "add", "A/B & co", "WPA2-PSK", "open sesame"}));
    const std::string list = adapters + "wifi0/WifiNetworks";
    const std::string hex = "<wifi:SSID>412F42202620636F<";
    const struct {
        std::string path;
        int status;
        bool holds;
        bool all;
    } rows[] = {
        {list, 200, true, true},
        {list + "?SSID=", 200, true, true},
        {list + "?SSID=A/B%20%26+co", 200, true, false},
        {list + "?SSID=A", 404, false, false},
        {list + "/Guest", 200, false, true},
        {list + "/guest", 404, false, false},
        {list + "?ssid=Guest", 400, false, false},
        {list + "?SSID=Guest&SSID=Office", 400, false, false},
        {list + "?SSID=%", 400, false, false},
    };
    for (const auto &row : rows) {
        const client::HttpAnswer answer = get(row.path);
        EXPECT_EQ(answer.status, row.status) << row.path;
        EXPECT_EQ(answer.body.find(hex) != std::string::npos, row.holds) << row.path;
        EXPECT_EQ(answer.body.find(">4775657374<") != std::string::npos, row.all) << row.path;
    }
}

TEST_F(Network, WpsSessionsRunToTheirEnd) {
    const std::string wps = adapters + "wifi0/WPS/";
    const auto becomes = [&](const std::string &session, const std::string &word) {
        return eventually([&] { return shows(session, "WpsStatus>" + word + "<"); });
    };
    const std::string push = post(wps + "PushButtonSessions", "");
    EXPECT_TRUE(shows(push, "WpsStatus>processing<"));
    EXPECT_EQ(ask("DELETE", push), 200);
    EXPECT_TRUE(becomes(push, "failure"));

    const std::string answer = get(wps + "Pin").body;
    const auto at = answer.find("<wifi:WpsPin>") + 13;
    const std::string pin = answer.substr(at, 8);
    ASSERT_TRUE(scanner_.ctl({"net", "wps", "partner", "on"}));
    const std::string session = post(
        wps + "PinSessions", document("io:WpsSession", "<wifi:WpsPin>" + pin + "</wifi:WpsPin>"));
    EXPECT_TRUE(becomes(session, "success"));
    EXPECT_EQ(service()["station"]["joined"], true);
}

TEST_F(Network, TheHostNameIsOneForAllDocuments) {
    EXPECT_EQ(put("/IoMgmt/IoConfig.xml",
                  document("io:IoConfig", "<io:IoDeviceConfig><dd3:Hostname>front-desk"
                                          "</dd3:Hostname></io:IoDeviceConfig>")),
              200);
    EXPECT_EQ(service()["hostName"], "front-desk");
    EXPECT_TRUE(shows("/IoMgmt/IoConfig.xml", ">front-desk<"));
    EXPECT_TRUE(shows("/DevMgmt/IOConfigDyn.xml", ">front-desk<"));
    EXPECT_EQ(put("/DevMgmt/NetAppsDyn.xml",
                  document("nadyn:NetAppsDyn", "<nadyn:DNSSDConfig><dd3:DomainName>back-desk"
                                               "</dd3:DomainName></nadyn:DNSSDConfig>")),
              200);
    EXPECT_TRUE(shows("/IoMgmt/IoConfig.xml", ">back-desk<"));
}

TEST_F(Network, ChangedCommunityNamesRestartTheAgent) {
    const std::string config = "/DevMgmt/IOConfigDyn.xml";
    EXPECT_EQ(put(config, communities("readers", "writers")), 200);
    EXPECT_TRUE(shows(config, ">readers<"));
    EXPECT_TRUE(shows("/DevMgmt/NetAppsDyn.xml", ">writers<"));
    EXPECT_EQ(service()["snmpRestarts"], 1);
    for (const std::string path :
         {config.c_str(), "/DevMgmt/NetAppsDyn.xml", "/DevMgmt/NetAppsSecureDyn.xml"})
        EXPECT_EQ(put(path, "no document"), 400) << path;
    EXPECT_EQ(service()["snmpRestarts"], 1);

    std::filesystem::remove(scanner_.root() / "datafs/snmp.xml");
    EXPECT_EQ(put(config, "no document"), 400);
    EXPECT_EQ(put(config, communities("again", "")), 200) << "the file is made";
    EXPECT_TRUE(shows(config, ">again<"));
}

TEST_F(Network, ApplicationSwitchesKeepEachOther) {
    const std::string secure = "/DevMgmt/NetAppsSecureDyn.xml";
    EXPECT_EQ(
        put("/DevMgmt/NetAppsDyn.xml",
            document("nadyn:NetAppsDyn",
                     "<nadyn:DNSSDConfig><dd:ApplicationServiceName>Reception"
                     "</dd:ApplicationServiceName></nadyn:DNSSDConfig><nadyn:WebServicesConfig>"
                     "<dd:WSDiscovery>enabled</dd:WSDiscovery>"
                     "</nadyn:WebServicesConfig>")),
        200);
    EXPECT_EQ(put(secure, document("nasdyn:NetAppsSecureDyn",
                                   "<nasdyn:AutoWirelessConfig><nasdyn:State>enabled"
                                   "</nasdyn:State></nasdyn:AutoWirelessConfig>")),
              200);
    EXPECT_TRUE(shows(secure, "State>enabled<"));
    EXPECT_TRUE(shows("/DevMgmt/NetAppsDyn.xml", ">Reception<"));
    EXPECT_TRUE(shows("/DevMgmt/NetAppsDyn.xml", "WSDiscovery>enabled<"));
}

TEST_F(Network, ANameThatLeadsHereIsNoAdministrators) {
    for (const char *sender :
         {"Host: evil.example", "Host: localhost\r\nOrigin: http://evil.example",
          "Host: localhost\r\nSec-Fetch-Site: cross-site"}) {
        RawConnection connection(scanner_.port());
        connection.send("GET " + adapters + "wifi0/Profiles/1 HTTP/1.1\r\n" + sender + "\r\n\r\n");
        EXPECT_EQ(status_of(connection.receive()), 403) << sender;
    }
}

TEST(NetworkWithoutEngine, AChangeIsNotConfirmed) {
    ScannerProcess alone({"--no-engine"});
    ASSERT_TRUE(alone.ready());
    const auto status = [&](const std::string &method, const std::string &path,
                            const std::string &body) {
        RawConnection connection(alone.port());
        connection.send(method + " " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                        std::to_string(body.size()) + "\r\n\r\n" + body);
        return status_of(connection.receive());
    };
    EXPECT_EQ(status("PUT", adapters + "eth0/Profiles/1", address_profile("10.0.0.1")), 503);
    EXPECT_EQ(status("PUT", adapters + "wifi1", power("on")), 503);
    EXPECT_EQ(status("POST", adapters + "wifi0/WPS/PushButtonSessions", ""), 503);
    EXPECT_EQ(status("GET", "/IoMgmt/Adapters", ""), 200);
}

} // namespace
} // namespace varn::testing
