// Profiles: what a GET tells of the block, and the messages that a PUT becomes.
#include "tests/iomgmt/net_fixture.h"
#include "tests/support/waits.h"

using namespace varn::test;

namespace {

using Messages = std::vector<std::string>;

class ProfilePut : public NetTest {
protected:
    static std::string wifi(const std::string &elements) {
        return "<io:AdapterProfile><io:WifiProfile>" + elements +
               "</io:WifiProfile></io:AdapterProfile>";
    }
    static std::string ipv4(const std::string &elements) {
        return "<io:NetworkProfile><io:IPv4Network>" + elements +
               "</io:IPv4Network></io:NetworkProfile>";
    }
    static std::string ipv6(const std::string &elements) {
        return "<io:NetworkProfile><io:IPv6Network>" + elements +
               "</io:IPv6Network></io:NetworkProfile>";
    }
    static std::string ssid(std::string_view name) {
        return "<wifi:SSID>" + hex(name) + "</wifi:SSID>";
    }
    static std::string type(const std::string &word) {
        return "<wifi:EncryptionType>" + word + "</wifi:EncryptionType>";
    }
    static std::string phrase(std::string_view key) {
        return "<io:KeyInfo><io:WpaPassPhraseInfo><wifi:RsnEncryption>AES</wifi:RsnEncryption>"
               "<wifi:RsnAuthorization>WPA2</wifi:RsnAuthorization><wifi:PassPhrase>" +
               hex(key) + "</wifi:PassPhrase></io:WpaPassPhraseInfo></io:KeyInfo>";
    }
    static std::string wep(std::string_view key, const std::string &index) {
        return "<io:KeyInfo><io:WepKeys><io:WepKey><wifi:WepKey>" + hex(key) +
               "</wifi:WepKey><wifi:WepArrayIndex>1</wifi:WepArrayIndex></io:WepKey>"
               "<wifi:WEPKeyIndex>" +
               index + "</wifi:WEPKeyIndex></io:WepKeys></io:KeyInfo>";
    }
    static std::string priority(const std::string &method) {
        return "<dd:IPv4AutoAssignmentPriority><dd:ConfigMethod>" + method +
               "</dd:ConfigMethod></dd:IPv4AutoAssignmentPriority>";
    }
    static std::string element(const std::string &name, const std::string &text) {
        return "<" + name + ">" + text + "</" + name + ">";
    }

    static Messages put(const char *adapter, const std::string &elements) {
        EXPECT_EQ(
            VARN_PutIoMgmtAdaptersProfiles(adapter, "1", document("io:Profile", elements).c_str()),
            0);
        return sent();
    }
    struct Row {
        const char *what;
        const char *adapter;
        std::string elements;
        Messages messages;
    };
    static void check(const std::vector<Row> &rows) {
        for (const Row &row : rows)
            EXPECT_EQ(put(row.adapter, row.elements), row.messages) << row.what;
    }

    static std::string protected_network(const std::string &name, const std::string &key) {
        return "14 <WIRELESS><wlan0><EnableInterface>1</EnableInterface>"
               "<WirelessMode>STATION</WirelessMode><Wireless>  <Station>    <SSID>" +
               name +
               "</SSID>    <Security>WPA-PSK+WPA2-PSK</Security>    <Wpa>      "
               "<Encryption>AES+TKIP</Encryption>      <Password>" +
               key + "</Password>    </Wpa>  </Station></Wireless></wlan0></WIRELESS>";
    }
    static std::string access_point(const std::string &values) {
        return "14 <WIRELESS><Wlan1><WirelessMode>DIRECT-GO</WirelessMode><Wireless>  <Direct>    "
               "<EnableGroupOwner>1</EnableGroupOwner>    "
               "<EnableAutoBushButton>1</EnableAutoBushButton>    "
               "<EnablePersistent>0</EnablePersistent>    " +
               values + "  </Direct></Wireless></Wlan1></WIRELESS>";
    }
    static std::string eth(const std::string &version, const std::string &values) {
        return "14 <ETHERNET><eth0><" + version + ">" + values + "</" + version +
               "></eth0></ETHERNET>";
    }
};

TEST_F(ProfilePut, wifi_networks) {
    const std::string open_network =
        "14 <WIRELESS><wlan0><EnableInterface>1</EnableInterface>"
        "<WirelessMode>STATION</WirelessMode><Wireless>  <Station>    <SSID>a&b</SSID>    "
        "<Security>NONE</Security>    <Channel>0</Channel>  </Station></Wireless></wlan0>"
        "</WIRELESS>";
    const std::string wep_network =
        "14 <WIRELESS><wlan0><EnableInterface>1</EnableInterface>"
        "<WirelessMode>STATION</WirelessMode><Wireless> <Station> <SSID>a&amp;b</SSID> "
        "<Security>WEP64+WEP128</Security> <Channel>0</Channel> <Wep> <Encryption>WEP</Encryption> "
        "<tx_keyidx>2</tx_keyidx> <key2>k&lt;y</key2> </Wep> </Station></Wireless></wlan0>"
        "</WIRELESS>";
    check({
        {"open, name as it is", "wifi0", wifi(ssid("a&b") + type("none")), {open_network}},
        {"WEP, escaped",
         "wifi0",
         wifi(ssid("a&b") + type("WEP") + wep("k<y", "index3")),
         {wep_network}},
        {"WPA2",
         "wifi0",
         wifi(ssid("a&b") + type("WPA2") + phrase("p\"")),
         {protected_network("a&amp;b", "p&quot;")}},
        {"enterprise goes the same way",
         "wifi0",
         wifi(ssid("n") + type("WPA_Enterprise") + phrase("key")),
         {protected_network("n", "key")}},
        {"no encryption type", "wifi0", wifi(ssid("n") + phrase("key")), {}},
        {"a name for eth0", "eth0", wifi(ssid("n") + type("none")), {}},
        {"access point: phrase with an empty name, then name with the fixed password",
         "wifi1",
         wifi(ssid("spot") + phrase("mine")),
         {access_point("<SSID></SSID>    <Password>mine</Password>    <Channel>6</Channel>"),
          access_point("<SSID>spot</SSID>    <Encryption>WPA_WPA2_PSK</Encryption>    "
                       "<Password>40715928</Password>    <Channel>6</Channel>")}},
        {"a name beyond all bounds", "wifi0", wifi(ssid(std::string(300, 'n')) + type("none")), {}},
    });
    EXPECT_EQ(waits.seconds.load(), 4 * 8U);
}

TEST_F(ProfilePut, wep_key_index_stays_in_range) {
    const struct {
        const char *index;
        const char *sent;
    } rows[] = {{"auto", "<tx_keyidx>0</tx_keyidx> <key0>"},
                {"index1", "<tx_keyidx>0</tx_keyidx> <key0>"},
                {"index4", "<tx_keyidx>3</tx_keyidx> <key3>"}};
    for (const auto &row : rows) {
        const Messages messages = put("wifi0", wifi(ssid("n") + type("WEP") + wep("k", row.index)));
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_NE(messages[0].find(row.sent), std::string::npos) << messages[0];
    }
}

TEST_F(ProfilePut, ipv4) {
    const std::string auto_ip = "<EnableAutoIP>1</EnableAutoIP>";
    const std::string dhcp = "  <EnableStaticIP>0</EnableStaticIP>  "
                             "<EnableDhcpClient>1</EnableDhcpClient>  ";
    const std::string dns = "  <EnableDomainNameStatic>1</EnableDomainNameStatic>  "
                            "<EnableDnsIPStatic>1</EnableDnsIPStatic>  ";
    const auto server = [](const std::string &text) {
        return element("dd:DNSServerIPAddress", text);
    };
    const auto second = [](const std::string &text) {
        return element("dd:SecondaryDNSServerIPAddress", text);
    };
    const std::string back_to_dhcp =
        "14 <WIRELESS><wlan0><IPv4><EnableStaticIP>0</EnableStaticIP>"
        "<EnableDhcpClient>1</EnableDhcpClient></IPv4></wlan0></WIRELESS>";
    check({
        {"manual",
         "eth0",
         ipv4(priority("manual")),
         {eth("IPv4", "  <EnableStaticIP>1</EnableStaticIP>  "
                      "<EnableDhcpClient>1<EnableDhcpClient>")}},
        {"auto", "eth0", ipv4(priority("auto")), {eth("IPv4", dhcp + auto_ip)}},
        {"autoIP", "eth0", ipv4(priority("autoIP")), {eth("IPv4", auto_ip)}},
        {"bootP", "eth0", ipv4(priority("bootP")), {}},
        {"all in their order",
         "eth0",
         ipv4(element("dd:IPAddress", "10.0.0.2") + element("dd:SubnetMask", "255.0.0.0") +
              element("dd:DefaultGateway", "10.0.0.1") + element("io:DNSConfigMethod", "manual") +
              server("1.1.1.1") + second("2.2.2.2") + priority("manual")),
         {eth("IPv4", "  <EnableStaticIP>1</EnableStaticIP>  "
                      "<EnableDhcpClient>1<EnableDhcpClient>"),
          eth("IPv4", "  <EnableStaticIP>1</EnableStaticIP>  <Address>10.0.0.2</Address>  "
                      "<Submask>255.0.0.0</Submask>"),
          eth("IPv4", "<Gateway>10.0.0.1</Gateway>"), eth("IPv4", dns + "<DnsIP1>1.1.1.1</DnsIP1>"),
          eth("IPv4", dns + "<DnsIP2>2.2.2.2</DnsIP2>"),
          eth("IPv4", "<EnableStaticIP>1</EnableStaticIP><EnableDhcpClient>0</EnableDhcpClient>")}},
        {"two empty servers name wlan0, whichever adapter it is",
         "eth0",
         ipv4(server("") + second("-")),
         {back_to_dhcp}},
        {"second server alone",
         "eth0",
         ipv4(server("") + second("2.2.2.2")),
         {eth("IPv4", dns + "<DnsIP2>2.2.2.2</DnsIP2>")}},
        {"an absent server is left as it is",
         "eth0",
         ipv4(server("1.1.1.1")),
         {eth("IPv4", dns + "<DnsIP1>1.1.1.1</DnsIP1>")}},
        {"one empty server says nothing", "eth0", ipv4(server("")), {}},
        {"a mask without an address", "eth0", ipv4(element("dd:SubnetMask", "255.0.0.0")), {}},
        {"any DNS method but manual",
         "eth0",
         ipv4(element("io:DNSConfigMethod", "auto")),
         {eth("IPv4", "<EnableStaticIP>0</EnableStaticIP><EnableDhcpClient>1</EnableDhcpClient>")}},
    });
}

TEST_F(ProfilePut, automatic_addresses_follow_the_status_file_of_eth0) {
    const struct {
        const char *file;
        const char *value;
    } rows[] = {{"0\n", "0"},        {"1\n", "1"},  {"state=0\nother\n", "0"},
                {"0\nnow 1\n", "1"}, {"10\n", "0"}, {"\n", "1"}};
    for (const auto &row : rows) {
        tree.put("tmp/eth0_Ipv4DhcpAutoStatus", row.file);
        const Messages messages = put("wifi1", ipv4(priority("DHCPv4")));
        ASSERT_EQ(messages.size(), 1U) << row.file;
        EXPECT_NE(messages[0].find(std::string("<EnableAutoIP>") + row.value), std::string::npos)
            << row.file << messages[0];
        EXPECT_TRUE(messages[0].starts_with("14 <WIRELESS><wlan1><IPv4>")) << messages[0];
    }
}

TEST_F(ProfilePut, ipv6) {
    const std::string autoconf = eth("IPv6", "<EnableAUTOCONF>1</EnableAUTOCONF>"
                                             "<EnableStaticIP>0</EnableStaticIP>");
    const std::string fixed = eth("IPv6", "<EnableAUTOCONF>0</EnableAUTOCONF>"
                                          "<EnableStaticIP>1</EnableStaticIP>");
    const std::string enable = eth("IPv6", "<Enable_>1</Enable_>");
    const std::string names_off =
        "14 <WIRELESS><wlan0><IPv6><EnableDomainNameStatic>0</EnableDomainNameStatic>"
        "<EnableDnsIPStatic>0</EnableDnsIPStatic></IPv6></wlan0></WIRELESS>";
    const std::string dns_off = eth("IPv6", "  <EnableDnsIPStatic>0</EnableDnsIPStatic>");
    const std::string on = element("dd:IPv6", "enabled");
    const std::string good = element("dd:DNSServerIPAddress", "2001:db8::1");
    const std::string bad = element("dd:DNSServerIPAddress", "1.2.3.4");
    const std::string bad2 = element("dd:SecondaryDNSServerIPAddress", "nothing");
    const std::string good2 = element("dd:SecondaryDNSServerIPAddress", "2001:db8::2");
    check({
        {"nothing given", "eth0", ipv6(""), {autoconf, names_off}},
        {"64 without a prefix length",
         "eth0",
         ipv6(element("dd:IPAddress", "fd00::2")),
         {fixed, eth("IPv6", "  <Address>fd00::2</Address>  <PrefixLength>64</PrefixLength>"),
          names_off}},
        {"a server: the last message again", "eth0", ipv6(on + good), {autoconf, enable, enable}},
        {"without dd:IPv6 it is the one before", "eth0", ipv6(good), {autoconf, autoconf}},
        {"the second server alone is usable",
         "eth0",
         ipv6(on + bad + good2),
         {autoconf, enable, enable}},
        {"one that is none", "eth0", ipv6(on + bad), {autoconf, enable}},
        {"two that are none", "eth0", ipv6(on + bad + bad2), {autoconf, enable, dns_off}},
    });
}

TEST_F(ProfilePut, what_cannot_be_read_is_acted_on_as_far_as_it_was) {
    const std::string whole =
        document("io:Profile", ipv4(element("dd:DefaultGateway", "10.0.0.1")) + "<dd:IsSelected");
    EXPECT_EQ(VARN_PutIoMgmtAdaptersProfiles("eth0", "1", whole.c_str()), 0);
    for (size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(VARN_PutIoMgmtAdaptersProfiles("wifi1", "1", whole.substr(0, length).c_str()), 0);
    sent();
    EXPECT_EQ(VARN_PutIoMgmtAdaptersProfiles("eth0", "1", nullptr), -1);
    EXPECT_EQ(VARN_PutIoMgmtAdaptersProfiles("usb", "1", whole.c_str()), 404);
    EXPECT_EQ(VARN_PutIoMgmtAdaptersProfiles("eth1", "1", whole.c_str()), 404);
    EXPECT_EQ(sent(), Messages{});
}

class ProfileGet : public NetTest {
protected:
    static void flags(uint32_t is_static, uint32_t dhcp, uint32_t auto_ip, uint32_t dns,
                      size_t interface_base, size_t record_base) {
        put(Word{interface_base + record_base + 944, is_static});
        put(Word{interface_base + record_base + 952, dhcp});
        put(Word{interface_base + record_base + 956, auto_ip});
        put(Word{interface_base + record_base + 1248, dns});
    }
};

TEST_F(ProfileGet, methods_differ_between_ethernet_and_wifi) {
    constexpr size_t wlan0 = 137696;
    const struct {
        uint32_t is_static, dhcp, auto_ip, dns;
        const char *wifi_method, *wifi_dns, *eth_method, *eth_dns;
    } rows[] = {
        {1, 0, 0, 0, "manual", "manual", "absent", "absent"},
        {0, 0, 1, 0, "autoIP", "manual", "autoIP", "auto"},
        {0, 0, 0, 1, "absent", "absent", "absent", "absent"},
        {0, 1, 1, 0, "auto", "auto", "autoIP", "auto"},
        {0, 1, 0, 0, "DHCPv4", "DHCPv4", "DHCPv4", "auto"},
        {0, 1, 0, 1, "DHCPv4", "manual", "DHCPv4", "manual"},
    };
    for (const auto &row : rows) {
        flags(row.is_static, row.dhcp, row.auto_ip, row.dns, wlan0, 0);
        flags(row.is_static, row.dhcp, row.auto_ip, row.dns, 0, 0);
        const std::string wifi = profile_of("wifi0");
        const std::string eth = profile_of("eth0");
        EXPECT_EQ(text_of(wifi, "dd:ConfigMethod"), row.wifi_method);
        EXPECT_EQ(text_of(wifi, "io:DNSConfigMethod"), row.wifi_dns);
        EXPECT_EQ(text_of(eth, "dd:ConfigMethod"), row.eth_method);
        EXPECT_EQ(text_of(eth, "io:DNSConfigMethod"), row.eth_dns);
        EXPECT_EQ(text_of(eth, "dd:IPv4"), row.is_static != 0 ? "enabled" : "disabled");
        EXPECT_EQ(text_of(wifi, "dd:IPv4"), "disabled");
    }
}

TEST_F(ProfileGet, servers_that_are_told_twice) {
    constexpr size_t live_wlan0 = 14864;
    flags(1, 0, 0, 0, 137696, 0);
    put(Text{1339240 + live_wlan0, "1.1.1.1"});
    put(Text{1339280 + live_wlan0, "2.2.2.2"});
    put(Text{1338860 + live_wlan0, "10.0.0.2"});
    put(Text{1338940 + live_wlan0, "1.2.3"});
    const std::string wifi = profile_of("wifi0");
    EXPECT_EQ(text_of(wifi, "dd:IPAddress"), "10.0.0.2");
    EXPECT_EQ(text_of(wifi, "dd:DefaultGateway"), "0.0.0.0");
    EXPECT_EQ(text_of(wifi, "dd:DNSServerIPAddress"), "1.1.1.1");
    EXPECT_EQ(text_of(wifi, "dd:SecondaryDNSServerIPAddress"), "1.1.1.1");

    put(Word{4732, 1});
    put(Word{5080, 1});
    put(Text{5084, "::1"});
    put(Text{5124, "::2"});
    const std::string eth = profile_of("eth0");
    EXPECT_EQ(text_of(eth, "dd:DNSServerIPAddress"), "::2");
    EXPECT_EQ(text_of(eth, "dd:SecondaryDNSServerIPAddress"), "::2");
    put(Text{5084, "::"});
    EXPECT_EQ(text_of(profile_of("eth0"), "dd:DNSServerIPAddress"), "absent");

    // The second record of the access point, whose servers a static setting does not tell.
    flags(1, 0, 0, 0, 2 * 137696, 1264);
    EXPECT_EQ(text_of(profile_of("wifi1"), "dd:SecondaryDNSServerIPAddress"), "0.0.0.0");
}

TEST_F(ProfileGet, security_texts) {
    put(Text{145408, "secret"});
    const struct {
        const char *security, *type, *mode, *authorization;
    } rows[] = {
        {"NONE", "none", "open", "absent"},
        {"WEP", "WEP", "openThenShared", "absent"},
        {"WPA-PSK", "WPA_PSK", "WPA_PSK", "WPA"},
        {"WPA2-PSK", "WPA2", "WPA2", "WPA2"},
        {"WPA-PSK+WPA2-PSK", "WPA_PSK", "WPA_PSK", "autoWPA"},
        {"EAP", "WPA2_Enterprise", "WPA2_Enterprise", "absent"},
        {"WPA-EAP", "WPA_Enterprise", "WPA_Enterprise", "absent"},
        {"", "absent", "absent", "absent"},
    };
    for (const auto &row : rows) {
        put(Text{144964, row.security});
        const std::string profile = profile_of("wifi0");
        EXPECT_EQ(text_of(profile, "wifi:EncryptionType"), row.type) << row.security;
        EXPECT_EQ(text_of(profile, "wifi:AuthenticationMode"), row.mode) << row.security;
        EXPECT_EQ(text_of(profile, "wifi:RsnAuthorization"), row.authorization) << row.security;
        EXPECT_EQ(text_of(profile, "wifi:PassPhrase"),
                  row.authorization == std::string("absent") ? "absent" : hex("secret"));
    }
}

TEST_F(ProfileGet, protocols_take_the_ipv6_record_of_the_interfaces_number) {
    constexpr size_t wlan1_base = 2 * 137696;
    constexpr size_t live_wlan1 = 2 * 14864;
    const auto protocols = [](const char *adapter) {
        return document_of([&](char **out, uint32_t *length) {
            return VARN_GetIoMgmtAdaptersProtocols(adapter, out, length);
        });
    };
    put(Word{4732 + 2 * 138128, 1});
    put(Word{944 + 1264 + wlan1_base, 0});
    put(Word{956 + 1264 + wlan1_base, 1});
    put(Text{1338860 + live_wlan1, "169.254.7.8"});
    put(Text{1338900 + live_wlan1, "255.255.0.0"});
    put(Word{1340576 + live_wlan1, 1800});
    put(Word{1340752 + live_wlan1, 3});
    const char *scopes[] = {"link", "global", "odd"};
    for (size_t i = 0; i < 3; ++i)
        put(Text{1340756 + live_wlan1 + 40 * i, scopes[i]});
    put(Word{1342436 + live_wlan1 + 4, 7200});
    const std::string wlan1 = protocols("wifi1");
    EXPECT_EQ(texts(wlan1, "dd:IPv6"), std::vector<std::string>{"enabled"});
    EXPECT_EQ(text_of(wlan1, "dd:ConfigMethod"), "autoIP");
    EXPECT_EQ(text_of(wlan1, "dd:DHCPT1"), "1800");
    EXPECT_EQ(texts(wlan1, "dd:IPConfigMethod"),
              (std::vector<std::string>{"LINK_LOCAL", "STATELESS", "odd"}));
    EXPECT_EQ(texts(wlan1, "dd:LeaseTime"),
              (std::vector<std::string>{"0", "0", "0", "7200", "0", "0"}));

    // The second record is the profile's; and no count makes more than twenty addresses.
    EXPECT_EQ(text_of(profile_of("wifi1"), "dd:IPv6"), "absent");
    put(Word{1340752, 4000000000U});
    EXPECT_EQ(texts(protocols("eth0"), "dd:IPAddressPrefixLength").size(), 20U);
}

} // namespace
