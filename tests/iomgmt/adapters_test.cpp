// Adapters, networks in range, clients, statistics, WPS, and who has which resource.
#include "tests/iomgmt/net_fixture.h"

using namespace varn::test;

namespace {

using Strings = std::vector<std::string>;

class Adapters : public NetTest {
protected:
    static std::string adapters() { return document_of(VARN_GetIoMgmtAdapters); }
    template <typename Function>
    static std::string of(Function function, const char *adapter) {
        return document_of(
            [&](char **out, uint32_t *length) { return function(adapter, out, length); });
    }
    static std::string networks(const char *ssid) {
        return document_of([&](char **out, uint32_t *length) {
            return VARN_GetIoMgmtAdaptersWifiNetworks("wifi0", ssid, out, length);
        });
    }
};

TEST_F(Adapters, all_four_in_their_order) {
    put(Word{1352972, 1});
    put(Word{1352976, 1});
    put(Text{1338604, "02:00:00:00:00:01"});
    put(Text{1358436, "office"});
    put(Text{144964, "WPA-PSK+WPA2-PSK"});
    const std::string off = adapters();
    EXPECT_EQ(texts(off, "dd:Name"), (Strings{"usb0", "eth0", "wifi0", "wifi1"}));
    EXPECT_EQ(texts(off, "io:IoMgmtResourceType"),
              (Strings{"USBAdapter", "EthernetAdapter", "WifiAdapter", "AccessPointAdapter"}));
    EXPECT_EQ(texts(off, "dd:Power"), (Strings{"on", "off", "off"}));
    EXPECT_EQ(texts(off, "dd:MacAddress"), (Strings{"02:00:00:00:00:01", "", ""}));
    EXPECT_EQ(texts(off, "io:WifiNetwork").size(), 2U);
    EXPECT_EQ(texts(off, "wifi:SSID").size(), 0U);
    EXPECT_EQ(texts(off, "io:IsCurrentRequestInterface").size(), 1U);

    put(Word{1367840, 5});
    put(Word{1358612, 11});
    put(Word{1358624, 4});
    const std::string connected = adapters();
    EXPECT_EQ(texts(connected, "wifi:SSID"), Strings{hex("office")});
    EXPECT_EQ(text_of(connected, "wifi:Channel"), "11");
    EXPECT_EQ(text_of(connected, "wifi:SignalStrength"), "4");
    EXPECT_EQ(text_of(connected, "wifi:EncryptionType"), "WPA_PSK");
    EXPECT_EQ(texts(connected, "io:IsCurrentRequestInterface").size(), 2U);

    put(Text{144964, "WPA2-EAP"});
    EXPECT_EQ(text_of(adapters(), "wifi:EncryptionType"), "WPA2_Enterprise");
    EXPECT_EQ(text_of(adapters(), "wifi:AuthenticationMode"), "WPA_Enterprise");
}

TEST_F(Adapters, power_goes_to_the_command_that_the_name_holds) {
    const auto power = [&](const char *adapter, const char *elements) {
        EXPECT_EQ(VARN_PutIoMgmtAdaptersItem(adapter, document("io:Adapter", elements).c_str()), 0);
        return sent();
    };
    const char on[] = "<io:HardwareConfig><dd:Power>on</dd:Power></io:HardwareConfig>";
    const char off[] = "<io:HardwareConfig><dd:Power>off</dd:Power></io:HardwareConfig>";
    const auto command = [](const char *number, char value) {
        return Strings{std::string(number) + " " + std::string{value, 0, 0, 0}};
    };
    EXPECT_EQ(power("wifi1", on), command("13", 1));
    EXPECT_EQ(power("wifi0", off), command("12", 0));
    EXPECT_EQ(power("eth0", on), command("11", 1));
    EXPECT_EQ(power("usb", off), command("11", 0));
    EXPECT_EQ(power("eth0", "<io:HardwareConfig></io:HardwareConfig>"), Strings{});
    EXPECT_EQ(power("eth0", ""), Strings{});
    EXPECT_EQ(VARN_PutIoMgmtAdaptersItem("usb1", on), 404);
    EXPECT_EQ(VARN_PutIoMgmtAdaptersItem(nullptr, on), 404);
    EXPECT_EQ(VARN_PutIoMgmtAdaptersItem("eth0", nullptr), -1);
}

TEST_F(Adapters, resources_that_an_adapter_has_not) {
    char *out = nullptr;
    uint32_t length = 0;
    const auto served = [&](auto function) {
        std::string adapters;
        for (const char *adapter : {"usb", "eth0", "wifi0", "wifi1", "wifi2"}) {
            const int32_t result = function(adapter);
            free(std::exchange(out, nullptr));
            EXPECT_TRUE(result == 0 || result == 404) << adapter;
            if (result == 0)
                adapters += std::string(adapter) + " ";
        }
        return adapters;
    };
    const std::string all = "eth0 wifi0 wifi1 ";
    const std::string station = "wifi0 ";
    EXPECT_EQ(served([&](auto a) { return VARN_GetIoMgmtAdaptersProfiles(a, "", &out, &length); }),
              all);
    EXPECT_EQ(served([&](auto a) { return VARN_GetIoMgmtAdaptersNetworkStats(a, &out, &length); }),
              all);
    EXPECT_EQ(served([&](auto a) { return VARN_GetIoMgmtVsaCodes(a, &out, &length); }), all);
    EXPECT_EQ(
        served([&](auto a) { return VARN_GetIoMgmtAdaptersWifiNetworks(a, "", &out, &length); }),
        "wifi0 wifi1 ");
    EXPECT_EQ(served([&](auto a) { return VARN_PostIoMgmtAdaptersPushButton(a); }), station);
    EXPECT_EQ(served([&](auto a) { return VARN_GetIoMgmtAdaptersWPSPIN(a, &out, &length); }),
              station);
    EXPECT_EQ(served([&](auto a) { return VARN_DeleteIoMgmtAdaptersPinSession(a, "1"); }), station);
    tree.remove("tmp/xml_tickets/IoMgmt");
    EXPECT_EQ(served([&](auto a) { return VARN_GetIoMgmtClientList(a, &out, &length); }), "");
}

TEST_F(Adapters, networks_in_range) {
    constexpr size_t first = 1276292;
    EXPECT_EQ(texts(networks(nullptr), "io:WifiNetwork").size(), 0U);
    const struct {
        const char *ssid, *security, *encryption;
        Strings told; ///< type, mode, encryption
    } rows[] = {
        {"a", "NONE", "NONE", {"none", "open", "none"}},
        {"b", "WPA-PSK+WPA2-PSK", "AES+TKIP", {"WPA2", "WPA2", "AESOrTKIP"}},
        {"c", "WPA2-EAP", "TKIP", {"WPA2_Enterprise", "WPA_Enterprise", "TKIP"}},
        {"d", "EAP", "AES", {"WPA_Enterprise", "WPA2_Enterprise", "AES"}},
        {"b", "WEP", "WEP", {"WEP", "openThenShared", "WEP"}},
    };
    put(Word{1276288, 5});
    for (size_t i = 0; i < std::size(rows); ++i) {
        put(Text{first + 756 * i, rows[i].ssid});
        put(Text{first + 756 * i + 392, rows[i].security});
        put(Text{first + 756 * i + 432, rows[i].encryption});
        put(Word{first + 756 * i + 556, i == 1 ? 0xFFFFFF01U : 0xFFFFFF00U});
    }
    engine.take_calls();
    const std::string all = networks("");
    EXPECT_EQ(engine.take_calls().size(), 6U) << "one read for the count, one for each network";
    EXPECT_EQ(texts(all, "wifi:WpsSupport"),
              (Strings{"disabled", "enabled", "disabled", "disabled", "disabled"}));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(texts(all, "wifi:EncryptionType")[i], rows[i].told[0]);
        EXPECT_EQ(texts(all, "wifi:AuthenticationMode")[i], rows[i].told[1]);
        EXPECT_EQ(texts(all, "io:CurrentEncryption")[i], rows[i].told[2]);
    }
    EXPECT_EQ(texts(networks("b"), "wifi:EncryptionType"), Strings{"WPA2"});
    char *out = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(VARN_GetIoMgmtAdaptersWifiNetworks("wifi0", "bb", &out, &length), 404);
    EXPECT_EQ(tree.get("tmp/xml_tickets/IoMgmt/WifiNetworks.xml"), "");

    // A count that no block holds.
    put(Word{1276288, 4000000000U});
    EXPECT_EQ(texts(networks(nullptr), "io:WifiNetwork").size(), (block_size - first) / 756);
}

TEST_F(Adapters, clients_and_statistics) {
    put(Word{1378372, 2});
    put(Text{1378376 + 216, "phone"});
    put(Text{1378376 + 216 + 136, "10.0.0.9"});
    put(Text{1378376 + 216 + 176, "02:00:00:00:00:09"});
    const std::string clients = of(VARN_GetIoMgmtClientList, "wifi1");
    EXPECT_EQ(texts(clients, "dd:Name"), (Strings{"", "phone"}));
    EXPECT_EQ(texts(clients, "dd:IPv4Address"), (Strings{"", "10.0.0.9"}));
    put(Word{1378372, static_cast<uint32_t>(-1)});
    EXPECT_EQ(texts(of(VARN_GetIoMgmtClientList, "wifi1"), "io:Client").size(), 0U);

    for (uint32_t i = 0; i < 11; ++i) {
        put(Word{1275944 + 4 * i, 100 + i});
        put(Word{1306532 + 4 * i, 200 + i});
    }
    put(Word{1359012, 7});
    const auto told = [](const std::string &document) {
        Strings values;
        for (const char *name :
             {"BadPacketsReceived", "FramingErrorsReceived", "TotalPacketsReceived",
              "TotalPacketsTransmitted", "TransmitCollisions", "TransmitLateCollisions",
              "TotalUnicastPacketsReceived", "UnsendablePackets",
              "TotalBroadcastPacketsTransmitted", "TotalBroadcastPacketsReceived",
              "TotalUnicastPacketsTransmitted"})
            values.push_back(text_of(document, std::string("dd:") + name));
        values.push_back(text_of(document, "wifi:DownlinkCount"));
        return values;
    };
    engine.take_calls();
    EXPECT_EQ(told(of(VARN_GetIoMgmtAdaptersNetworkStats, "eth0")),
              (Strings{"101", "103", "102", "105", "100", "100", "107", "106", "110", "109", "107",
                       "absent"}));
    EXPECT_EQ(told(of(VARN_GetIoMgmtAdaptersNetworkStats, "wifi0")),
              (Strings{"201", "203", "202", "205", "200", "200", "207", "206", "210", "209", "207",
                       "7"}));
    of(VARN_GetIoMgmtAdaptersNetworkStats, "wifi1");
    EXPECT_EQ(engine.take_calls(),
              (Strings{"read_NetworkServer 7 1 1384712", "read_NetworkServer 7 2 1384712",
                       "read_NetworkServer 7 3 1384712"}));
}

TEST_F(Adapters, wps_sessions) {
    const auto status = [](const char *) {
        return text_of(document_of([](char **out, uint32_t *length) {
                           return VARN_GetIoMgmtAdaptersPinSession("wifi0", "any", out, length);
                       }),
                       "wifi:WpsStatus");
    };
    const struct {
        uint32_t running, f1, f2, f3, succeeded;
        const char *status;
    } rows[] = {
        {0, 0, 0, 0, 0, "success"}, {1, 1, 0, 0, 1, "processing"}, {0, 1, 0, 0, 0, "failure"},
        {0, 0, 0, 1, 0, "failure"}, {0, 1, 1, 1, 1, "success"},
    };
    for (const auto &row : rows) {
        const uint32_t words[] = {row.running, row.f1, row.f2, row.f3, row.succeeded};
        for (size_t i = 0; i < 5; ++i)
            put(Word{1367892 + 4 * i, words[i]});
        EXPECT_EQ(status(""), row.status);
    }
    engine.take_calls();
    const std::string pin = document("io:WpsSession", "<wifi:WpsPin>12345670</wifi:WpsPin>");
    EXPECT_EQ(VARN_PostIoMgmtAdaptersPinSession("wifi0", pin.c_str()), 0);
    EXPECT_EQ(VARN_PostIoMgmtAdaptersPinSession("wifi0", document("io:WpsSession", "").c_str()), 0);
    EXPECT_EQ(VARN_PostIoMgmtAdaptersPinSession("wifi1", pin.c_str()), 404);
    EXPECT_EQ(VARN_DeleteIoMgmtAdaptersPinSession("wifi0", "1"), 0);
    EXPECT_EQ(VARN_PostIoMgmtAdaptersPushButton("wifi0"), 0);
    EXPECT_EQ(VARN_DeleteIoMgmtAdaptersPushButton("wifi0", "1"), 0);
    put(Text{1306624, "98765432"});
    EXPECT_EQ(text_of(of(VARN_GetIoMgmtAdaptersWPSPIN, "wifi0"), "wifi:WpsPin"), "98765432");
    const auto wps = [](const std::string &element) {
        return "write2_NetworkServer 7 14 <SETVALUE><wlan0><Wireless><WPS>" + element +
               "</WPS></Wireless></wlan0></SETVALUE>";
    };
    EXPECT_EQ(engine.take_calls(),
              (Strings{wps("<RunPinCode>12345670</RunPinCode>"), wps("<Cancel>1</Cancel>"),
                       wps("<PushButton>1</PushButton>"), "read_NetworkServer 7 6 1384712",
                       wps("<GetPinCode>1</GetPinCode>"), "read_NetworkServer 7 0 1384712"}));
}

TEST_F(Adapters, usb_values_of_the_capabilities) {
    const auto capabilities = [this] {
        char *out = nullptr;
        uint32_t length = 0;
        EXPECT_EQ(VARN_GetIoMgmtCap(&out, &length), 0);
        free(out);
        return tree.get("tmp/xml_tickets/IoMgmt/IoMgmtCap.xml");
    };
    tree.remove("tmp/usbdinfo.dat");
    EXPECT_EQ(text_of(capabilities(), "dd:USBVersion"), "Unknown Speed");
    EXPECT_EQ(text_of(capabilities(), "dd:USBInterface"), "0#0#0");
    tree.put("tmp/usbdinfo.dat", std::string("\x34\x12\xCD\xAB\x03\0\x03\0\x01\x07\x01\x0B", 12));
    const std::string told = capabilities();
    EXPECT_EQ(text_of(told, "dd:USBVid"), "1234");
    EXPECT_EQ(text_of(told, "dd:USBPid"), "abcd");
    EXPECT_EQ(text_of(told, "dd:USBVersion"), "USB2.0-HighSpeed");
    EXPECT_EQ(text_of(told, "dd:USBInterface"), "7#1#b");

    tree.put("sys/class/net/wlan0/carrier", "1\n");
    tree.put("sys/class/net/wlan1/carrier", "0\n");
    tree.remove("sys/class/net/eth0/carrier");
    EXPECT_EQ(get_plugstat(1), -1);
    EXPECT_EQ(get_plugstat(2), 0);
    EXPECT_EQ(get_plugstat(3), -1);
    EXPECT_EQ(log_of([] { EXPECT_EQ(get_plugstat(4), -1); }), "get_plugstat type 4 is unkonwn!\n");
}

TEST_F(Adapters, every_document_stays_inside_a_block_of_noise) {
    uint32_t state = 1;
    for (char &byte : engine.net_block) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>((state >> 24) % 0x5F + 0x20);
    }
    for (int zeros = 0; zeros < 2; ++zeros) {
        char *out = nullptr;
        uint32_t length = 0;
        for (const char *adapter : {"eth0", "wifi0", "wifi1"}) {
            for (auto *get : {VARN_GetIoMgmtAdaptersProtocols, VARN_GetIoMgmtAdaptersNetworkStats,
                              VARN_GetIoMgmtClientList}) {
                EXPECT_EQ(get(adapter, &out, &length), 0) << adapter;
                EXPECT_GT(length, 0U);
                free(out);
            }
            EXPECT_EQ(VARN_GetIoMgmtAdaptersProfiles(adapter, "", &out, &length), 0);
            free(out);
        }
        for (auto *get : {VARN_GetIoMgmtAdapters, VARN_GetIoConfig, VARN_GetNetAppsDyn}) {
            EXPECT_EQ(get(&out, &length), 0);
            free(out);
        }
        engine.net_block.assign(16, '\xFF'); // a service that sends next to nothing
    }
}

} // namespace
