/// Networks in range, clients of the access point, statistics, and the vendor codes.

#include "iomgmt/fill.h"
#include "varn/io_adapters.h"

#include <cstdio>
#include <cstring>

using varn::Document;

namespace varn::net {
namespace {

constexpr char networks_ticket[] = "/tmp/xml_tickets/IoMgmt/WifiNetworks.xml";
constexpr char statistics_ticket[] = "/tmp/xml_tickets/IoMgmt/NetStat.xml";

/// One network of the scan list, 756 bytes.
namespace scanned {
constexpr uint64_t stride = 756;
constexpr Word count{1276288};
constexpr Text ssid{1276292, 256};
constexpr Text bssid{1276292 + 256, 84};
constexpr Word signal{1276292 + 340};
constexpr Word channel{1276292 + 344};
constexpr Word dbm{1276292 + 348};
constexpr Text security{1276292 + 392, 40};
constexpr Text encryption{1276292 + 432, 124};
constexpr Word wps{1276292 + 556}; ///< a byte
} // namespace scanned

/// One client of the access point, 216 bytes.
namespace client {
constexpr uint64_t stride = 216;
constexpr Word count{1378372};
constexpr Text name{1378376, 136};
constexpr Text address{1378376 + 136, 40};
constexpr Text mac_address{1378376 + 176, 40};
} // namespace client

/// What a security text means in a list of networks. The last rows differ from those of an
/// adapter and a profile; hosts know it so.
constexpr SecurityWord security_words[] = {
    {"NONE", wifi__EncryptionType__none, wifi__AuthenticationMode__open},
    {"WEP", wifi__EncryptionType__WEP, wifi__AuthenticationMode__openThenShared},
    {"WPA-PSK", wifi__EncryptionType__WPA_USCOREPSK, wifi__AuthenticationMode__WPA_USCOREPSK},
    {"WPA2-PSK", wifi__EncryptionType__WPA2, wifi__AuthenticationMode__WPA2},
    {"WPA-PSK+WPA2-PSK", wifi__EncryptionType__WPA2, wifi__AuthenticationMode__WPA2},
    {"EAP", wifi__EncryptionType__WPA_USCOREEnterprise,
     wifi__AuthenticationMode__WPA2_USCOREEnterprise},
    {"WPA-EAP", wifi__EncryptionType__WPA2_USCOREEnterprise,
     wifi__AuthenticationMode__WPA_USCOREEnterprise},
    {"WPA2-EAP", wifi__EncryptionType__WPA2_USCOREEnterprise,
     wifi__AuthenticationMode__WPA_USCOREEnterprise},
};

struct EncryptionWord {
    const char *text;
    enum wifi__RsnEncryption encryption;
};
constexpr EncryptionWord encryption_words[] = {
    {"NONE", wifi__RsnEncryption__none},
    {"WEP", wifi__RsnEncryption__WEP},
    {"AES", wifi__RsnEncryption__AES},
    {"TKIP", wifi__RsnEncryption__TKIP},
    {"AES+TKIP", wifi__RsnEncryption__AESOrTKIP},
};

uint32_t network_count(const StatusBlock &block) {
    return block.count(scanned::count, scanned::ssid, scanned::stride);
}

/// Statistics words of an interface, relative to the first of them, which counts collisions.
struct Statistics {
    Word collisions;
    Word bad, received, framing, transmitted, unsendable, unicast, broadcast_in, broadcast_out;
};
constexpr Statistics statistics_at(uint64_t first) {
    return {{first},      {first + 4},  {first + 8},  {first + 12}, {first + 20},
            {first + 24}, {first + 28}, {first + 36}, {first + 40}};
}
constexpr Statistics ethernet_statistics = statistics_at(1275944);
constexpr Statistics wireless_statistics = statistics_at(1306532);
constexpr Word downlink_count{1359012};

void fill_statistics(Document &document, io__NetworkStats &root, const StatusBlock &block,
                     const Statistics &at) {
    auto *first = document.make<dd__NetworkStatistics>();
    auto *second = document.make<dd__NetworkStatistics2>();
    if (first == nullptr || second == nullptr)
        return;
    const auto word = [&](Word field) { return number(document, block.word(field)); };
    first->BadPacketsReceived = word(at.bad);
    first->FramingErrorsReceived = word(at.framing);
    first->TotalPacketsReceived = word(at.received);
    first->TotalPacketsTransmitted = word(at.transmitted);
    first->TransmitCollisions = word(at.collisions);
    first->TransmitLateCollisions = word(at.collisions); // the service counts them together
    first->TotalUnicastPacketsReceived = word(at.unicast);
    first->UnsendablePackets = word(at.unsendable);
    second->TotalBroadcastPacketsTransmitted = word(at.broadcast_out);
    second->TotalBroadcastPacketsReceived = word(at.broadcast_in);
    second->TotalUnicastPacketsTransmitted = word(at.unicast); // both directions are one word
    root.dd__NetworkStatistics = first;
    root.dd__NetworkStatistics2 = second;
}

void fill_parameter(Document &document, dd__KeyValuePair &parameter, const char *key,
                    const char *value) {
    parameter.Key = document.text(key);
    parameter.ValueString = document.text(value);
}

} // namespace
} // namespace varn::net

using namespace varn::net;

extern "C" {

int32_t varn_default__io__WifiNetwork(struct soap *context, io__WifiNetwork *network) {
    Document document(context);
    if (network == nullptr)
        return -1;
    network->SignalInfo = document.make<io__SignalInfo>();
    return network->SignalInfo != nullptr ? 0 : -1;
}

int32_t varn_default__io__WifiNetworks(struct soap *context, io__WifiNetworks *networks,
                                       uint32_t count) {
    Document document(context);
    if (networks == nullptr)
        return -1;
    networks->__sizeWifiNetwork = 0;
    networks->WifiNetwork_ = document.make<io__WifiNetwork>(static_cast<int>(count));
    if (networks->WifiNetwork_ == nullptr)
        return count == 0 ? 0 : -1;
    networks->__sizeWifiNetwork = static_cast<int>(count);
    for (uint32_t i = 0; i < count; ++i)
        if (varn_default__io__WifiNetwork(context, &networks->WifiNetwork_[i]) != 0)
            return -1;
    return 0;
}

int32_t varn_GetWifiNetwork(io__WifiNetwork *network, uint32_t index) {
    if (network == nullptr)
        return -1;
    const StatusBlock block(Refresh::settings);
    Document document(gSoap);
    const auto of = [&](auto field) { return step(field, index, scanned::stride); };
    network->wifi__SSID = binary(document, block.text(of(scanned::ssid)));
    network->wifi__BSSID = text(document, block, of(scanned::bssid));
    network->wifi__CommunicationMode = document.value(wifi__CommunicationMode__infrastructure);
    network->wifi__Channel = decimal(document, block.word(of(scanned::channel)));
    if (io__SignalInfo *signal = network->SignalInfo; signal != nullptr) {
        signal->wifi__SignalStrength = decimal(document, block.word(of(scanned::signal)));
        signal->wifi__MaxSignalStrength = document.text("5");
        signal->wifi__dBm = number(document, block.word(of(scanned::dbm)));
    }
    if (const SecurityWord *word = last_match(security_words, block.text(of(scanned::security)));
        word != nullptr) {
        network->wifi__EncryptionType = document.value(word->encryption);
        network->__sizeEncryptionType = network->wifi__EncryptionType != nullptr ? 1 : 0;
        network->wifi__AuthenticationMode = document.value(word->authentication);
    }
    const std::string encryption = block.text(of(scanned::encryption));
    for (const EncryptionWord &word : encryption_words)
        if (encryption.find(word.text) != std::string::npos)
            network->CurrentEncryption = document.value(word.encryption);
    network->wifi__Compatibility = document.value(wifi__Compatibility__supported);
    network->wifi__WpsSupport = enabled(document, (block.word(of(scanned::wps)) & 0xFF) != 0);
    return 0;
}

int32_t Adapter_WifiNetworks(uint32_t) {
    const uint32_t count = network_count(StatusBlock(Refresh::scan_list));
    varn::write_document<io__WifiNetworks>(
        varn::namespaced_get, networks_ticket, [&](Document &document, io__WifiNetworks &root) {
            if (varn_default__io__WifiNetworks(document.get(), &root, count) != 0)
                return;
            for (uint32_t i = 0; i < count; ++i)
                varn_GetWifiNetwork(&root.WifiNetwork_[i], i);
        });
    return 0;
}

int32_t Adapter_WifiNetworks_SSID(const char *ssid) {
    if (ssid == nullptr)
        return -1;
    const StatusBlock block(Refresh::scan_list);
    const uint32_t count = network_count(block);
    uint32_t i = 0;
    while (i < count && block.text(step(scanned::ssid, i, scanned::stride)) != ssid)
        ++i;
    if (i == count) {
        // Nothing is serialised: the ticket is there and empty.
        const int fd = varn::open_ticket(networks_ticket, varn::namespaced_get.permission);
        if (fd >= 0)
            close(fd);
        return 0;
    }
    varn::write_document<io__WifiNetworks>(
        varn::namespaced_get, networks_ticket, [&](Document &document, io__WifiNetworks &root) {
            if (varn_default__io__WifiNetworks(document.get(), &root, 1) == 0)
                varn_GetWifiNetwork(root.WifiNetwork_, i);
        });
    return 0;
}

int32_t ClientList_get(void) {
    const StatusBlock block(Refresh::client_list);
    // The service's count is signed: below 0 is none.
    const uint32_t count = static_cast<int32_t>(block.word(client::count)) > 0
                               ? block.count(client::count, client::name, client::stride)
                               : 0;
    varn::write_document<io__ClientList>(
        varn::namespaced_get, "/tmp/xml_tickets/IoMgmt/ClientList.xml",
        [&](Document &document, io__ClientList &root) {
            root.Client_ = document.make<io__Client>(static_cast<int>(count));
            if (root.Client_ == nullptr)
                return;
            root.__sizeClient = static_cast<int>(count);
            for (uint32_t i = 0; i < count; ++i) {
                const auto of = [&](Text field) {
                    return text(document, block, step(field, i, client::stride));
                };
                root.Client_[i].dd__Name_ = of(client::name);
                root.Client_[i].dd__IPv4Address_ = of(client::address);
                root.Client_[i].dd__MacAddress_ = of(client::mac_address);
            }
        });
    return 0;
}

int32_t VSACodes(void) {
    varn::write_document<io__VsaCodes>(
        varn::namespaced_get, "/tmp/xml_tickets/IoMgmt/VsaCodes.xml",
        [](Document &document, io__VsaCodes &root) {
            root.wifi__VsaVersion = document.text("1.0");
            root.wifi__VsaCode = document.make<wifi__VsaCode>();
            if (root.wifi__VsaCode == nullptr)
                return;
            root.__sizeVsaCode = 1;
            wifi__VsaCode &code = *root.wifi__VsaCode;
            code.dd__Severity = document.value(dd__Severity__Error);
            code.RuleNumber = document.text("100");
            code.VsaParam_ = document.make<dd__KeyValuePair>(2);
            if (code.VsaParam_ == nullptr)
                return;
            code.__sizeVsaParam = 2;
            fill_parameter(document, code.VsaParam_[0], "SSID", "Doe.1234");
            fill_parameter(document, code.VsaParam_[1], "BSSID", "02bad198de1234a");
        });
    return 0;
}

int32_t NetworkStats_eth0(void) {
    const StatusBlock block(Refresh::eth0_statistics);
    varn::write_document<io__NetworkStats>(
        varn::namespaced_get, statistics_ticket, [&](Document &document, io__NetworkStats &root) {
            fill_statistics(document, root, block, ethernet_statistics);
        });
    return 0;
}

int32_t NetworkStats_wifi0(uint32_t second) {
    printf("$$$$$$$$$$ NetworkStats_wifi0: soap start >>>");
    // The words are the same for both: only the read tells whose they are.
    const StatusBlock block(second == 1 ? Refresh::wlan1_statistics : Refresh::wlan0_statistics);
    varn::write_document<io__NetworkStats>(
        varn::namespaced_get, statistics_ticket, [&](Document &document, io__NetworkStats &root) {
            fill_statistics(document, root, block, wireless_statistics);
            root.wifi__WirelessStatistics = document.make<wifi__WirelessStatistics>();
            if (root.wifi__WirelessStatistics != nullptr)
                root.wifi__WirelessStatistics->DownlinkCount =
                    number(document, block.word(downlink_count));
        });
    return 0;
}
}
