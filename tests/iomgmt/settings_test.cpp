// Host name, SNMP file, and the switches of the net applications.
#include "tests/iomgmt/net_fixture.h"

#include <filesystem>

using namespace varn::test;

namespace {

using Strings = std::vector<std::string>;

std::string parameter_block; ///< the engine's number 4
int block_writes = 0;

} // namespace

extern "C" int32_t mvtc_read_h1_parameter(uint32_t, void *block, uint32_t size, uint32_t id) {
    if (id != 4 || parameter_block.size() != size)
        return -1;
    memcpy(block, parameter_block.data(), size);
    return 0;
}

extern "C" int32_t mvtc_write_h1_parameter(uint32_t, const void *block, uint32_t size, uint32_t) {
    ++block_writes;
    parameter_block.assign(static_cast<const char *>(block), size);
    return 0;
}

namespace {

class NetSettings : public NetTest {
protected:
    NetSettings() {
        parameter_block.assign(212, '\x5A');
        block_writes = 0;
        // The agent's restart leaves a mark that can be counted.
        std::filesystem::create_directories(tree / "usr/bin");
        tree.put("usr/bin/RestartSnmp",
                 "#!/bin/sh\necho >>" + (tree / "tmp/restarts").string() + "\n");
        std::filesystem::permissions(tree / "usr/bin/RestartSnmp",
                                     std::filesystem::perms::owner_all);
        put_snmp("RW", "Disable", "reader", "writer");
    }

    void put_snmp(const std::string &access, const std::string &default_get, const std::string &get,
                  const std::string &set) {
        tree.put("datafs/snmp.xml", snmp(access, default_get, get, set));
    }
    static std::string snmp(const std::string &access, const std::string &default_get,
                            const std::string &get, const std::string &set) {
        return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SNMP><accessRW>" + access +
               "</accessRW><defaultGetCommunity>" + default_get +
               "</defaultGetCommunity><getCommunity>" + get + "</getCommunity><setCommunity>" +
               set + "</setCommunity></SNMP>";
    }
    size_t restarts() const {
        return tree.has("tmp/restarts") ? tree.get("tmp/restarts").size() : 0;
    }

    static int32_t put_apps(const std::string &elements) {
        return VARN_PutNetAppsDyn(document("nadyn:NetAppsDyn", elements).c_str());
    }
    static int32_t put_config(const std::string &adaptors) {
        return VARN_PutIOConfigDyn(document("iocfgdyn2:IOConfigDyn", adaptors).c_str());
    }
    static std::string adaptor(const std::string &applications) {
        return "<dd3:IOAdaptorConfig>" + applications +
               "<dd:DeviceConnectivityPortType>usb</dd:DeviceConnectivityPortType>"
               "</dd3:IOAdaptorConfig>";
    }
    static std::string application(const std::string &kind, const std::string &names) {
        return "<dd3:ApplicationConfig><dd:ApplicationSupport>" + kind +
               "</dd:ApplicationSupport><dd:SNMPConfig>" + names +
               "</dd:SNMPConfig></dd3:ApplicationConfig>";
    }
};

TEST_F(NetSettings, host_name_method) {
    constexpr size_t live_wlan0 = 14864;
    put(Text{1337948, "ravelin"});
    put(Text{1338028, "ravelin"});
    put(Text{396, "factory"});
    put(Text{1338980, "wired.example"});
    put(Text{1338980 + live_wlan0, "air.example"});
    const auto told = [](const char *tag) { return text_of(document_of(VARN_GetIoConfig), tag); };
    EXPECT_EQ(told("dd3:Hostname"), "ravelin");
    EXPECT_EQ(told("dd3:DefaultHostname"), "factory");
    EXPECT_EQ(told("dd:CurrentHostnameConfigByMethod"), "default");
    EXPECT_EQ(told("dd3:DomainName"), "wired.example");
    put(Text{1338028, "other"});
    EXPECT_EQ(told("dd:CurrentHostnameConfigByMethod"), "manual");

    put(Word{1338728, 1});
    put(Text{1338404, "eth0"});
    EXPECT_EQ(told("dd:CurrentHostnameConfigByMethod"), "manual");
    std::filesystem::create_directories(tree / "var/db");
    const struct {
        const char *line;
        const char *method;
    } rows[] = {{"  option host-name \"ravelin\";\n", "DHCPv4"},
                {" option host-name \"ravelin\";\n", "manual"},
                {"  option host-name \"ravelin2\";\n", "manual"},
                {"  option host-name \"\n", "manual"}};
    for (const auto &row : rows) {
        tree.put("var/db/dhclient_v4eth0.leases", std::string("lease {\n") + row.line);
        EXPECT_EQ(told("dd:CurrentHostnameConfigByMethod"), row.method) << row.line;
    }
    tree.put("sys/class/net/eth0/carrier", "0\n");
    EXPECT_EQ(told("dd3:DomainName"), "air.example");
}

TEST_F(NetSettings, host_name_put) {
    const auto put_name = [](const std::string &name) {
        EXPECT_EQ(VARN_PutIoConfig(nullptr, document("io:IoConfig", "<io:IoDeviceConfig>"
                                                                    "<dd3:Hostname>" +
                                                                        name +
                                                                        "</dd3:Hostname>"
                                                                        "</io:IoDeviceConfig>")
                                                .c_str()),
                  0);
        return sent();
    };
    EXPECT_EQ(put_name(std::string(63, 'n')), Strings{"10 " + std::string(63, 'n') + '\0'});
    EXPECT_EQ(put_name(std::string(64, 'n')), Strings{});
    EXPECT_EQ(VARN_PutIoConfig(nullptr, nullptr), -1);
}

TEST_F(NetSettings, community_names_of_the_first_adaptor) {
    const std::string read_name = "<dd:GetCommunityName>g</dd:GetCommunityName>";
    const std::string no_name = "<dd:SetCommunityName>NO SET</dd:SetCommunityName>";
    const auto size = static_cast<int32_t>(tree.get("datafs/snmp.xml").size());
    EXPECT_EQ(put_config(adaptor(application("SNMP", read_name + no_name))), size);
    EXPECT_EQ(tree.get("datafs/snmp.xml"), snmp("RW", "Disable", "g", ""));
    EXPECT_EQ(restarts(), 1U);

    put_config(adaptor(application("SNMP", read_name) + application("Bonjour", no_name) +
                       application("SNMP", "")));
    EXPECT_EQ(restarts(), 3U);
    EXPECT_EQ(put_config(adaptor("") + adaptor(application("SNMP", no_name))), 0);
    EXPECT_EQ(put_config(""), 0);
    EXPECT_EQ(restarts(), 3U);
    EXPECT_EQ(VARN_PutIOConfigDyn("<a>"), -1);
    EXPECT_EQ(VARN_PutIOConfigDyn(nullptr), -1);

    put(Text{1337948, "ravelin"});
    const std::string told = document_of(VARN_GetIOConfigDyn);
    EXPECT_EQ(texts(told, "dd:DeviceConnectivityPortType"), (Strings{"usb", "ethernet", "wifi"}));
    EXPECT_EQ(texts(told, "dd:GetCommunityName"), (Strings{"g", "g"}));
    EXPECT_EQ(texts(told, "dd3:CurrentHostname"), (Strings{"ravelin", "ravelin"}));
    EXPECT_EQ(
        std::filesystem::status(tree / "tmp/xml_tickets/DevMgmt/IOConfigDyn.xml").permissions(),
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(NetSettings, snmp_file_that_is_missing_or_overlong) {
    tree.remove("datafs/snmp.xml");
    const std::string names =
        "<dd:GetCommunityName>" + std::string(600, 'g') + "</dd:GetCommunityName>";
    EXPECT_EQ(put_config(adaptor(application("SNMP", names))), -1);
    EXPECT_EQ(tree.get("datafs/snmp.xml"), snmp("", "", std::string(255, 'g'), ""));

    put_snmp(std::string(2000, 'x'), "Disable", std::string(256, 'g'), std::string(4000, 's'));
    EXPECT_EQ(texts(document_of(VARN_GetIOConfigDyn), "dd:GetCommunityName")[0],
              std::string(256, 'g'));
    tree.put("datafs/snmp.xml", std::string(100000, '<'));
    EXPECT_EQ(text_of(document_of(VARN_GetNetAppsDyn), "dd:GetCommunityName"), "NO SET");
}

TEST_F(NetSettings, application_switches) {
    const auto enable = [](const std::string &name, const std::string &word) {
        return "<" + name + ">" + word + "</" + name + ">";
    };
    EXPECT_EQ(put_apps(enable("nadyn:DirectPrint", "disabled")), 0);
    EXPECT_EQ(sent(), Strings{"14 <WIRELESS><wlan1><EnableInterface>0</EnableInterface></wlan1>"
                              "</WIRELESS>"});
    EXPECT_EQ(block_writes, 0);
    EXPECT_EQ(restarts(), 0U);

    EXPECT_EQ(put_apps("<nadyn:DNSSDConfig><dd:ApplicationServiceName>desk</"
                       "dd:ApplicationServiceName><dd3:DomainName>host</dd3:DomainName></"
                       "nadyn:DNSSDConfig><nadyn:WebServicesConfig>" +
                       enable("dd:WSDiscovery", "enabled") + "</nadyn:WebServicesConfig>" +
                       enable("dd:DHCPv6", "disabled")),
              0);
    EXPECT_EQ(sent(), (Strings{"14 <SYSTEM><Hostname>host</Hostname></SYSTEM>",
                               "14 <SYSTEM><EnableIPv6>0</EnableIPv6></SYSTEM>"}));
    EXPECT_EQ(block_writes, 3);
    std::string expected(212, '\x5A');
    expected[5] = 1;
    expected[24] = 0;
    expected.replace(104, 5, std::string("desk\0", 5));
    EXPECT_EQ(parameter_block, expected);

    put_apps("<nadyn:DNSSDConfig><dd:ApplicationServiceName>" + std::string(500, 'n') +
             "</dd:ApplicationServiceName></nadyn:DNSSDConfig>");
    EXPECT_EQ(parameter_block.substr(104, 68), std::string(67, 'n') + '\0');
    EXPECT_EQ(text_of(document_of(VARN_GetNetAppsDyn), "dd:ApplicationServiceName"),
              std::string(67, 'n'));
    EXPECT_EQ(parameter_block.substr(172), std::string(40, 'Z')) << "the password behind the name";

    // What could not be read is not written back.
    parameter_block.clear();
    put_apps(enable("dd:DHCPv6", "enabled"));
    EXPECT_EQ(parameter_block, "");
}

TEST_F(NetSettings, snmp_switch_is_one_way) {
    const auto size = static_cast<int32_t>(tree.get("datafs/snmp.xml").size());
    EXPECT_EQ(put_apps("<dd:SNMPConfigWithVersion><dd:SNMP>enabled</dd:SNMP>"
                       "</dd:SNMPConfigWithVersion>"),
              size);
    EXPECT_EQ(tree.get("datafs/snmp.xml"), snmp("RW", "Disable", "reader", "writer"));
    EXPECT_EQ(restarts(), 1U);
    EXPECT_EQ(parameter_block[3], 1);
    EXPECT_EQ(text_of(document_of(VARN_GetNetAppsDyn), "dd:AccessOption"), "readWrite");

    put_apps("<dd:SNMPConfigWithVersion><dd:AccessOption>readWrite</dd:AccessOption>"
             "<dd:GetCommunityNameConfig>publicNotAllowed</dd:GetCommunityNameConfig>"
             "<dd:SetCommunityNameConfig>publicAllowed</dd:SetCommunityNameConfig>"
             "<dd:SetCommunityName>NO SET</dd:SetCommunityName></dd:SNMPConfigWithVersion>");
    EXPECT_EQ(tree.get("datafs/snmp.xml"), snmp("R", "Enable", "reader", ""));
    const std::string told = document_of(VARN_GetNetAppsDyn);
    EXPECT_EQ(text_of(told, "dd:AccessOption"), "readOnly");
    EXPECT_EQ(text_of(told, "dd:SetCommunityNameConfig"), "publicNotAllowed");
    EXPECT_EQ(text_of(told, "dd:SetCommunityName"), "NO SET");
    EXPECT_EQ(text_of(told, "dd:SNMP"), "enabled");
    EXPECT_EQ(put_apps("<broken"), -1);
}

TEST_F(NetSettings, automatic_wireless_configuration) {
    const auto put_state = [](const std::string &state) {
        return VARN_PutNetAppsSecureDyn(
            document("nasdyn:NetAppsSecureDyn", "<nasdyn:AutoWirelessConfig><nasdyn:State>" +
                                                    state +
                                                    "</nasdyn:State></nasdyn:AutoWirelessConfig>")
                .c_str());
    };
    EXPECT_EQ(put_state("enabled"), 0);
    EXPECT_EQ(parameter_block[25], 1);
    EXPECT_EQ(text_of(document_of(VARN_GetNetAppsSecureDyn), "nasdyn:State"), "enabled");
    EXPECT_EQ(put_state("removed"), 0);
    EXPECT_EQ(parameter_block[25], 0);
    const int before = block_writes;
    EXPECT_EQ(VARN_PutNetAppsSecureDyn(document("nasdyn:NetAppsSecureDyn", "").c_str()), 0);
    EXPECT_EQ(VARN_PutNetAppsSecureDyn("<a"), -1);
    EXPECT_EQ(block_writes, before);
}

} // namespace
