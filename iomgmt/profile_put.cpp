/// PUT of an adapter's profile: a document becomes messages to the net service, in a fixed order.

#include "frame/root.h"
#include "iomgmt/adapters.h"
#include "iomgmt/fill.h"
#include "iomgmt/messages.h"
#include "varn/io_adapters.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace varn::net {
namespace {

constexpr unsigned join_wait_s = 8; ///< while the service joins the network
constexpr char access_point_password[] = "40715928";

struct FileCloser {
    void operator()(FILE *file) const { fclose(file); }
};

/// Whether the status file leaves automatic addresses on; its name is eth0's for all adapters. The
/// last line with a 0 or a 1 decides, and a line with both says 0.
bool auto_status() {
    const std::unique_ptr<FILE, FileCloser> file(
        fopen(device_path("/tmp/eth0_Ipv4DhcpAutoStatus").c_str(), "re"));
    bool on = true;
    char line[256];
    while (file != nullptr && fgets(line, sizeof line, file.get()) != nullptr) {
        if (strchr(line, '0') != nullptr)
            on = false;
        else if (strchr(line, '1') != nullptr)
            on = true;
    }
    return on;
}

/// A binary value as a text. One that is longer than any name or key counts as absent.
std::string text_of(const xsd__hexBinary *value) {
    constexpr int longest = 255;
    if (value == nullptr || value->__ptr == nullptr || value->__size <= 0 ||
        value->__size > longest)
        return {};
    const char *begin = reinterpret_cast<const char *>(value->__ptr);
    return {begin, strnlen(begin, static_cast<size_t>(value->__size))};
}

/// A server's address; a text of less than two characters is none.
bool is_given(const char *text) { return text != nullptr && strlen(text) >= 2; }

/// Sends the messages of one profile. All go through one buffer, since one of the steps sends what
/// the step before it left there.
class ProfileSender {
public:
    explicit ProfileSender(const char *adapter) : id_(interface_of(adapter)) {
        if (id_ != Interface::eth0)
            group_ = "WIRELESS";
        if (id_ == Interface::wlan0)
            interface_ = "wlan0";
        else if (id_ == Interface::wlan1)
            interface_ = "wlan1";
    }
    void wifi(const io__WifiProfile &profile);
    void ipv4(const io__IPv4Network &network);
    void ipv6(const io__IPv6Network &network);

private:
    void send(int32_t length) {
        if (length > 0)
            NetClient_Msg(msg_);
    }
    void send_fixed(const char *format) {
        send(format_message(msg_, format, group_, interface_, interface_, group_));
    }
    void send_text(const char *message) { send(format_message(msg_, "%s", message)); }

    void take_key(const io__KeyInfo &info);
    void join_network(const io__WifiProfile &profile);
    void assign_ipv4(enum dd__ConfigMethod method);
    void ipv4_dns(const char *dns1, const char *dns2);
    void ipv6_dns(const char *dns1, const char *dns2);
    /// The servers go to the log alone, and the last message goes out once more: the service's DNS
    /// setting stays as it is.
    void static_ipv6_dns(const char *dns1, const char *dns2) {
        nmsg_ipv6dns(msg_, group_, interface_, dns1, dns2);
        if (msg_[0] != '\0')
            NetClient_Msg(msg_);
    }

    Interface id_;
    const char *group_ = "ETHERNET";
    const char *interface_ = "eth0";
    std::string ssid_;
    std::string key_;
    const io__WepKeys *wep_ = nullptr;
    char msg_[VARN_NET_MESSAGE_SIZE] = "";
};

/// Elements that a profile may have and that only leave a line in the log.
void log_unused(const io__WifiProfile &p) {
    const struct {
        const void *element;
        const char *name;
    } rows[] = {
        {p.CurrentEncryption, "io:CurrentEncryption"},
        {p.dd__PowerSave, "dd:PowerSave"},
        {p.RadioEnabledFeatures, "io:RadioEnabledFeatures"},
        {p.wifi__AmpduAggregation, "wifi:AmpduAggregation"},
        {p.wifi__AmsduAggregation, "wifi:AmsduAggregation"},
        {p.wifi__AuthenticationMode, "wifi:AuthenticationMode"},
        {p.wifi__BSSID, "wifi:BSSID"},
        {p.wifi__Channel, "wifi:Channel"},
        {p.wifi__ChannelWidth, "wifi:ChannelWidth"},
        {p.wifi__CommunicationMode, "wifi:CommunicationMode"},
        {p.wifi__EncryptionType, "wifi:EncryptionType"},
        {p.wifi__FragmentationThreshold, "wifi:FragmentationThreshold"},
        {p.wifi__Greenfield, "wifi:Greenfield"},
        {p.wifi__GuardInterval, "wifi:GuardInterval"},
        {p.wifi__IbssAtimWindow, "wifi:IbssAtimWindow"},
        {p.wifi__IbssBeaconPeriod, "wifi:IbssBeaconPeriod"},
        {p.wifi__IbssChannel, "wifi:IbssChannel"},
        {p.wifi__Locale, "wifi:Locale"},
        {p.wifi__MaxTransmitRate, "wifi:MaxTransmitRate"},
        {p.wifi__RTSThreshold, "wifi:RTSThreshold"},
        {p.wifi__TxBufferSize, "wifi:TxBufferSize"},
        {p.wifi__WMM, "wifi:WMM"},
        {p.WPA2Enterprise, "io:WPA2Enterprise"},
        {p.WPATypePreference, "io:WPATypePreference"},
    };
    for (const auto &row : rows)
        if (row.element != nullptr)
            printf(" TBD: Need to add HW Control for AdapterProfile: %s\n", row.name);
}

void ProfileSender::take_key(const io__KeyInfo &info) {
    if (info.__union_KeyInfo == SOAP_UNION__io__union_KeyInfo_WepKeys) {
        wep_ = info.union_KeyInfo.WepKeys;
        // Only the first key is used.
        if (wep_ != nullptr && wep_->__sizeWepKey > 0 && wep_->WepKey_ != nullptr)
            key_ = text_of(wep_->WepKey_[0].wifi__WepKey);
    } else if (info.__union_KeyInfo == SOAP_UNION__io__union_KeyInfo_WpaPassPhraseInfo &&
               info.union_KeyInfo.WpaPassPhraseInfo != nullptr) {
        key_ = text_of(info.union_KeyInfo.WpaPassPhraseInfo->wifi__PassPhrase);
        // The access point gets its pass phrase before the name is known, with an empty name.
        if (!key_.empty() && id_ == Interface::wlan1)
            send(nmsg_wlan1_ssid_password(msg_, ssid_.c_str(), key_.c_str()));
    }
}

void ProfileSender::join_network(const io__WifiProfile &profile) {
    if (profile.wifi__EncryptionType == nullptr)
        return;
    ssid_ = text_of(profile.wifi__SSID);
    if (*profile.wifi__EncryptionType == wifi__EncryptionType__none) {
        send(nmsg_wlan0_ssid(msg_, ssid_.c_str()));
    } else if (*profile.wifi__EncryptionType == wifi__EncryptionType__WEP) {
        int index = 0;
        if (!key_.empty() && wep_ != nullptr && wep_->wifi__WEPKeyIndex != nullptr)
            index = static_cast<int>(*wep_->wifi__WEPKeyIndex) - 1;
        if (index < 0 || index > 3)
            index = 0;
        char ssid[VARN_ESCAPED_SIZE] = "";
        char key[VARN_ESCAPED_SIZE] = "";
        StrToStrXml(ssid, ssid_.c_str());
        StrToStrXml(key, key_.c_str());
        send(format_message(msg_, wlan0_wep, ssid, "WEP", index, index, key, index));
    } else {
        // Every other kind is said to the service in the same words.
        send(nmsg_wlan0_ssid_encryption_password(msg_, ssid_.c_str(), "", key_.c_str()));
    }
    sleep(join_wait_s);
}

void ProfileSender::wifi(const io__WifiProfile &profile) {
    log_unused(profile);
    if (profile.KeyInfo != nullptr)
        take_key(*profile.KeyInfo);
    if (text_of(profile.wifi__SSID).empty())
        return;
    if (id_ == Interface::wlan0) {
        join_network(profile);
    } else if (id_ == Interface::wlan1) {
        // A new name resets the password to the factory's, whatever key came with it.
        ssid_ = text_of(profile.wifi__SSID);
        send(nmsg_wlan1_ssid_encryption_password_channel(msg_, ssid_.c_str(), "WPA_WPA2_PSK",
                                                         access_point_password, "6"));
    }
}

void ProfileSender::assign_ipv4(enum dd__ConfigMethod method) {
    if (method == dd__ConfigMethod__manual)
        send(nmsg_dhcpmanual(msg_, group_, interface_));
    const bool on = auto_status();
    if (method == dd__ConfigMethod__DHCPv4 || method == dd__ConfigMethod__auto_)
        send(nmsg_dhcpdhcp_autoip(msg_, group_, interface_, on ? "1" : "0"));
    else if (method == dd__ConfigMethod__autoIP)
        send_fixed(ipv4_auto_ip);
}

void ProfileSender::ipv4_dns(const char *dns1, const char *dns2) {
    if (dns1 == nullptr && dns2 == nullptr)
        return;
    const bool first = is_given(dns1);
    const bool second = is_given(dns2);
    // One server alone says nothing of the other: only two empty ones take the setting back.
    if (!first && !second && dns1 != nullptr && dns2 != nullptr)
        send_text(wlan0_ipv4_dhcp);
    if (first)
        send(nmsg_ipv4_dns_ip1(msg_, group_, interface_, dns1));
    if (second)
        send(nmsg_ipv4_dns_ip2(msg_, group_, interface_, dns2));
}

void ProfileSender::ipv4(const io__IPv4Network &network) {
    if (network.dd__IPv4 != nullptr)
        printf("dd__IPv4 is %d\n", static_cast<int>(*network.dd__IPv4));
    if (const auto *priority = network.dd__IPv4AutoAssignmentPriority;
        priority != nullptr && priority->__sizeConfigMethod > 0 &&
        priority->ConfigMethod_ != nullptr)
        assign_ipv4(priority->ConfigMethod_[0]);
    if (network.dd__IPAddress_ != nullptr)
        printf("dd__IPAddress is %s\n", network.dd__IPAddress_);
    // A mask without an address would set an empty one.
    if (network.dd__SubnetMask != nullptr && network.dd__IPAddress_ != nullptr)
        send(nmsg_ip_submask(msg_, group_, interface_, network.dd__IPAddress_,
                             network.dd__SubnetMask));
    if (network.dd__DefaultGateway != nullptr)
        send(nmsg_gateway(msg_, group_, interface_, network.dd__DefaultGateway));
    ipv4_dns(network.dd__DNSServerIPAddress, network.dd__SecondaryDNSServerIPAddress);
    if (network.dd__SecondaryWINSServerName != nullptr)
        printf("dd__SecondaryWINSServerName is %s\n", network.dd__SecondaryWINSServerName);
    if (network.dd__WINSServerName != nullptr)
        printf("dd__WINSServerName is %s\n", network.dd__WINSServerName);
    if (network.DNSConfigMethod != nullptr)
        send_fixed(*network.DNSConfigMethod == dd__ConfigMethod__manual ? ipv4_static : ipv4_dhcp);
    if (network.WINSConfigMethod != nullptr)
        printf("WINSConfigMethod is %d\n", static_cast<int>(*network.WINSConfigMethod));
}

void ProfileSender::ipv6_dns(const char *dns1, const char *dns2) {
    if (dns1 == nullptr && dns2 == nullptr) {
        send_text(wlan0_ipv6_names_off);
        return;
    }
    const bool first = is_given(dns1) && isVaildIPv6(dns1) == 1;
    const bool second = is_given(dns2) && isVaildIPv6(dns2) == 1;
    if (first || second)
        static_ipv6_dns(first ? dns1 : "", second ? dns2 : "");
    else if (dns1 != nullptr && dns2 != nullptr)
        send_fixed(ipv6_dns_off);
}

void ProfileSender::ipv6(const io__IPv6Network &network) {
    constexpr int default_prefix_length = 64;
    if (network.dd__IPAddress_ != nullptr) {
        send_fixed(ipv6_static);
        send(nmsg_ipv6_prefixlength(msg_, group_, interface_, network.dd__IPAddress_,
                                    network.dd__IPAddressPrefixLength != nullptr
                                        ? *network.dd__IPAddressPrefixLength
                                        : default_prefix_length));
    } else {
        send_fixed(ipv6_autoconf);
    }
    if (network.dd__IPv6 != nullptr)
        send(nmsg_ipv6enable(msg_, group_, interface_,
                             *network.dd__IPv6 == dd__EnableDisable__enabled ? "1" : "0"));
    if (network.dd__PreferredIPAddress != nullptr)
        printf("dd__PreferredIPAddress is %s\n", network.dd__PreferredIPAddress);
    ipv6_dns(network.dd__DNSServerIPAddress, network.dd__SecondaryDNSServerIPAddress);
}

} // namespace
} // namespace varn::net

using namespace varn::net;

extern "C" {

int32_t varn_PutIoProfile(const char *adapter, io__Profile *profile) {
    if (adapter == nullptr || profile == nullptr)
        return 0;
    ProfileSender sender(adapter);
    if (const io__AdapterProfile *choice = profile->AdapterProfile;
        choice != nullptr &&
        choice->__union_AdapterProfile == SOAP_UNION__io__union_AdapterProfile_WifiProfile &&
        choice->union_AdapterProfile.WifiProfile != nullptr)
        sender.wifi(*choice->union_AdapterProfile.WifiProfile);
    if (const io__NetworkProfile *network = profile->NetworkProfile; network != nullptr) {
        if (network->IPv4Network != nullptr)
            sender.ipv4(*network->IPv4Network);
        if (network->IPv6Network != nullptr)
            sender.ipv6(*network->IPv6Network);
    }
    return 0;
}

int32_t WifiProfile_put(const char *adapter, const char *xml, uint32_t) {
    return act_on_document<io__Profile>(
        xml, [&](io__Profile &profile) { varn_PutIoProfile(adapter, &profile); });
}
}
