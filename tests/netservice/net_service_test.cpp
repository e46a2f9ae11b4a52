/// The net service of a running engine: messages in, the status block out.
#include "platform/mvtc.h"
#include "tests/engine/engine_fixture.h"

#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

namespace varn::test {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t block_size = 1384712;

class Block {
public:
    explicit Block(std::uint32_t link, std::uint32_t mode = 0) : bytes_(block_size, 0xEE) {
        EXPECT_EQ(mvtc_read_NetworkServer(link, mode, bytes_.data(), block_size), 0);
    }
    std::uint32_t word(std::size_t offset) const {
        return bytes_[offset] | bytes_[offset + 1] << 8 | bytes_[offset + 2] << 16 |
               static_cast<std::uint32_t>(bytes_[offset + 3]) << 24;
    }
    std::string text(std::size_t offset) const {
        return reinterpret_cast<const char *>(&bytes_[offset]);
    }

private:
    std::vector<std::uint8_t> bytes_;
};

int32_t send(std::uint32_t link, const std::string &message) {
    return mvtc_write2_NetworkServer(link, 14, message.data(),
                                     static_cast<std::uint32_t>(message.size()));
}

int32_t power(std::uint32_t link, std::uint32_t command, std::uint8_t on) {
    const std::uint8_t word[4] = {on, 0, 0, 0};
    return mvtc_write2_NetworkServer(link, command, word, 4);
}

std::string file_content(const std::string &path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

/// A tree with its start-up content, before the engine starts.
struct FilledTree {
    FilledTree() {
        std::filesystem::copy(VARN_ROOTFS_DIR, tree.path(),
                              std::filesystem::copy_options::recursive |
                                  std::filesystem::copy_options::overwrite_existing);
    }
    TempTree tree;
};

class NetService : public FilledTree, public testing::Test {
protected:
    const std::string &root() const { return tree.path(); }
    void ctl(std::vector<std::string> words) const {
        const Finished run = run_ctl(root(), words);
        EXPECT_EQ(run.status, 0) << run.output;
    }
    nlohmann::json state() const {
        return nlohmann::json::parse(run_ctl(root(), {"net", "state"}).output);
    }
    char carrier(const char *interface) const {
        return file_content(root() + "/sys/class/net/" + interface + "/carrier").at(0);
    }

    EngineProcess engine{tree.path()};
    Link link{tree.path()};
};

std::string station(const std::string &ssid, const std::string &phrase) {
    return "<WIRELESS><wlan0><EnableInterface>1</EnableInterface><WirelessMode>STATION"
           "</WirelessMode><Wireless>  <Station>    <SSID>" +
           ssid +
           "</SSID>    <Security>WPA-PSK+WPA2-PSK</Security>    <Wpa>      <Encryption>AES+TKIP"
           "</Encryption>      <Password>" +
           phrase + "</Password>    </Wpa>  </Station></Wireless></wlan0></WIRELESS>";
}

std::string open_station(const std::string &ssid) {
    return "<WIRELESS><wlan0><EnableInterface>1</EnableInterface><WirelessMode>STATION"
           "</WirelessMode><Wireless>  <Station>    <SSID>" +
           ssid +
           "</SSID>    <Security>NONE</Security>    <Channel>0</Channel>  </Station></Wireless>"
           "</wlan0></WIRELESS>";
}

std::string eth0(const std::string &settings) {
    return "<ETHERNET><eth0>" + settings + "</eth0></ETHERNET>";
}

std::string wps(const std::string &request) {
    return "<SETVALUE><wlan0><Wireless><WPS>" + request + "</WPS></Wireless></wlan0></SETVALUE>";
}

TEST_F(NetService, messages_reach_their_place_in_the_block_and_stay_over_a_restart) {
    struct Case {
        std::string message;
        std::size_t offset;
        const char *text; ///< null: a word
        std::uint32_t word;
    };
    constexpr std::size_t wlan0 = 137696;
    constexpr std::size_t wlan1 = 2 * wlan0;
    const Case cases[] = {
        {eth0("<IPv4>  <EnableStaticIP>1</EnableStaticIP>  <Address>10.1.2.3</Address>  "
              "<Submask>255.0.0.0</Submask></IPv4>"),
         1424, "10.1.2.3", 0},
        {eth0("<IPv4><Gateway>10.1.2.1</Gateway></IPv4>"), 1504, "10.1.2.1", 0},
        {eth0("<IPv4>  <EnableDomainNameStatic>1</EnableDomainNameStatic>  <EnableDnsIPStatic>1"
              "</EnableDnsIPStatic>  <DnsIP2>10.9.9.9</DnsIP2></IPv4>"),
         1292, "10.9.9.9", 0},
        {"<WIRELESS><wlan0><IPv4>  <EnableStaticIP>1</EnableStaticIP>  <EnableDhcpClient>1"
         "<EnableDhcpClient></IPv4></wlan0></WIRELESS>",
         wlan0 + 944, nullptr, 1},
        {"<WIRELESS><wlan1><IPv4><EnableAutoIP>1</EnableAutoIP></IPv4></wlan1></WIRELESS>",
         wlan1 + 956 + 1264, nullptr, 1},
        {eth0("<IPv6>  <Address>2001:db8::5</Address>  <PrefixLength>48</PrefixLength></IPv6>"),
         4768, "2001:db8::5", 0},
        {eth0("<IPv6><EnableAUTOCONF>0</EnableAUTOCONF><EnableStaticIP>1</EnableStaticIP></IPv6>"),
         4740, nullptr, 1},
        {"<SYSTEM><EnableIPv6>0</EnableIPv6></SYSTEM>", wlan1 + 4732 + 864, nullptr, 0},
        {"<SYSTEM><Hostname>front-desk</Hostname></SYSTEM>", 1337948, "front-desk", 0},
        {station("Caf&amp;&lt;e&gt;", "a&quot;b'cdefg"), 144828, "Caf&<e>", 0},
        {station("Lab", "a&quot;b'cdefg"), 145408, "a\"b'cdefg", 0},
        {open_station("R&D <b> \xE9"), 144828, "R&D <b> \xE9", 0},
        {"<WIRELESS><Wlan1><WirelessMode>DIRECT-GO</WirelessMode><Wireless>  <Direct>    "
         "<EnableGroupOwner>1</EnableGroupOwner>    <EnableAutoBushButton>1"
         "</EnableAutoBushButton>    <EnablePersistent>0</EnablePersistent>    <SSID>A<B&C</SSID>"
         "    <Encryption>WPA_WPA2_PSK</Encryption>    <Password>40715928</Password>    "
         "<Channel>6</Channel>  </Direct></Wireless></Wlan1></WIRELESS>",
         409884, "A<B&C", 0},
        {"<WIRELESS><Wlan1><Wireless>  <Direct>    <SSID></SSID>    <Password>new-phrase"
         "</Password>  </Direct></Wireless></Wlan1></WIRELESS>",
         410156, "new-phrase", 0},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(send(link, c.message), 0) << c.message;
        const Block block(link);
        if (c.text != nullptr)
            EXPECT_EQ(block.text(c.offset), c.text) << c.message;
        else
            EXPECT_EQ(block.word(c.offset), c.word) << c.message;
    }
    EXPECT_EQ(Block(link).text(409884), "A<B&C") << "a pass phrase alone keeps the name";
    EXPECT_EQ(Block(link).text(1338860), "10.1.2.3");

    EXPECT_EQ(engine.end(SIGTERM), 0);
    const EngineProcess again(root());
    const Link new_link(root());
    const Block block(new_link);
    EXPECT_EQ(block.text(1337948), "front-desk");
    EXPECT_EQ(block.text(144828), "R&D <b> \xE9");
    EXPECT_EQ(block.text(410156), "new-phrase");
    EXPECT_EQ(block.word(4808), 48U);
    EXPECT_EQ(mvtc_cmd_factorydefault(new_link), 0);
    EXPECT_EQ(Block(new_link).text(410156), "");
    EXPECT_EQ(Block(new_link).text(1337948), Block(new_link).text(1338028));
}

TEST_F(NetService, station_joins_with_the_right_pass_phrase_only) {
    ctl({"net", "network", "add", "Lab", "WPA2-PSK", "open sesame", "3"});
    EXPECT_EQ(send(link, station("Lab", "wrong phrase")), 0);
    EXPECT_EQ(Block(link).word(1352976 + 14864), 0U);
    EXPECT_EQ(carrier("wlan0"), '0');
    EXPECT_EQ(send(link, station("Lab", "open sesame")), 0);
    EXPECT_EQ(carrier("wlan0"), '1');
    const Block joined(link);
    EXPECT_EQ(joined.word(1352976 + 14864), 1U);
    EXPECT_EQ(joined.text(1358436), "Lab");
    EXPECT_EQ(joined.word(1358624), 3U);
    EXPECT_EQ(joined.text(1338860 + 14864).rfind("192.168.20.", 0), 0U);

    EXPECT_EQ(power(link, 12, 0), 0);
    EXPECT_EQ(carrier("wlan0"), '0');
    EXPECT_EQ(Block(link).word(1352972 + 14864), 0U);
    EXPECT_EQ(power(link, 12, 1), 0);
    EXPECT_EQ(carrier("wlan0"), '1');
    ctl({"net", "network", "remove", "Lab"});
    EXPECT_EQ(carrier("wlan0"), '0');
    EXPECT_EQ(send(link, open_station("Guest")), 0);
    EXPECT_EQ(Block(link).text(1358436), "Guest");
}

TEST_F(NetService, dhcp_lease_names_and_link_local_address) {
    const std::string leases = root() + "/var/db/dhclient_v4eth0.leases";
    EXPECT_EQ(Block(link).text(1338860).rfind("192.168.10.", 0), 0U);
    EXPECT_EQ(file_content(leases).find("host-name"), std::string::npos);
    ctl({"net", "dhcp", "on", "reception"});
    EXPECT_EQ(Block(link).text(1337948), "reception");
    EXPECT_NE(file_content(leases).find("\n  option host-name \"reception\";\n"),
              std::string::npos);
    ctl({"net", "dhcp", "off"});
    EXPECT_EQ(Block(link).text(1338860), "0.0.0.0");
    EXPECT_FALSE(std::filesystem::exists(leases));
    EXPECT_EQ(send(link, eth0("<IPv4><EnableAutoIP>1</EnableAutoIP></IPv4>")), 0);
    EXPECT_EQ(Block(link).text(1338860).rfind("169.254.", 0), 0U);
    EXPECT_EQ(Block(link).text(1338900), "255.255.0.0");

    EXPECT_EQ(power(link, 11, 0), 0);
    EXPECT_EQ(carrier("eth0"), '0');
    ctl({"net", "carrier", "eth0", "up"});
    EXPECT_EQ(carrier("eth0"), '0') << "a cable does not switch the adapter on";
    EXPECT_EQ(power(link, 11, 1), 0);
    EXPECT_EQ(carrier("eth0"), '1');
    ctl({"net", "carrier", "eth0", "down"});
    EXPECT_EQ(Block(link).word(1352976), 0U);
}

TEST_F(NetService, lists_and_statistics) {
    ctl({"net", "network", "add", "Shop", "WPA-PSK+WPA2-PSK", "pass-phrase", "1"});
    const Block scanned(link, 4);
    ASSERT_EQ(scanned.word(1276288), 4U);
    const std::size_t shop = 1276292 + 3 * 756;
    EXPECT_EQ(scanned.text(shop), "Shop");
    EXPECT_EQ(scanned.text(shop + 392), "WPA-PSK+WPA2-PSK");
    EXPECT_EQ(scanned.text(shop + 432), "AES+TKIP");
    EXPECT_EQ(static_cast<int32_t>(scanned.word(shop + 348)), -80);
    EXPECT_EQ(Block(link).word(1276288), 4U) << "the list holds for the read behind it";
    for (int i = 4; i < 40; ++i)
        ctl({"net", "network", "add", "N" + std::to_string(i), "NONE", "2"});
    EXPECT_EQ(run_ctl(root(), {"net", "network", "add", "one more", "NONE"}).status, 1);
    EXPECT_EQ(Block(link, 4).text(1276292 + 39 * 756), "N39");

    ctl({"net", "client", "join", "phone"});
    EXPECT_EQ(Block(link, 5).word(1378372), 0U) << "the access point is off";
    EXPECT_EQ(power(link, 13, 1), 0);
    EXPECT_EQ(carrier("wlan1"), '1');
    const Block clients(link, 5);
    EXPECT_EQ(clients.word(1378372), 1U);
    EXPECT_EQ(clients.text(1378376), "phone");
    EXPECT_EQ(clients.text(1378376 + 136), "192.168.223.100");
    EXPECT_EQ(clients.word(1382700), 1U) << "power of wlan1, behind the clients";

    const std::uint32_t before = Block(link, 1).word(1275952);
    std::this_thread::sleep_for(300ms);
    EXPECT_GT(Block(link, 1).word(1275952), before);
    EXPECT_EQ(Block(link, 2).word(1306540), 0U) << "wlan0 is in no network";
    EXPECT_GT(Block(link, 3).word(1306540), 0U);
}

TEST_F(NetService, wps_sessions_end_as_the_partner_lets_them) {
    constexpr std::size_t running = 1367892;
    constexpr std::size_t no_partner = 1367896;
    constexpr std::size_t bad_pin = 1367900;
    constexpr std::size_t cancelled = 1367904;
    constexpr std::size_t succeeded = 1367908;
    const auto ended = [&] {
        for (int i = 0; i < 100 && Block(link).word(running) != 0; ++i)
            std::this_thread::sleep_for(100ms);
        return Block(link);
    };
    EXPECT_EQ(send(link, wps("<GetPinCode>1</GetPinCode>")), 0);
    const std::string pin = Block(link).text(1306624);
    EXPECT_EQ(pin.size(), 8U);

    EXPECT_EQ(send(link, wps("<PushButton>1</PushButton>")), 0);
    EXPECT_EQ(Block(link).word(running), 1U);
    EXPECT_EQ(Block(link, 6).word(cancelled), 1U);
    EXPECT_EQ(Block(link, 6).word(running), 0U);
    EXPECT_EQ(send(link, wps("<RunPinCode>" + pin + "</RunPinCode>")), 0);
    EXPECT_EQ(Block(link).word(cancelled), 0U);
    EXPECT_EQ(send(link, wps("<Cancel>1</Cancel>")), 0);
    EXPECT_EQ(Block(link).word(cancelled), 1U);

    EXPECT_EQ(send(link, wps("<PushButton>1</PushButton>")), 0);
    EXPECT_EQ(ended().word(no_partner), 1U);
    ctl({"net", "wps", "partner", "on"});
    EXPECT_EQ(send(link, wps("<RunPinCode>12345678</RunPinCode>")), 0);
    EXPECT_EQ(ended().word(bad_pin), 1U);
    EXPECT_EQ(send(link, wps("<RunPinCode>" + pin + "</RunPinCode>")), 0);
    const Block block = ended();
    EXPECT_EQ(block.word(succeeded), 1U);
    EXPECT_EQ(block.word(bad_pin), 0U);
    EXPECT_EQ(block.text(144828), "Office");
    EXPECT_EQ(Block(link).text(1358436), "Office") << "and is joined";
}

TEST_F(NetService, what_makes_no_sense_is_refused_and_changes_nothing) {
    const std::string deep = [] {
        std::string text;
        for (int i = 0; i < 10000; ++i)
            text += "<IPv4>";
        return text;
    }();
    const std::string bad[] = {
        "",
        "<",
        "&",
        std::string(64, '\0'),
        std::string(1 << 20, 'x'),
        deep,
        "<!DOCTYPE a [<!ENTITY b \"c\">]><SYSTEM><Hostname>&b;</Hostname></SYSTEM>",
        "<SYSTEM><Hostname>" + std::string(64, 'h') + "</Hostname></SYSTEM>",
        "<SYSTEM><Fan>1</Fan></SYSTEM>",
        "<ETHERNET><eth1><IPv4><Gateway>1.2.3.4</Gateway></IPv4></eth1></ETHERNET>",
        eth0("<IPv4><Gateway>1.2.3</Gateway></IPv4>"),
        eth0("<IPv4>  <EnableStaticIP>1</EnableStaticIP>  <Address>10.0.0.1</Address>  "
             "<Submask>wide</Submask></IPv4>"),
        eth0("<IPv6>  <Address>::1</Address>  <PrefixLength>129</PrefixLength></IPv6>"),
        station(std::string(33, 's'), "pass-phrase"),
        station("s", std::string(65, 'p')),
    };
    const nlohmann::json config = state();
    for (const std::string &message : bad)
        EXPECT_LT(send(link, message), 0) << message.substr(0, 100);
    std::mt19937 random(7);
    for (int i = 0; i < 300; ++i) {
        std::string noise(random() % 400, ' ');
        for (char &c : noise)
            c = static_cast<char>(random());
        const std::string whole = station("Lab", "pass-phrase");
        send(link, i % 2 == 0 ? noise : whole.substr(0, random() % whole.size()));
    }
    EXPECT_LT(power(link, 15, 1), 0);
    EXPECT_LT(power(link, 11, 2), 0);
    EXPECT_LT(mvtc_write2_NetworkServer(link, 11, "1", 1), 0);
    EXPECT_LT(mvtc_write2_NetworkServer(link, 10, "short", 5), 0);
    std::vector<char> room(block_size);
    EXPECT_LT(mvtc_read_NetworkServer(link, 7, room.data(), block_size), 0);
    EXPECT_LT(mvtc_read_NetworkServer(link, 0, room.data(), 64), 0);
    for (const char *part : {"/hostName", "/station", "/interfaces/eth0/address", "/networks"}) {
        const nlohmann::json::json_pointer pointer(part);
        EXPECT_EQ(state().at(pointer), config.at(pointer)) << part;
    }
}

TEST_F(NetService, host_name_command_and_agent_restarts) {
    std::vector<char> name(64);
    std::strcpy(name.data(), "dock-7");
    EXPECT_EQ(mvtc_write2_NetworkServer(link, 10, name.data(), 64), 0);
    EXPECT_EQ(Block(link).text(1337948), "dock-7");
    EXPECT_EQ(state().at("snmpRestarts"), 0);
    EXPECT_EQ(run_program({root() + "/usr/bin/RestartSnmp"}).status, 0);
    EXPECT_EQ(run_program({root() + "/usr/bin/RestartSnmp"}).status, 0);
    EXPECT_EQ(state().at("snmpRestarts"), 2);
}

TEST_F(NetService, command_line_refuses_with_a_reason) {
    struct Case {
        std::vector<std::string> words;
        int status;
        const char *says;
    };
    const Case cases[] = {
        {{"net", "network", "add", "X"}, 2, "network"},
        {{"net", "network", "add", "X", "WPA9"}, 1, "no such security"},
        {{"net", "network", "add", "X", "WPA2-PSK"}, 1, "pass phrase of 8"},
        {{"net", "network", "add", "X", "NONE", "9"}, 1, "0 to 5"},
        {{"net", "network", "remove", "X"}, 1, "no such network: X"},
        {{"net", "client", "leave", "X"}, 1, "no such client: X"},
        {{"net", "wps", "partner", "maybe"}, 2, "wps"},
        {{"net", "dhcp", "off", "name"}, 2, "dhcp"},
    };
    for (const Case &c : cases) {
        const Finished run = run_ctl(root(), c.words);
        EXPECT_EQ(run.status, c.status) << testing::PrintToString(c.words);
        EXPECT_NE(run.output.find(c.says), std::string::npos) << run.output;
    }
    const std::string list = run_ctl(root(), {"net", "list"}).output;
    EXPECT_NE(list.find("WPA2-PSK          Office\n"), std::string::npos) << list;
}

} // namespace
} // namespace varn::test
