// Messages to the net service, the texts around them, and the bounds of its status block.
#include "iomgmt/messages.h"
#include "iomgmt/status_block.h"
#include "tests/support/engine_double.h"
#include "varn/frame.h"

#include <cstring>
#include <gtest/gtest.h>

using namespace varn::test;
using namespace varn::net;

namespace {

struct NetService : DeviceTest {
    NetService() { VARN_Init(7); }
    char msg[VARN_NET_MESSAGE_SIZE] = "";
};

TEST_F(NetService, builders_keep_the_oddities_of_the_format) {
    EXPECT_GT(nmsg_dhcpmanual(msg, "ETHERNET", "eth0"), 0);
    EXPECT_STREQ(msg, "<ETHERNET><eth0><IPv4>  <EnableStaticIP>1</EnableStaticIP>  "
                      "<EnableDhcpClient>1<EnableDhcpClient></IPv4></eth0></ETHERNET>");
    EXPECT_EQ(nmsg_ipv6_prefixlength(msg, "WIRELESS", "wlan1", "fe80::1", 64), 110);
    EXPECT_STREQ(msg, "<WIRELESS><wlan1><IPv6>  <Address>fe80::1</Address>  "
                      "<PrefixLength>64</PrefixLength></IPv6></wlan1></WIRELESS>");

    nmsg_wlan0_ssid_encryption_password(msg, "a&b'", "ignored", "\"<>");
    EXPECT_NE(strstr(msg, "<SSID>a&amp;b'</SSID>"), nullptr) << msg;
    EXPECT_NE(strstr(msg, "<Password>&quot;&lt;&gt;</Password>"), nullptr) << msg;
    EXPECT_NE(strstr(msg, "<Security>WPA-PSK+WPA2-PSK</Security>"), nullptr) << msg;
    nmsg_wlan1_ssid_password(msg, "a&b", "p");
    EXPECT_NE(strstr(msg, "<SSID>a&b</SSID>"), nullptr) << msg;
    EXPECT_NE(strstr(msg, "</Direct></Wireless></Wlan1></WIRELESS>"), nullptr) << msg;
}

TEST_F(NetService, ipv6_dns_servers_go_to_the_log_as_text_and_leave_the_message) {
    strcpy(msg, "last %s%n message");
    EXPECT_EQ(log_of([&] { EXPECT_EQ(nmsg_ipv6dns(msg, "g", "i", "::1", "::2"), 17); }),
              "last %s%n message");
    EXPECT_STREQ(msg, "last %s%n message");
}

TEST_F(NetService, a_message_that_does_not_fit_is_empty) {
    const std::string endless(VARN_NET_MESSAGE_SIZE, 'x');
    EXPECT_EQ(nmsg_gateway(msg, "ETHERNET", "eth0", endless.c_str()), -1);
    EXPECT_STREQ(msg, "");
    EXPECT_GT(nmsg_wlan0_ssid_encryption_password(msg, endless.c_str(), "", endless.c_str()), 0);
}

TEST_F(NetService, a_message_goes_out_without_its_terminator) {
    engine.results["write2_NetworkServer"] = -5;
    EXPECT_EQ(log_of([] { EXPECT_EQ(NetClient_Msg("<SYSTEM>"), -5); }), "NetClient_Msg: <SYSTEM>");
    EXPECT_EQ(engine.take_calls(), std::vector<std::string>{"write2_NetworkServer 7 14 <SYSTEM>"});
    EXPECT_EQ(NetClient_Msg(nullptr), -1);
}

TEST_F(NetService, small_texts) {
    EXPECT_EQ(Get_Interfance_ID("x wlan1 y"), 2);
    EXPECT_EQ(Get_Interfance_ID("wlan1 wlan0"), 1);
    EXPECT_EQ(Get_Interfance_ID("usb"), 0);

    char out[VARN_ESCAPED_SIZE] = "old and longer than the new text";
    EXPECT_STREQ(StrToStrXml(out, "'\""), "'&quot;");
    const std::string quotes(1000, '"');
    EXPECT_EQ(strlen(StrToStrXml(out, quotes.c_str())), 2046U);

    const struct {
        const char *hex;
        std::string bytes;
        int32_t result;
    } rows[] = {{"41", "A", 1},        {"", "", 1},       {"0A", "\n", 0},
                {"0A4142", "\nAB", 0}, {"414", "A\4", 0}, {"zz41", std::string("\0A", 2), 0}};
    for (const auto &row : rows) {
        memset(out, 'x', sizeof out);
        EXPECT_EQ(Hex2Ascii(out, row.hex), row.result) << row.hex;
        EXPECT_EQ(std::string(out, row.bytes.size() + 1), row.bytes + '\0') << row.hex;
    }

    EXPECT_EQ(isVaildIPv6("fe80::1"), 1);
    EXPECT_EQ(log_of([] { EXPECT_EQ(isVaildIPv6("1.2.3.4"), -1); }),
              "Invaild IPv6 address 1.2.3.4\n");
}

TEST_F(NetService, tag_scanner_cuts_as_told) {
    const struct {
        const char *text;
        uint32_t limit;
        int32_t result;
        std::string out; ///< the first eight bytes of a buffer of x
    } rows[] = {
        {"<a>abc</a>", 5, 1, std::string("abc\0\0xxx", 8)},
        {"<a>abcde</a>", 5, 1, "abcdexxx"},
        {"<a>abcdef</a>", 5, 1, std::string("abcd\0xxx", 8)},
        {"<a>abc</a>", 0, 1, std::string("abc\0xxxx", 8)},
        {"<a></a>", 4, 1, std::string("\0\0\0\0xxxx", 8)},
        {"<a>abc", 5, 0, "xxxxxxxx"},
        {"</a><a>", 5, 0, "xxxxxxxx"},
    };
    for (const auto &row : rows) {
        char out[8];
        memset(out, 'x', sizeof out);
        EXPECT_EQ(scan_tag_text(row.text, "<a>", "</a>", out, row.limit), row.result) << row.text;
        EXPECT_EQ(std::string(out, sizeof out), row.out) << row.text;
    }
    const std::string endless = "<a>" + std::string(5000, 'x') + "</a>";
    std::string out(6000, 'o');
    EXPECT_EQ(scan_tag_text(endless.c_str(), "<a>", "</a>", out.data(), 0), 1);
    EXPECT_EQ(strlen(out.c_str()), 3499U);
}

TEST_F(NetService, status_block_never_reads_outside) {
    engine.net_block.assign(StatusBlock::size, 'y');
    const StatusBlock block(Refresh::scan_list);
    EXPECT_EQ(engine.take_calls(), std::vector<std::string>{"read_NetworkServer 7 4 1384712"});
    EXPECT_EQ(block.text({StatusBlock::size - 3, 40}), "yyy");
    EXPECT_EQ(block.text({10, 40}), std::string(40, 'y'));
    EXPECT_EQ(block.text({10, 0}).size(), StatusBlock::size - 10);
    EXPECT_EQ(block.text({StatusBlock::size, 40}), "");
    EXPECT_EQ(block.word({StatusBlock::size - 4}), 0x79797979U);
    EXPECT_EQ(block.word({StatusBlock::size - 3}), 0U);
    EXPECT_EQ(block.word({~uint64_t{0}}), 0U);
    // Two billion scan entries, of which a block has room for 143.
    EXPECT_EQ(block.count({0}, {1276292, 0}, 756), (StatusBlock::size - 1276292) / 756);

    engine.results["read_NetworkServer"] = -1;
    const StatusBlock refused(Refresh::settings);
    EXPECT_EQ(refused.text(live::host_name), "");
    EXPECT_FALSE(refused.flag(live::of(live::connected, Interface::wlan1)));
}

} // namespace
