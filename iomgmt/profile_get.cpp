/// GET of an adapter's profile: what is configured, and partly what is live.

#include "iomgmt/adapters.h"
#include "iomgmt/fill.h"
#include "varn/io_adapters.h"

#include <cstdio>
#include <cstring>

using varn::Document;

namespace varn::net {
namespace {

constexpr char profile_ticket[] = "/tmp/xml_tickets/IoMgmt/Profiles.xml";

/// What the station's security text means in a profile. The enterprise rows differ from those of
/// the adapters document; hosts know it so.
constexpr SecurityWord profile_words[] = {
    {"NONE", wifi__EncryptionType__none, wifi__AuthenticationMode__open},
    {"WEP", wifi__EncryptionType__WEP, wifi__AuthenticationMode__openThenShared},
    {"WPA-PSK", wifi__EncryptionType__WPA_USCOREPSK, wifi__AuthenticationMode__WPA_USCOREPSK},
    {"WPA2-PSK", wifi__EncryptionType__WPA2, wifi__AuthenticationMode__WPA2},
    {"WPA-PSK+WPA2-PSK", wifi__EncryptionType__WPA_USCOREPSK,
     wifi__AuthenticationMode__WPA_USCOREPSK},
    {"EAP", wifi__EncryptionType__WPA2_USCOREEnterprise,
     wifi__AuthenticationMode__WPA2_USCOREEnterprise},
    {"WPA-EAP", wifi__EncryptionType__WPA_USCOREEnterprise,
     wifi__AuthenticationMode__WPA_USCOREEnterprise},
};

/// Authorization of the pass phrase, for the words that have one; a later match overrides.
struct PassPhraseWord {
    const char *text;
    enum wifi__RsnAuthorization authorization;
};
constexpr PassPhraseWord pass_phrase_words[] = {
    {"WPA-PSK", wifi__RsnAuthorization__WPA},
    {"WPA2-PSK", wifi__RsnAuthorization__WPA2},
    {"WPA-PSK+WPA2-PSK", wifi__RsnAuthorization__autoWPA},
};

enum dd__ConfigMethod *method(Document &document, enum dd__ConfigMethod value) {
    return document.value(value);
}

void set_priority(Document &document, io__IPv4Network &ipv4, enum dd__ConfigMethod value) {
    auto *priority = document.make<dd__IPv4AutoAssignmentPriority>();
    if (priority == nullptr)
        return;
    priority->ConfigMethod_ = method(document, value);
    priority->__sizeConfigMethod = priority->ConfigMethod_ != nullptr ? 1 : 0;
    ipv4.dd__IPv4AutoAssignmentPriority = priority;
}

/// Which of an interface's records the profile tells: the second for the access point.
uint64_t record_of(Interface id) { return id == Interface::wlan1 ? 1 : 0; }

struct IPv4Flags {
    bool is_static, dhcp, auto_ip, static_dns;
};
IPv4Flags ipv4_flags(const StatusBlock &block, Interface id) {
    const auto flag = [&](Word field) { return block.flag(saved::ipv4(field, id, record_of(id))); };
    return {flag(saved::ipv4_static), flag(saved::ipv4_dhcp), flag(saved::ipv4_auto_ip),
            flag(saved::ipv4_static_dns)};
}

void fill_saved_dns(Document &document, io__IPv4Network &ipv4, const StatusBlock &block,
                    Interface id) {
    ipv4.dd__DNSServerIPAddress =
        text(document, block, saved::ipv4(saved::ipv4_dns1, id, record_of(id)));
    ipv4.dd__SecondaryDNSServerIPAddress =
        text(document, block, saved::ipv4(saved::ipv4_dns2, id, record_of(id)));
}

void fill_static_wifi(Document &document, io__IPv4Network &ipv4, const StatusBlock &block,
                      Interface id) {
    constexpr size_t shortest_address = 6;
    const std::string gateway = block.text(live::of(live::ipv4_gateway, id));
    ipv4.dd__IPAddress_ = text(document, block, live::of(live::ipv4_address, id));
    ipv4.dd__SubnetMask = text(document, block, live::of(live::ipv4_mask, id));
    ipv4.dd__DefaultGateway =
        document.text(gateway.size() < shortest_address ? "0.0.0.0" : gateway.c_str());
    // The second server is not told here: both elements carry the first.
    const std::string dns =
        id == Interface::wlan1 ? "0.0.0.0" : block.text(live::of(live::ipv4_dns1, id));
    ipv4.dd__DNSServerIPAddress = document.text(dns.c_str());
    ipv4.dd__SecondaryDNSServerIPAddress = document.text(dns.c_str());
}

io__IPv4Network *wifi_ipv4(Document &document, const StatusBlock &block, Interface id) {
    auto *ipv4 = document.make<io__IPv4Network>();
    if (ipv4 == nullptr)
        return nullptr;
    ipv4->dd__IPv4 = enabled(document, block.flag(saved::of(saved::ipv4_enabled, id)));
    const IPv4Flags flags = ipv4_flags(block, id);
    if (flags.is_static) {
        set_priority(document, *ipv4, dd__ConfigMethod__manual);
        ipv4->DNSConfigMethod = method(document, dd__ConfigMethod__manual);
        fill_static_wifi(document, *ipv4, block, id);
    } else if (flags.dhcp && flags.auto_ip) {
        set_priority(document, *ipv4, dd__ConfigMethod__auto_);
        ipv4->DNSConfigMethod = method(document, dd__ConfigMethod__auto_);
    } else if (flags.dhcp) {
        set_priority(document, *ipv4, dd__ConfigMethod__DHCPv4);
        ipv4->DNSConfigMethod = method(document, flags.static_dns ? dd__ConfigMethod__manual
                                                                  : dd__ConfigMethod__DHCPv4);
        if (flags.static_dns)
            fill_saved_dns(document, *ipv4, block, id);
    } else if (flags.auto_ip) {
        set_priority(document, *ipv4, dd__ConfigMethod__autoIP);
        ipv4->DNSConfigMethod = method(document, dd__ConfigMethod__manual);
        fill_saved_dns(document, *ipv4, block, id);
    }
    return ipv4;
}

io__IPv4Network *eth_ipv4(Document &document, const StatusBlock &block) {
    auto *ipv4 = document.make<io__IPv4Network>();
    if (ipv4 == nullptr)
        return nullptr;
    const IPv4Flags flags = ipv4_flags(block, Interface::eth0);
    ipv4->dd__IPv4 = enabled(
        document, flags.is_static || block.flag(saved::of(saved::ipv4_enabled, Interface::eth0)));
    if (flags.is_static) {
        ipv4->dd__IPAddress_ = text(document, block, saved::static_address);
        ipv4->dd__SubnetMask = text(document, block, saved::static_mask);
        ipv4->dd__DefaultGateway = text(document, block, saved::static_gateway);
        fill_saved_dns(document, *ipv4, block, Interface::eth0);
    }
    // Automatic addresses beside DHCP read as autoIP here and as auto in a Wi-Fi profile.
    if (flags.dhcp || flags.auto_ip) {
        set_priority(document, *ipv4,
                     flags.auto_ip ? dd__ConfigMethod__autoIP : dd__ConfigMethod__DHCPv4);
        ipv4->DNSConfigMethod =
            method(document, flags.static_dns ? dd__ConfigMethod__manual : dd__ConfigMethod__auto_);
    }
    return ipv4;
}

void fill_static_ipv6(Document &document, io__IPv6Network &ipv6, const StatusBlock &block,
                      Interface id) {
    const uint64_t n = record_of(id);
    ipv6.dd__PreferredIPAddress = text(document, block, saved::ipv6(saved::ipv6_address, id, n));
    ipv6.dd__IPAddress_ = text(document, block, saved::ipv6(saved::ipv6_address, id, n));
    ipv6.dd__IPAddressPrefixLength =
        number(document, block.word(saved::ipv6(saved::ipv6_prefix_length, id, n)));
}

io__IPv6Network *wifi_ipv6(Document &document, const StatusBlock &block, Interface id) {
    auto *ipv6 = document.make<io__IPv6Network>();
    if (ipv6 == nullptr)
        return nullptr;
    const auto of = [&](auto field) { return saved::ipv6(field, id, record_of(id)); };
    if (block.flag(of(saved::ipv6_enabled)))
        ipv6->dd__IPv6 = enabled(document, true);
    const bool is_static = block.flag(of(saved::ipv6_static));
    if (is_static)
        fill_static_ipv6(document, *ipv6, block, id);
    if (is_static || block.flag(of(saved::ipv6_static_dns))) {
        ipv6->dd__DNSServerIPAddress = text(document, block, of(saved::ipv6_dns1));
        ipv6->dd__SecondaryDNSServerIPAddress = text(document, block, of(saved::ipv6_dns2));
    }
    return ipv6;
}

/// Null while IPv6 is off.
io__IPv6Network *eth_ipv6(Document &document, const StatusBlock &block) {
    const auto of = [](auto field) { return saved::ipv6(field, Interface::eth0, 0); };
    if (!block.flag(of(saved::ipv6_enabled)))
        return nullptr;
    auto *ipv6 = document.make<io__IPv6Network>();
    if (ipv6 == nullptr)
        return nullptr;
    ipv6->dd__IPv6 = enabled(document, true);
    if (block.flag(of(saved::ipv6_static)))
        fill_static_ipv6(document, *ipv6, block, Interface::eth0);
    if (block.flag(of(saved::ipv6_static_dns)) && block.text(of(saved::ipv6_dns1)).size() > 2) {
        // The first server decides, the second one is told, in both elements.
        ipv6->dd__DNSServerIPAddress = text(document, block, of(saved::ipv6_dns2));
        ipv6->dd__SecondaryDNSServerIPAddress = text(document, block, of(saved::ipv6_dns2));
    }
    return ipv6;
}

void set_pass_phrase(Document &document, io__KeyInfo *key,
                     const enum wifi__RsnAuthorization *authorization, const std::string &phrase) {
    auto *info = document.make<io__WpaPassPhraseInfo>();
    if (key == nullptr || info == nullptr)
        return;
    if (authorization != nullptr)
        info->wifi__RsnAuthorization = document.value(*authorization);
    info->wifi__PassPhrase = binary(document, phrase);
    key->__union_KeyInfo = SOAP_UNION__io__union_KeyInfo_WpaPassPhraseInfo;
    key->union_KeyInfo.WpaPassPhraseInfo = info;
}

void fill_station(Document &document, io__WifiProfile &wifi, const StatusBlock &block) {
    wifi.wifi__SSID = binary(document, block.text(saved::wlan0_ssid));
    wifi.wifi__BSSID = text(document, block, live::bssid_wlan0);
    wifi.wifi__CommunicationMode = document.value(wifi__CommunicationMode__infrastructure);
    wifi.KeyInfo = document.make<io__KeyInfo>();
    const std::string security = block.text(saved::wlan0_security);
    if (const SecurityWord *word = last_match(profile_words, security); word != nullptr) {
        wifi.wifi__EncryptionType = document.value(word->encryption);
        wifi.wifi__AuthenticationMode = document.value(word->authentication);
    }
    for (const PassPhraseWord &word : pass_phrase_words)
        if (security.find(word.text) != std::string::npos)
            set_pass_phrase(document, wifi.KeyInfo, &word.authorization,
                            block.text(saved::wlan0_pass_phrase));
}

void fill_access_point(Document &document, io__WifiProfile &wifi, const StatusBlock &block) {
    wifi.wifi__SSID = binary(document, block.text(saved::wlan1_ssid));
    wifi.wifi__BSSID = text(document, block, live::bssid_wlan1);
    wifi.KeyInfo = document.make<io__KeyInfo>();
    set_pass_phrase(document, wifi.KeyInfo, nullptr, block.text(saved::wlan1_pass_phrase));
    wifi.wifi__EncryptionType = document.value(wifi__EncryptionType__WPA_USCOREPSK);
    wifi.CurrentEncryption = document.value(wifi__RsnEncryption__AESOrTKIP);
    wifi.WPATypePreference = document.value(wifi__RsnAuthorization__WPA2);
    wifi.wifi__AuthenticationMode = document.value(wifi__AuthenticationMode__WPA_USCOREPSK);
    wifi.wifi__Locale = document.text("localeWorldWideSafe");
    wifi.wifi__IbssChannel = document.text("6");
    wifi.wifi__FragmentationThreshold = document.text("2346");
    wifi.wifi__RTSThreshold = document.text("2347");
}

io__RadioEnabledFeatures *radio_features(Document &document) {
    constexpr const char *ibss[] = {"802.11B", "802.11G"};
    constexpr const char *ess[] = {"802.11B", "802.11G", "802.11N"};
    const auto texts = [&](std::span<const char *const> values, int &size) {
        char **list = document.make<char *>(static_cast<int>(values.size()));
        if (list == nullptr)
            return list;
        for (const char *value : values)
            list[size++] = document.text(value);
        return list;
    };
    auto *features = document.make<io__RadioEnabledFeatures>();
    if (features != nullptr) {
        features->wifi__IbssProtocol = texts(ibss, features->__sizeIbssProtocol);
        features->wifi__EssProtocol = texts(ess, features->__sizeEssProtocol);
    }
    return features;
}

enum dd__PortConfiguration *port_configuration(Document &document, const StatusBlock &block) {
    const bool full = block.flag(live::full_duplex);
    switch (block.word(live::speed_mbit)) {
    case 1000:
        return document.value(full ? dd__PortConfiguration__1000TX_USCOREFULL
                                   : dd__PortConfiguration__1000TX_USCOREHALF);
    case 100:
        return document.value(full ? dd__PortConfiguration__100TX_USCOREFULL
                                   : dd__PortConfiguration__100TX_USCOREHALF);
    case 10:
        return document.value(full ? dd__PortConfiguration__10TX_USCOREFULL
                                   : dd__PortConfiguration__10TX_USCOREHALF);
    default:
        return nullptr;
    }
}

} // namespace
} // namespace varn::net

using namespace varn::net;

extern "C" {

int32_t WifiProfile_get(const char *adapter, const char *) {
    if (adapter == nullptr)
        return -1;
    const Interface id = interface_of(adapter);
    const StatusBlock block(Refresh::settings);
    varn::write_document<io__Profile>(
        varn::namespaced_get, profile_ticket, [&](Document &document, io__Profile &root) {
            root.dd__IsSelected = boolean(document, true);
            auto *choice = document.make<io__AdapterProfile>();
            auto *wifi = document.make<io__WifiProfile>();
            if (choice == nullptr || wifi == nullptr)
                return;
            if (id != Interface::eth0) {
                root.NetworkProfile = document.make<io__NetworkProfile>();
                if (root.NetworkProfile != nullptr) {
                    root.NetworkProfile->IPv4Network = wifi_ipv4(document, block, id);
                    root.NetworkProfile->IPv6Network = wifi_ipv6(document, block, id);
                }
            }
            if (id == Interface::wlan0)
                fill_station(document, *wifi, block);
            else if (id == Interface::wlan1)
                fill_access_point(document, *wifi, block);
            wifi->RadioEnabledFeatures = radio_features(document);
            choice->__union_AdapterProfile = SOAP_UNION__io__union_AdapterProfile_WifiProfile;
            choice->union_AdapterProfile.WifiProfile = wifi;
            root.AdapterProfile = choice;
        });
    return 0;
}

int32_t EthProfile_get(const char *) {
    const StatusBlock block(Refresh::settings);
    varn::write_document<io__Profile>(
        varn::namespaced_get, profile_ticket, [&](Document &document, io__Profile &root) {
            root.dd__IsSelected = boolean(document, true);
            root.NetworkProfile = document.make<io__NetworkProfile>();
            if (root.NetworkProfile != nullptr) {
                root.NetworkProfile->IPv4Network = eth_ipv4(document, block);
                root.NetworkProfile->IPv6Network = eth_ipv6(document, block);
            }
            auto *choice = document.make<io__AdapterProfile>();
            auto *eth = document.make<io__EthProfile>();
            if (choice == nullptr || eth == nullptr)
                return;
            eth->dd__SpeedDuplexNegotiationMode = port_configuration(document, block);
            eth->dd__LinkNegotiation = document.value(dd__LinkNegotiation__auto_);
            choice->__union_AdapterProfile = SOAP_UNION__io__union_AdapterProfile_EthProfile;
            choice->union_AdapterProfile.EthProfile = eth;
            root.AdapterProfile = choice;
        });
    return 0;
}
}
