#include "bench/device.h"

#include "device/wire/net_block.h"
#include "platform/mvtc.h"
#include "varn/varn.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace varn::bench {
namespace {

fs::path running_root;

/// The files that a device in use has beside those of the tree.
void put_device_state() {
    std::string nvram(288, '\0');
    nvram.replace(25, 10, "CN12345678");
    nvram.replace(176, 6, "Desk 7");
    nvram.replace(241, 36, "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab");
    put("/datafs/nvram.bin", nvram);
    const uint32_t power[4] = {0, 0, 15, 120};
    put("/datafs/kobnvram.bin", {reinterpret_cast<const char *>(power), sizeof power});
    put("/proc/kob_usbd/connect", "1");
}

namespace net = wire::net;

/// A status block as it is with ten networks in range and four clients.
class NetBlock {
public:
    NetBlock() {
        put(net::live::host_name, "front-desk");
        put(net::saved::default_host_name, "front-desk");
        for (std::size_t i = 0; i < net::interfaces; ++i)
            put_interface(i * net::live::interface_stride);
        put(net::saved::station_ssid, "Warehouse");
        put(net::saved::station_security, "WPA-PSK+WPA2-PSK");
        put(net::saved::station_pass_phrase, "open sesame");
        put_word(net::scan::count, 10);
        for (std::size_t i = 0; i < 10; ++i)
            put_network(net::scan::first + i * net::scan::stride);
        put_word(net::clients::count, 4);
        for (std::size_t i = 0; i < 4; ++i)
            put_client(net::clients::first + i * net::clients::stride);
    }
    const std::string &bytes() const { return bytes_; }

private:
    void put(net::Text field, std::string_view text) {
        bytes_.replace(field.offset, text.size(), text);
    }
    void put_word(std::size_t offset, uint8_t value) { bytes_[offset] = static_cast<char>(value); }
    void put_interface(std::size_t at) {
        put(net::live::mac.at(at), "02:5C:FD:80:80:4C");
        put(net::live::address.at(at), "192.168.10.96");
        put(net::live::mask.at(at), "255.255.255.0");
        put(net::live::gateway.at(at), "192.168.10.1");
        put(net::live::dns[0].at(at), "192.168.10.1");
        put_word(net::live::ipv6_count + at, 2);
        put(net::live::ipv6_address.at(at), "fe80::5c:fdff:fe80:804c");
        put_word(net::live::power_on + at, 1);
        put_word(net::live::connected + at, 1);
    }
    void put_network(std::size_t at) {
        put(net::scan::ssid.at(at), "Warehouse");
        put(net::scan::bssid.at(at), "02:1A:E1:5C:2B:C4");
        put_word(at + net::scan::signal, 3);
        put_word(at + net::scan::channel, 6);
        put(net::scan::security.at(at), "WPA-PSK+WPA2-PSK");
        put(net::scan::encryption.at(at), "AES+TKIP");
    }
    void put_client(std::size_t at) {
        put(net::clients::name.at(at), "phone");
        put(net::clients::address.at(at), "192.168.223.20");
        put(net::clients::mac.at(at), "02:00:00:00:00:01");
    }

    std::string bytes_ = std::string(net::block_size, '\0');
};

unsigned block_reads = 0;

/// A profile as all services use it; many of them are a full table of jobs.
std::string profile() {
    std::string record(5984, '\0');
    const auto put_field = [&record](size_t offset, std::string_view text) {
        record.replace(offset, text.size(), text);
    };
    record[4] = 7;
    record[956] = 2;
    put_field(960, "\xC8"); // 200 dots per inch
    put_field(8, "Minutes of the meeting");
    put_field(696, "scan");
    put_field(3088, "desk");
    put_field(3600, "https://share.example/sites/front-desk/scans");
    put_field(4112, "ann");
    put_field(4240, "open sesame");
    put_field(4368, "/DevMgmt/SharePoint/PredefinedJobs/6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab");
    put_field(4664, "scans");
    put_field(5052, "desk@varn.example");
    put_field(5180, "mail.example");
    put_field(5452, "Scanned at the front desk.");
    put_field(5708, "Scan");
    return record;
}

} // namespace

unsigned net_block_reads() { return block_reads; }

MemoryTree::MemoryTree() {
    std::string name = "/dev/shm/varn-bench-XXXXXX";
    if (mkdtemp(name.data()) == nullptr)
        return;
    running_root = root_ = name;
    fs::copy(VARN_ROOTFS_DIR, root_, fs::copy_options::recursive);
    put_device_state();
    ok_ = VARN_SetRoot(name.c_str()) == 0;
}

MemoryTree::~MemoryTree() {
    VARN_SetRoot(nullptr);
    std::error_code ignored;
    if (!root_.empty())
        fs::remove_all(root_, ignored);
}

std::string place(std::string_view path) { return running_root.string() + std::string(path); }

void put(std::string_view path, std::string_view content) {
    fs::create_directories(fs::path(place(path)).parent_path());
    std::ofstream(place(path), std::ios::binary) << content;
}

std::string get(std::string_view path) {
    std::ifstream file(place(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

char *read_file(const char *path, size_t &size) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    struct stat info {};
    char *text = nullptr;
    if (fd >= 0 && fstat(fd, &info) == 0) {
        size = static_cast<size_t>(info.st_size);
        text = static_cast<char *>(malloc(size + 1));
    }
    if (text != nullptr && read(fd, text, size) != info.st_size) {
        free(text);
        text = nullptr;
    }
    if (text != nullptr)
        text[size] = '\0';
    if (fd >= 0)
        close(fd);
    return text;
}

} // namespace varn::bench

// The engine of the device: how long a link takes is the device's affair, not the library's.
extern "C" {

/// Three hosts that can be picked at the panel.
int32_t mvtc_read_H1_PCList(uint32_t, void *buffer, uint32_t length, uint32_t selector) {
    constexpr uint32_t count = 3;
    if (selector != 5) {
        memcpy(buffer, &count, sizeof count);
        return 0;
    }
    for (uint32_t i = 0; i < length / sizeof(varn_pc_record); ++i) {
        varn_pc_record record = {};
        snprintf(record.szPCNameUTF8, sizeof record.szPCNameUTF8, "desk %u", i);
        snprintf(record.szPCUUID, sizeof record.szPCUUID, "6f1c1f0e-2b3a-4c5d-8e9f-00000000000%u",
                 i % 10);
        record.dwLinkType = 1;
        record.dwShortcutNum = 2;
        strcpy(record.szShortcut[0], "Letters");
        strcpy(record.szShortcut[1], "Photos");
        memcpy(static_cast<char *>(buffer) + i * sizeof record, &record, sizeof record);
    }
    return 0;
}
int32_t mvtc_write_H1_PCList(uint32_t, const void *, uint32_t) { return 0; }

int32_t mvtc_read_h1_parameter(uint32_t, void *block, uint32_t size, uint32_t) {
    memset(block, 0, size);
    return 0;
}

int32_t mvtc_read_NetworkServer(uint32_t, uint32_t, void *block, uint32_t size) {
    static const varn::bench::NetBlock source;
    memcpy(block, source.bytes().data(), size);
    ++varn::bench::block_reads;
    return 0;
}

int32_t mvtc_write2_NetworkServer(uint32_t, uint32_t, const void *, uint32_t) { return 0; }

int32_t mvtc_read_H1_profile(uint32_t, void *records, uint32_t size, uint32_t) {
    static const std::string record = varn::bench::profile();
    for (size_t at = 0; at < size; at += record.size())
        memcpy(static_cast<char *>(records) + at, record.data(),
               std::min(record.size(), size - at));
    return 0;
}
}
