/// The adapters document, adapter power, and the USB link in the capabilities.

#include "iomgmt/adapters.h"
#include "frame/guards.h"
#include "frame/root.h"
#include "iomgmt/fill.h"
#include "platform/mvtc.h"
#include "varn/io_adapters.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>

using varn::Document;

namespace varn::net {
namespace {

constexpr char adapters_ticket[] = "/tmp/xml_tickets/IoMgmt/Adapters.xml";

/// One bit each in the mask of the adapters document, in its order.
struct Adapter {
    uint32_t bit;
    uint32_t wifi; ///< 1: its entry has a network
    int32_t (*fill)(io__Adapter *adapter);
};
constexpr Adapter adapters[] = {
    {1, 0, varn_GetUsbAdpapter},
    {2, 0, varn_GetLanAdpapter},
    {4, 1, varn_GetWiFi0Adpapter},
    {8, 1, varn_GetWiFi1Adpapter},
};

/// What the station's security text means here: "WPA-PSK+WPA2-PSK" reads as WPA-PSK, which the
/// list of networks in range tells otherwise. Hosts know both.
constexpr SecurityWord security_words[] = {
    {"NONE", wifi__EncryptionType__none, wifi__AuthenticationMode__open},
    {"WEP", wifi__EncryptionType__WEP, wifi__AuthenticationMode__openThenShared},
    {"WPA-PSK", wifi__EncryptionType__WPA_USCOREPSK, wifi__AuthenticationMode__WPA_USCOREPSK},
    {"WPA2-PSK", wifi__EncryptionType__WPA2, wifi__AuthenticationMode__WPA2},
    {"WPA-PSK+WPA2-PSK", wifi__EncryptionType__WPA_USCOREPSK,
     wifi__AuthenticationMode__WPA_USCOREPSK},
    {"EAP", wifi__EncryptionType__WPA2_USCOREEnterprise,
     wifi__AuthenticationMode__WPA_USCOREEnterprise},
};

/// The parts that every adapter has. `type` goes out as it stands, its tags included.
bool identify(Document &document, io__Adapter *adapter, const char *uri, const char *type,
              const char *name, const char *port) {
    if (adapter == nullptr || adapter->map__ResourceNode == nullptr ||
        adapter->HardwareConfig == nullptr)
        return false;
    map__ResourceNode &node = *adapter->map__ResourceNode;
    node.ResourceLink->dd__ResourceURI = document.text(uri);
    node.ResourceLink->Base = document.value(map__Base__Root);
    node.ResourceType->__any = document.value(document.text(type));
    node.ResourceType->__size = node.ResourceType->__any != nullptr ? 1 : 0;
    adapter->HardwareConfig->dd__Name_ = document.text(name);
    adapter->HardwareConfig->dd__DeviceConnectivityPortType_ = document.text(port);
    return true;
}

void fill_link(Document &document, io__HardwareConfig &hardware, const StatusBlock &block,
               Interface id) {
    const bool power = block.flag(live::of(live::power_on, id));
    hardware.dd__Power = document.value(power ? dd__OnOff__on : dd__OnOff__off);
    hardware.dd__MacAddress_ = text(document, block, live::of(live::mac_address, id));
    hardware.dd__IsConnected = boolean(document, block.flag(live::of(live::connected, id)));
}

void fill_station_network(Document &document, io__WifiNetwork *network, const StatusBlock &block) {
    if (network == nullptr)
        return;
    network->wifi__SSID = binary(document, block.text(live::wlan0_ssid));
    network->wifi__BSSID = text(document, block, live::bssid_wlan0);
    network->wifi__CommunicationMode = document.value(wifi__CommunicationMode__infrastructure);
    network->wifi__Channel = decimal(document, block.word(live::wlan0_channel));
    if (network->SignalInfo != nullptr)
        network->SignalInfo->wifi__SignalStrength =
            decimal(document, block.word(live::wlan0_signal));
    network->wifi__WpsSupport = enabled(document, true);
    if (const SecurityWord *word = last_match(security_words, block.text(saved::wlan0_security));
        word != nullptr) {
        network->wifi__EncryptionType = document.value(word->encryption);
        network->__sizeEncryptionType = network->wifi__EncryptionType != nullptr ? 1 : 0;
        network->wifi__AuthenticationMode = document.value(word->authentication);
    }
}

/// The command that switches an adapter. A name without "wifi" is eth0's, that of USB too.
uint32_t power_command(const char *adapter) {
    if (strstr(adapter, "wifi1") != nullptr)
        return 13;
    return strstr(adapter, "wifi0") != nullptr ? 12 : 11;
}

const char *usb_version(uint16_t speed) {
    switch (speed) {
    case 5:
        return "USB3.0-SuperSpeed";
    case 3:
        return "USB2.0-HighSpeed";
    case 2:
        return "USB2.0-FullSpeed";
    case 1:
        return "USB1.1-FullSpeed";
    default:
        return "Unknown Speed";
    }
}

} // namespace

Interface interface_of(const char *adapter) {
    if (strcmp(adapter, "wifi0") == 0)
        return Interface::wlan0;
    return strcmp(adapter, "wifi1") == 0 ? Interface::wlan1 : Interface::eth0;
}

} // namespace varn::net

using namespace varn::net;

extern "C" {

int32_t is_valid_adapter_name(const char *name) {
    for (const char *valid : {"wifi0", "wifi1", "eth0", "usb"})
        if (name != nullptr && strcmp(name, valid) == 0)
            return 0;
    return -1;
}

int32_t get_plugstat(int32_t type) {
    constexpr const char *files[] = {"/sys/class/net/eth0/carrier", "/sys/class/net/wlan0/carrier",
                                     "/sys/class/net/wlan1/carrier"};
    if (type < 1 || type > 3) {
        printf("%s type %d is unkonwn!\n", __func__, type);
        return -1;
    }
    const varn::UniqueFd file(
        open(varn::device_path(files[type - 1]).c_str(), O_RDONLY | O_CLOEXEC));
    char carrier = '\0';
    return file.ok() && read(file.get(), &carrier, 1) == 1 && carrier == '1' ? 0 : -1;
}

int32_t varn_default_io__Adapter(struct soap *context, io__Adapter *adapter, uint32_t wifi) {
    Document document(context);
    if (adapter == nullptr)
        return -1;
    adapter->map__ResourceNode = document.make<map__ResourceNode>();
    adapter->HardwareConfig = document.make<io__HardwareConfig>();
    if (adapter->map__ResourceNode == nullptr || adapter->HardwareConfig == nullptr)
        return -1;
    map__ResourceNode &node = *adapter->map__ResourceNode;
    node.ResourceLink = document.make<map__ResourceLink>();
    node.ResourceType = document.make<_map__ResourceType>();
    if (node.ResourceLink == nullptr || node.ResourceType == nullptr) {
        adapter->map__ResourceNode = nullptr;
        return -1;
    }
    if (wifi >= 1) {
        adapter->HardwareConfig->WifiNetwork = document.make<io__WifiNetwork>();
        if (adapter->HardwareConfig->WifiNetwork == nullptr)
            return -1;
        adapter->HardwareConfig->WifiNetwork->SignalInfo = document.make<io__SignalInfo>();
    }
    return 0;
}

int32_t varn_default_io__Adapters(struct soap *context, io__Adapters *root, uint32_t mask,
                                  uint32_t) {
    Document document(context);
    int count = 0;
    for (const Adapter &row : adapters)
        count += (mask & row.bit) != 0 ? 1 : 0;
    if (root == nullptr)
        return -1;
    root->__sizeAdapter = 0;
    root->Adapter_ = document.make<io__Adapter>(count);
    if (root->Adapter_ == nullptr)
        return count == 0 ? 0 : -1;
    for (const Adapter &row : adapters)
        if ((mask & row.bit) != 0)
            varn_default_io__Adapter(context, &root->Adapter_[root->__sizeAdapter++], row.wifi);
    return 0;
}

int32_t varn_GetUsbAdpapter(io__Adapter *adapter) {
    Document document(gSoap);
    if (identify(document, adapter, "/IoMgmt/Adapters/usb",
                 "<io:IoMgmtResourceType>USBAdapter</io:IoMgmtResourceType>", "usb0", "usb"))
        adapter->HardwareConfig->dd__IsConnected = boolean(document, true);
    return 0;
}

int32_t varn_GetLanAdpapter(io__Adapter *adapter) {
    const StatusBlock block(Refresh::settings);
    Document document(gSoap);
    if (identify(document, adapter, "/IoMgmt/Adapters/eth0",
                 "<io:IoMgmtResourceType>EthernetAdapter</io:IoMgmtResourceType>", "eth0",
                 "ethernet"))
        fill_link(document, *adapter->HardwareConfig, block, Interface::eth0);
    return 0;
}

int32_t varn_GetWiFi0Adpapter(io__Adapter *adapter) {
    const StatusBlock block(Refresh::settings);
    Document document(gSoap);
    if (!identify(document, adapter, "/IoMgmt/Adapters/wifi0",
                  "<io:IoMgmtResourceType>WifiAdapter</io:IoMgmtResourceType>", "wifi0",
                  "wifiEmbedded"))
        return 0;
    io__HardwareConfig &hardware = *adapter->HardwareConfig;
    fill_link(document, hardware, block, Interface::wlan0);
    hardware.dd__AdminDisabled = boolean(document, true);
    if (block.flag(live::of(live::connected, Interface::wlan0))) {
        hardware.IsCurrentRequestInterface =
            boolean(document, block.flag(live::wlan0_is_request_interface));
        fill_station_network(document, hardware.WifiNetwork, block);
    } else if (hardware.WifiNetwork != nullptr) {
        hardware.WifiNetwork->SignalInfo = nullptr;
    }
    return 0;
}

int32_t varn_GetWiFi1Adpapter(io__Adapter *adapter) {
    const StatusBlock block(Refresh::settings);
    Document document(gSoap);
    if (!identify(document, adapter, "/IoMgmt/Adapters/wifi1",
                  "<io:IoMgmtResourceType>AccessPointAdapter</io:IoMgmtResourceType>", "wifi1",
                  "wifiEmbedded"))
        return 0;
    io__HardwareConfig &hardware = *adapter->HardwareConfig;
    fill_link(document, hardware, block, Interface::wlan1);
    hardware.dd__AdminDisabled = boolean(document, true);
    hardware.IsCurrentRequestInterface = boolean(document, false);
    if (hardware.WifiNetwork != nullptr)
        hardware.WifiNetwork->SignalInfo = nullptr;
    return 0;
}

int32_t VARN_SGetIoMgmtAdapters(uint32_t mask) {
    varn::write_document<io__Adapters>(
        varn::namespaced_get, adapters_ticket, [&](Document &document, io__Adapters &root) {
            root.dd__Version = document.version("SVN.2930", nullptr);
            if (varn_default_io__Adapters(document.get(), &root, mask, 0) != 0)
                return;
            int n = 0;
            for (const Adapter &row : adapters)
                if ((mask & row.bit) != 0)
                    row.fill(&root.Adapter_[n++]);
        });
    return 0;
}

int32_t VARN_SetAdapterPower(const char *adapter, const char *xml, uint32_t, uint32_t) {
    if (adapter == nullptr)
        return -1;
    printf("VARN_SGetIoMgmtAdapters (Start Serialization)...");
    return act_on_document<io__Adapter>(xml, [&](const io__Adapter &root) {
        if (root.HardwareConfig == nullptr) {
            printf("Error:Invaild HardwareConfig, Skip!");
            return;
        }
        if (root.HardwareConfig->dd__Power == nullptr) {
            printf("Error:Invaild dd_Power, Skip!");
            return;
        }
        const dd__OnOff power = *root.HardwareConfig->dd__Power;
        printf("The Adpater power is ON (%d)\n", static_cast<int>(power));
        const uint8_t value[4] = {static_cast<uint8_t>(power == dd__OnOff__on ? 1 : 0), 0, 0, 0};
        mvtc_write2_NetworkServer(static_cast<uint32_t>(varn_mvt_fd), power_command(adapter), value,
                                  sizeof value);
    });
}

int32_t update_usbd_information(varn_usbd_info *record) {
    static_assert(sizeof *record == 16);
    if (record == nullptr)
        return -1;
    if (const varn::UniqueFd file(
            open(varn::device_path("/tmp/usbdinfo.dat").c_str(), O_RDONLY | O_CLOEXEC));
        file.ok()) {
        // A short file leaves the rest as the caller had it.
        [[maybe_unused]] const ssize_t got = read(file.get(), record, sizeof *record);
        printf("%s vid=%04x pid=%04x speed=%d/%d link=%d class=%x#%x#%x %x#%x#%x\n", __func__,
               record->vendor_id, record->product_id, record->highest_speed, record->current_speed,
               record->link_state, record->class1, record->subclass1, record->protocol1,
               record->class2, record->subclass2, record->protocol2);
    }
    char xml[768];
    snprintf(xml, sizeof xml,
             "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
             "<iocap:IoCapabilities>\r\n"
             "<iocap:UsbConfigs>\r\n"
             "<io:UsbConfig>\r\n"
             "<dd:DirectConnectPortType>usb</dd:DirectConnectPortType>\r\n"
             "<dd:USBVersion>%s</dd:USBVersion>\r\n"
             "<dd:USBVid>%04x</dd:USBVid>\r\n"
             "<dd:USBPid>%04x</dd:USBPid>\r\n"
             "<dd:USBInterface>%x#%x#%x</dd:USBInterface>\r\n"
             "</io:UsbConfig>\r\n"
             "</iocap:UsbConfigs>\r\n"
             "</iocap:IoCapabilities>\r\n"
             "\r\n",
             usb_version(record->highest_speed), record->vendor_id, record->product_id,
             record->class1, record->subclass1, record->protocol1);
    return common_find_and_update_xmlfile(xml, "iocap:IoCapabilities",
                                          "/tmp/xml_tickets/IoMgmt/IoMgmtCap.xml");
}
}
