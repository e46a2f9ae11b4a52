#include "bench/device.h"

#include "platform/mvtc.h"
#include "varn/varn.h"

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

} // namespace

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
}
