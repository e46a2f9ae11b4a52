/// Host name and domain of the device, and the SNMP settings of its adaptors.

#include "varn/io_config.h"
#include "frame/root.h"
#include "iomgmt/fill.h"
#include "iomgmt/snmp_file.h"
#include "platform/mvtc.h"
#include "varn/io_adapters.h"

#include <cstdio>
#include <cstring>
#include <memory>

using varn::Document;

namespace varn::net {
namespace {

constexpr char io_config_ticket[] = "/tmp/xml_tickets/IoMgmt/IoConfig.xml";
constexpr char io_config_dyn_ticket[] = "/tmp/xml_tickets/DevMgmt/IOConfigDyn.xml";
/// The community names are for the administrator alone.
constexpr Variant private_get{namespaced_get.mode, true, 0600};
constexpr uint32_t host_name_command = 10;
constexpr size_t host_name_size = 64;

struct FileCloser {
    void operator()(FILE *file) const { fclose(file); }
};

/// Whether the interface's lease gave the device its name.
bool leased(const std::string &interface, const std::string &host_name) {
    // A line reads `  option host-name "NAME";`.
    constexpr size_t name_column = 20;
    if (interface.find('/') != std::string::npos)
        return false;
    const std::unique_ptr<FILE, FileCloser> file(
        fopen(device_path("/var/db/dhclient_v4" + interface + ".leases").c_str(), "re"));
    const std::string quoted = host_name + "\"";
    char line[256];
    while (file != nullptr && fgets(line, sizeof line, file.get()) != nullptr)
        if (strstr(line, "option host-name") != nullptr && strlen(line) > name_column &&
            strncmp(line + name_column, quoted.c_str(), quoted.size()) == 0)
            return true;
    return false;
}

enum dd__ConfigMethod host_name_method(const StatusBlock &block, Interface id) {
    const std::string name = block.text(live::host_name);
    if (block.flag(live::of(live::dhcp_in_use, id)) &&
        leased(block.text(live::of(live::lease_name, id)), name))
        return dd__ConfigMethod__DHCPv4;
    return name == block.text(live::default_host_name) ? dd__ConfigMethod__default_
                                                       : dd__ConfigMethod__manual;
}

void fill_io_config(Document &document, io__IoConfig &root, const StatusBlock &block,
                    Interface id) {
    auto *device = document.make<io__IoDeviceConfig>();
    auto *protocol = document.make<io__IoDeviceProtocolConfig>();
    auto *ipv4 = document.make<io__IPv4DomainName>();
    auto *ipv6 = document.make<io__IPv6DomainName>();
    if (device == nullptr || protocol == nullptr || ipv4 == nullptr || ipv6 == nullptr)
        return;
    device->dd3__Hostname_ = text(document, block, live::host_name);
    device->dd3__DefaultHostname = text(document, block, saved::default_host_name);
    device->dd__CurrentHostnameConfigByMethod = document.value(host_name_method(block, id));
    ipv4->dd3__DomainName_ = text(document, block, live::of(live::ipv4_domain, id));
    ipv4->dd__DomainNameConfig = document.make<dd__DomainNameConfig>();
    ipv6->dd3__DomainName_ = text(document, block, live::of(live::ipv6_domain, id));
    ipv6->dd__DomainNameConfig = document.make<dd__DomainNameConfig>();
    protocol->IPv4DomainName = ipv4;
    protocol->IPv6DomainName = ipv6;
    root.IoDeviceConfig = device;
    root.IoDeviceProtocolConfig = protocol;
}

/// Bonjour, and SNMP with its community names.
void fill_applications(Document &document, dd3__IOAdaptorConfig &adaptor,
                       const SnmpSettings &snmp) {
    auto *applications = document.make<dd3__ApplicationConfig>(2);
    auto *config = document.make<dd__SNMPConfig>();
    if (applications == nullptr || config == nullptr)
        return;
    applications[0].dd__ApplicationSupport = document.value(dd__ApplicationSupport__Bonjour);
    applications[1].dd__ApplicationSupport = document.value(dd__ApplicationSupport__SNMP);
    config->GetCommunityName = document.text(snmp.get_community);
    config->SetCommunityName = document.text(snmp.set_community);
    applications[1].dd__SNMPConfig = config;
    adaptor.ApplicationConfig_ = applications;
    adaptor.__sizeApplicationConfig = 2;
}

dd3__NetworkAdaptorConfig *network_adaptor(Document &document, const std::string &host_name) {
    auto *network = document.make<dd3__NetworkAdaptorConfig>();
    auto *versions = document.make<dd3__IPVersionConfig>(2);
    if (network == nullptr || versions == nullptr)
        return nullptr;
    network->CurrentHostname = document.text(host_name.c_str());
    versions[0].dd__IPVersionSupport = document.value(dd__IPVersionSupport__ipv4);
    versions[1].dd__IPVersionSupport = document.value(dd__IPVersionSupport__ipv6);
    network->IPVersionConfig_ = versions;
    network->__sizeIPVersionConfig = 2;
    return network;
}

void fill_io_config_dyn(Document &document, iocfgdyn2__IOConfigDyn &root,
                        const std::string &host_name, const SnmpSettings &snmp) {
    constexpr const char *ports[] = {"usb", "ethernet", "wifi"};
    root.dd3__IOAdaptorConfig = document.make<dd3__IOAdaptorConfig>(3);
    if (root.dd3__IOAdaptorConfig == nullptr)
        return;
    root.__sizeIOAdaptorConfig = 3;
    for (int i = 0; i < 3; ++i) {
        dd3__IOAdaptorConfig &adaptor = root.dd3__IOAdaptorConfig[i];
        adaptor.dd__DeviceConnectivityPortType_ = document.text(ports[i]);
        if (i == 0)
            continue;
        adaptor.NetworkAdaptorConfig = network_adaptor(document, host_name);
        fill_applications(document, adaptor, snmp);
    }
}

/// The SNMP applications of the first adaptor; the others are not looked at.
int32_t apply_io_config_dyn(const iocfgdyn2__IOConfigDyn &root) {
    int32_t result = 0;
    if (root.__sizeIOAdaptorConfig < 1 || root.dd3__IOAdaptorConfig == nullptr)
        return result;
    const dd3__IOAdaptorConfig &adaptor = root.dd3__IOAdaptorConfig[0];
    if (adaptor.ApplicationConfig_ == nullptr)
        return result;
    for (int i = 0; i < adaptor.__sizeApplicationConfig; ++i) {
        const dd3__ApplicationConfig &application = adaptor.ApplicationConfig_[i];
        if (application.dd__ApplicationSupport == nullptr ||
            *application.dd__ApplicationSupport != dd__ApplicationSupport__SNMP ||
            application.dd__SNMPConfig == nullptr)
            continue;
        SnmpSettings snmp;
        result = read_snmp(snmp);
        set_community(snmp.get_community, application.dd__SNMPConfig->GetCommunityName);
        set_community(snmp.set_community, application.dd__SNMPConfig->SetCommunityName);
        write_snmp(snmp);
    }
    return result;
}

} // namespace
} // namespace varn::net

using namespace varn::net;

extern "C" {

int32_t IoConfig(void) {
    const Interface id = get_plugstat(1) == 0 ? Interface::eth0 : Interface::wlan0;
    const StatusBlock block(Refresh::settings);
    varn::write_document<io__IoConfig>(
        varn::namespaced_get, io_config_ticket,
        [&](Document &document, io__IoConfig &root) { fill_io_config(document, root, block, id); });
    return 0;
}

int32_t IoConfig_put(const char *xml) {
    return act_on_document<io__IoConfig>(xml, [](const io__IoConfig &root) {
        printf("IoConfig Put>>> ");
        if (root.IoDeviceConfig == nullptr)
            return;
        const io__IoDeviceConfig &device = *root.IoDeviceConfig;
        if (device.dd3__Hostname_ != nullptr) {
            char name[host_name_size] = "";
            if (strlen(device.dd3__Hostname_) >= sizeof name) {
                printf("Hostname is too long, skip set");
            } else {
                strcpy(name, device.dd3__Hostname_);
                mvtc_write2_NetworkServer(static_cast<uint32_t>(varn_mvt_fd), host_name_command,
                                          name, sizeof name);
            }
        }
        if (device.dd3__DefaultHostname != nullptr)
            printf("DefaultHostname is %s\n", device.dd3__DefaultHostname);
    });
}

int32_t VARN_GetIoConfig(char **out_buf, uint32_t *out_len) {
    IoConfig();
    return common_read_file_data(io_config_ticket, out_buf, out_len);
}

int32_t VARN_PutIoConfig(const char *, const char *xml) { return IoConfig_put(xml); }

int32_t VARN_GetIOConfigDyn(char **out_buf, uint32_t *out_len) {
    const std::string host_name = StatusBlock(Refresh::settings).text(live::host_name);
    SnmpSettings snmp;
    read_snmp(snmp);
    return varn::get_document<iocfgdyn2__IOConfigDyn>(
        private_get, io_config_dyn_ticket, out_buf, out_len,
        [&](Document &document, iocfgdyn2__IOConfigDyn &root) {
            fill_io_config_dyn(document, root, host_name, snmp);
        });
}

int32_t VARN_PutIOConfigDyn(const char *xml) {
    return varn::put_document<iocfgdyn2__IOConfigDyn>(varn::validating_put, xml, __func__,
                                                      apply_io_config_dyn);
}
}
