#include "fuzz/device.h"

#include "platform/mvtc.h"
#include "varn/varn.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sched.h>
#include <semaphore.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace varn::fuzz {
namespace {

void reset_values() {
    VARN_Init_jdescQ();
    g_job_id = 0;
    g_queue_jobidx = -1;
    g_EventCount = 0;
    clearReservedJobs();
    SinglePageMode = 0;
    set_scanjob_default_stat();
    receiveimage_thread = 0;
    scanning_sts_change = 0;
    scanning_job_status = 0;
    g_esclscan_src = 0;
    g_is_reserverdjobsScan = 0;
    g_scanparam = {};
    image_file_type = 0;
    flag_forimginfo = 0;
    Multipick_dwIgnoreAreaExtent = 0;
}

std::string content_of(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

Device::Device() {
    std::string name = "/dev/shm/varn-fuzz-XXXXXX";
    if (mkdtemp(name.data()) == nullptr)
        abort();
    root_ = name;
    fs::copy(VARN_ROOTFS_DIR, root_, fs::copy_options::recursive);
    put("/datafs/nvram.bin", std::string(288, '\x31'));
    put("/datafs/kobnvram.bin", std::string(16, '\0'));
    VARN_SetRoot(name.c_str());
    VARN_Init(static_cast<uint32_t>(-1));
    // The first job of a process makes files that later ones find.
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root_))
        if (entry.is_regular_file())
            originals_[entry.path()] = {content_of(entry.path()), entry.last_write_time()};
    // The library's log is of no use here, and costs more than the work.
    if (freopen("/dev/null", "w", stdout) == nullptr)
        abort();
}

Device::~Device() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

void Device::put(std::string_view path, std::string_view content) const {
    const fs::path full = root_.string() + std::string(path);
    fs::create_directories(full.parent_path());
    std::ofstream(full, std::ios::binary) << content;
}

void Device::restore() const {
    size_t kept = 0;
    std::vector<fs::path> strangers;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root_)) {
        if (entry.is_directory())
            continue;
        const auto original = originals_.find(entry.path());
        if (original == originals_.end()) {
            strangers.push_back(entry.path());
            continue;
        }
        ++kept;
        if (entry.last_write_time() == original->second.time)
            continue;
        std::ofstream(entry.path(), std::ios::binary) << original->second.content;
        fs::last_write_time(entry.path(), original->second.time);
    }
    for (const fs::path &path : strangers)
        fs::remove(path);
    if (kept == originals_.size())
        return;
    for (const auto &[path, original] : originals_)
        if (!fs::exists(path)) {
            std::ofstream(path, std::ios::binary) << original.content;
            fs::last_write_time(path, original.time);
        }
}

void Device::begin() {
    restore();
    reset_values();
    answers_ = {};
    next_ = 0;
    blocks_ = 0;
    pause_ = nullptr;
}

int32_t Device::answer(void *dst, size_t size) {
    auto *bytes = static_cast<uint8_t *>(dst);
    if (answers_.empty()) {
        memset(dst, 0, size);
        return 0;
    }
    const size_t turn = next_ % answers_.size();
    size_t filled = std::min(size, answers_.size() - turn);
    memcpy(bytes, answers_.data() + turn, filled);
    const size_t rest = std::min(size - filled, turn);
    memcpy(bytes + filled, answers_.data(), rest);
    // The pattern is there once; the rest of a large block is copies of copies.
    for (filled += rest; filled < size;) {
        const size_t n = std::min(filled, size - filled);
        memcpy(bytes + filled, bytes, n);
        filled += n;
    }
    next_ += size;
    return bytes[0] == 0xFF ? -1 : 0;
}

int32_t Device::answer_block(void *dst, size_t size) {
    constexpr unsigned most = 5;
    return ++blocks_ <= most ? answer(dst, size) : -1;
}

Device &device() {
    static Device device;
    return device;
}

} // namespace varn::fuzz

using varn::fuzz::device;

extern "C" {

// --- The engine ---------------------------------------------------------------------------------

int32_t mvtc_read_nvram(uint32_t, void *table, uint32_t, uint32_t size) {
    return device().answer(table, size);
}
int32_t mvtc_write_nvram(uint32_t, uint32_t, const void *, uint32_t) { return 0; }
int32_t mvtc_write_sleeptime(uint32_t, uint32_t) { return 0; }
int32_t mvtc_write_autoofftime(uint32_t, uint32_t) { return 0; }
int32_t mvtc_write_lcdc(uint32_t, const void *, uint32_t, uint32_t) { return 0; }
int32_t mvtc_cmd_factorydefault(uint32_t) { return 0; }
int32_t mvtc_write_fwpackage(uint32_t, uintptr_t, uintptr_t, uintptr_t) { return 0; }
int32_t mvtc_read_h1_parameter(uint32_t, void *block, uint32_t size, uint32_t) {
    return device().answer(block, size);
}
int32_t mvtc_write_h1_parameter(uint32_t, const void *, uint32_t, uint32_t) { return 0; }
int32_t mvtc_read_H1_profile(uint32_t, void *profile, uint32_t size, uint32_t) {
    return device().answer(profile, size);
}
int32_t mvtc_write_H1_profile(uint32_t, const void *, uint32_t, uint32_t) { return 0; }
int32_t mvtc_cmd_H1_profile(uint32_t, uint32_t, uint32_t, void *result) {
    return device().answer(result, 4);
}
int32_t mvtc_read_H1_PCList(uint32_t, void *buffer, uint32_t size, uint32_t) {
    return device().answer(buffer, size);
}
int32_t mvtc_write_H1_PCList(uint32_t, const void *, uint32_t) { return 0; }
int32_t mvtc_read_H1_RJList(uint32_t, void *buffer, uint32_t size, uint32_t) {
    return device().answer(buffer, size);
}
int32_t mvtc_write_H1_RJList(uint32_t, const void *, uint32_t) { return 0; }
int32_t mvtc_read_NetworkServer(uint32_t, uint32_t, void *block, uint32_t size) {
    return device().answer_block(block, size);
}
int32_t mvtc_write2_NetworkServer(uint32_t, uint32_t, const void *, uint32_t) { return 0; }
int32_t mvtc_read_scan_param(uint32_t, void *block) { return device().answer(block, 128); }
int32_t mvtc_write_scan_param(uint32_t, const void *) { return 0; }
int32_t mvtc_cmd_pick_media(uint32_t, void *status) { return device().answer(status, 32); }
int32_t mvtc_cmd_startscan(uint32_t, void *scratch, uint32_t) {
    return device().answer(scratch, 32);
}
int32_t mvtc_read_blockimage(uint32_t) { return 0; }
int32_t mvtc_cmd_outprocess_scan_end(uint32_t, void *record, uint32_t, uint32_t) {
    return device().answer(record, 64);
}

// --- Waits and commands: nothing waits for real, and nothing is run
// -------------------------------

int usleep(useconds_t) {
    device().pause();
    sched_yield();
    return 0;
}

/// The fuzzer's own thread sleeps a second at a time and must go on doing so.
unsigned sleep(unsigned seconds) {
    if (seconds == 1) {
        const timespec second = {1, 0};
        nanosleep(&second, nullptr);
    }
    return 0;
}

int sem_timedwait(sem_t *semaphore, const timespec *) {
    if (sem_trywait(semaphore) == 0)
        return 0;
    errno = ETIMEDOUT;
    return -1;
}

int system(const char *) { return 0; }
}
