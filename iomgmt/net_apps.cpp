/// The device's network applications: their switches stand in the engine's parameter block, with
/// the net service, and in the SNMP file.

#include "frame/parameters.h"
#include "iomgmt/fill.h"
#include "iomgmt/messages.h"
#include "iomgmt/snmp_file.h"
#include "varn/io_config.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

using varn::Document;

namespace varn::net {
namespace {

struct Applications {
    WebParameters parameters = {};
    SnmpSettings snmp;
    std::string host_name;
    bool direct_print = false;
};

Applications gather_applications() {
    Applications a;
    const StatusBlock block(Refresh::settings);
    read_block(a.parameters, MVTC_PARAM_WEB);
    read_snmp(a.snmp);
    a.host_name = block.text(live::host_name);
    a.direct_print = block.flag(live::of(live::power_on, Interface::wlan1));
    return a;
}

/// An empty community name is told as this.
char *community(Document &document, const char *name) {
    return document.text(name[0] != '\0' ? name : "NO SET");
}

dd__SNMPConfigWithVersion *fill_snmp(Document &document, const Applications &a) {
    auto *snmp = document.make<dd__SNMPConfigWithVersion>();
    if (snmp == nullptr)
        return nullptr;
    snmp->AccessOption =
        document.value(strcmp(a.snmp.access, "RW") == 0 ? dd__AccessOption__readWrite
                                                        : dd__AccessOption__readOnly);
    const auto name_config = strcmp(a.snmp.default_get, "Enable") == 0
                                 ? dd__CommunityNameConfig__publicNotAllowed
                                 : dd__CommunityNameConfig__publicAllowed;
    snmp->GetCommunityNameConfig = document.value(name_config);
    snmp->SetCommunityNameConfig = document.value(name_config);
    snmp->GetCommunityName = community(document, a.snmp.get_community);
    snmp->SetCommunityName = community(document, a.snmp.set_community);
    snmp->SNMP = enabled(document, a.parameters.snmp == 1);
    snmp->Version = document.version("1.0", nullptr);
    return snmp;
}

void fill_applications(Document &document, nadyn__NetAppsDyn &root, const Applications &a) {
    root.dd__Version = document.version("SVN-OLK-VARN.223", nullptr);
    root.DNSSDConfig = document.make<nadyn__DNSSDConfig>();
    if (root.DNSSDConfig != nullptr) {
        const std::string name(
            a.parameters.service_name,
            strnlen(a.parameters.service_name, sizeof a.parameters.service_name));
        root.DNSSDConfig->dd__ApplicationServiceName = document.text(name.c_str());
        root.DNSSDConfig->dd3__DomainName_ = document.text(a.host_name.c_str());
    }
    root.dd__SNMPConfigWithVersion = fill_snmp(document, a);
    root.WebServicesConfig = document.make<nadyn__WebServicesConfig>();
    if (root.WebServicesConfig != nullptr)
        root.WebServicesConfig->dd__WSDiscovery = enabled(document, a.parameters.ws_discovery == 1);
    root.dd__DHCPv4 = enabled(document, true);
    root.dd__DHCPv6 = enabled(document, a.parameters.dhcpv6 == 1);
    root.DirectPrint = enabled(document, a.direct_print);
}

/// The block of one request: read once, written after each change. One that could not be read is
/// not written, since the rest of it would be lost.
class Block {
public:
    Block() : known_(read_block(parameters_, MVTC_PARAM_WEB)) {}
    template <typename Change>
    void change(Change change) {
        change(parameters_);
        if (known_)
            write_block(parameters_, MVTC_PARAM_WEB);
    }

private:
    WebParameters parameters_ = {};
    bool known_;
};

void apply_names(Block &block, const nadyn__DNSSDConfig &names) {
    if (const char *name = names.dd__ApplicationServiceName; name != nullptr) {
        printf("dd__ApplicationServiceName is %s\n", name);
        block.change([&](WebParameters &p) {
            const size_t length = std::min(strlen(name), sizeof p.service_name - 1);
            memcpy(p.service_name, name, length);
            p.service_name[length] = '\0';
        });
    }
    if (names.dd3__DomainName_ != nullptr) {
        // The domain name element sets the host name.
        printf("dd3__DomainName_ is %s\n", names.dd3__DomainName_);
        char msg[VARN_NET_MESSAGE_SIZE];
        if (format_message(msg, system_hostname, names.dd3__DomainName_) > 0)
            NetClient_Msg(msg);
    }
}

int32_t apply_snmp(Block &block, const dd__SNMPConfigWithVersion &request) {
    if (request.SNMP != nullptr) {
        printf("SNMP is %d\n", static_cast<int>(*request.SNMP));
        block.change([&](WebParameters &p) {
            p.snmp = *request.SNMP == dd__EnableDisable__enabled ? 1 : 0;
        });
    }
    SnmpSettings snmp;
    const int32_t result = read_snmp(snmp);
    if (request.AccessOption != nullptr) {
        // One way only: a host can take write access away and not give it.
        memset(snmp.access, 0, sizeof snmp.access);
        snmp.access[0] = 'R';
    }
    for (const auto *config : {request.SetCommunityNameConfig, request.GetCommunityNameConfig})
        if (config != nullptr) {
            memset(snmp.default_get, 0, sizeof snmp.default_get);
            strcpy(snmp.default_get,
                   *config == dd__CommunityNameConfig__publicNotAllowed ? "Enable" : "Disable");
        }
    set_community(snmp.get_community, request.GetCommunityName);
    set_community(snmp.set_community, request.SetCommunityName);
    write_snmp(snmp);
    return result;
}

int32_t apply_applications(const nadyn__NetAppsDyn &root) {
    Block block;
    if (root.DNSSDConfig != nullptr)
        apply_names(block, *root.DNSSDConfig);
    if (root.DirectPrint != nullptr) {
        printf("DirectPrint is %d\n", static_cast<int>(*root.DirectPrint));
        NetClient_Msg(*root.DirectPrint == dd__EnableDisable__enabled ? wlan1_on : wlan1_off);
    }
    if (root.WebServicesConfig != nullptr && root.WebServicesConfig->dd__WSDiscovery != nullptr) {
        const dd__EnableDisable value = *root.WebServicesConfig->dd__WSDiscovery;
        printf("WSDiscovery is %d\n", static_cast<int>(value));
        block.change([&](WebParameters &p) {
            p.ws_discovery = value == dd__EnableDisable__enabled ? 1 : 0;
        });
    }
    if (root.dd__DHCPv6 != nullptr) {
        // This switch is that of IPv6 as a whole.
        const bool on = *root.dd__DHCPv6 == dd__EnableDisable__enabled;
        printf("DHCPv6 is %d\n", static_cast<int>(*root.dd__DHCPv6));
        NetClient_Msg(on ? system_ipv6_on : system_ipv6_off);
        block.change([&](WebParameters &p) { p.dhcpv6 = on ? 1 : 0; });
    }
    return root.dd__SNMPConfigWithVersion != nullptr
               ? apply_snmp(block, *root.dd__SNMPConfigWithVersion)
               : 0;
}

int32_t apply_secure(const nasdyn__NetAppsSecureDyn &root) {
    if (root.AutoWirelessConfig == nullptr || root.AutoWirelessConfig->State == nullptr)
        return 0;
    Block block;
    const bool on = *root.AutoWirelessConfig->State == dd__EnableDisableRemove__enabled;
    puts(on ? "Enable AWC................." : "Disable AWC.................");
    block.change([&](WebParameters &p) { p.auto_wireless = on ? 1 : 0; });
    return 0;
}

} // namespace
} // namespace varn::net

using namespace varn::net;

extern "C" {

int32_t VARN_GetNetAppsCap(char **out_buf, uint32_t *out_len) {
    return common_read_file_data("/tmp/xml_tickets/DevMgmt/NetAppsCap.xml", out_buf, out_len);
}

int32_t VARN_GetNetAppsSecureCap(char **out_buf, uint32_t *out_len) {
    return common_read_file_data("/tmp/xml_tickets/DevMgmt/NetAppsSecureCap.xml", out_buf, out_len);
}

int32_t VARN_GetNetAppsSecureManifest(char **out_buf, uint32_t *out_len) {
    return common_read_file_data("/tmp/xml_tickets/DevMgmt/NetAppsSecureManifest.xml", out_buf,
                                 out_len);
}

int32_t VARN_GetNetAppsDyn(char **out_buf, uint32_t *out_len) {
    const Applications a = gather_applications();
    return varn::get_document<nadyn__NetAppsDyn>(
        varn::namespaced_get, "/tmp/xml_tickets/DevMgmt/NetAppsDyn.xml", out_buf, out_len,
        [&](Document &document, nadyn__NetAppsDyn &root) { fill_applications(document, root, a); });
}

int32_t VARN_PutNetAppsDyn(const char *xml) {
    return varn::put_document<nadyn__NetAppsDyn>(varn::wide_put, xml, __func__, apply_applications);
}

int32_t VARN_GetNetAppsSecureDyn(char **out_buf, uint32_t *out_len) {
    varn::WebParameters parameters = {};
    varn::read_block(parameters, MVTC_PARAM_WEB);
    return varn::get_document<nasdyn__NetAppsSecureDyn>(
        varn::namespaced_get, "/tmp/xml_tickets/DevMgmt/NetAppsSecureDyn.xml", out_buf, out_len,
        [&](Document &document, nasdyn__NetAppsSecureDyn &root) {
            root.Version = document.version("SVN-OLK-VARN.749", "2014-04-25");
            root.AutoWirelessConfig = document.make<nasdyn__AutoWirelessConfig>();
            if (root.AutoWirelessConfig == nullptr)
                return;
            root.AutoWirelessConfig->State =
                document.value(parameters.auto_wireless == 1 ? dd__EnableDisableRemove__enabled
                                                             : dd__EnableDisableRemove__disabled);
            root.AutoWirelessConfig->Status =
                document.value(nasdyn__AutoWirelessConfigStatus__unknown);
        });
}

int32_t VARN_PutNetAppsSecureDyn(const char *xml) {
    return varn::put_document<nasdyn__NetAppsSecureDyn>(varn::wide_put, xml, __func__,
                                                        apply_secure);
}
}
