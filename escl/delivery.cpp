#include "escl/delivery.h"

#include "escl/scan_words.h"
#include "frame/root.h"
#include "varn/escl_scan.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>

uint8_t g_current_blk_status[64] = {};
uint32_t m_BLK_CNT = 0;
int32_t m_isBlockStatusReady = 0;
int32_t m_isCurrnetBlockSent = 0;
int32_t m_isBlockReady = 0;
varn_image_info *imageinfolist = nullptr;
uint32_t scan_imginfo_idx = 0;

using varn::load_word;
using varn::store_word;

namespace varn {
namespace {

constexpr useconds_t poll_step_us = 5000;
constexpr int poll_limit = 60000; // 300 s

/// Held for the copy of the published record only.
std::mutex published_mutex;
std::mutex image_info_mutex;

/// First byte of a device file; 0 when there is none.
char first_byte(const char *path, int flags) {
    const UniqueFd file(open(device_path(path).c_str(), flags | O_CLOEXEC));
    char byte = 0;
    if (!file.ok() || read(file.get(), &byte, 1) != 1)
        return 0;
    return byte;
}

bool usb_unplugged() { return first_byte("/proc/kob_usbd/connect", O_RDWR) == '0'; }

bool wireless_lost(const char *carrier_file) {
    const char carrier = first_byte(carrier_file, O_RDONLY);
    return carrier == 0 || carrier == '0';
}

bool lost(const char *log) {
    store_word(cancelflag, 3);
    puts(log);
    return true;
}

/// The link that the request came over is gone, or a cable displaces it.
bool link_is_lost() {
    switch (load_word(g_esclscan_src)) {
    case 1:
        return read_ethernet_carrier() == 0 && lost("ETH DISCONNECT>>>>>>>");
    case 2:
        if (wireless_lost("/sys/class/net/wlan0/carrier"))
            return lost("WLAN0 DISCONNECT>>>>>>>");
        return read_ethernet_carrier() == 1 && lost("Use WLAN0 but Detect LAN cable in>>>>>>>");
    case 3:
        return wireless_lost("/sys/class/net/wlan1/carrier") && lost("WLAN1 DISCONNECT>>>>>>>");
    default:
        return false;
    }
}

} // namespace

int32_t read_ethernet_carrier() {
    const char carrier = first_byte("/sys/class/net/eth0/carrier", O_RDONLY);
    return carrier == 0 ? 0 : carrier - '0';
}

void reset_published_block() {
    const std::lock_guard lock(published_mutex);
    memset(g_current_blk_status, 0, sizeof g_current_blk_status);
    store_word(m_isBlockReady, 0);
    store_word(m_isBlockStatusReady, 0);
}

void publish_block(const BlockStatus &record, uint32_t ring_index) {
    const std::lock_guard lock(published_mutex);
    memcpy(g_current_blk_status, &record, sizeof g_current_blk_status);
    store_word(m_isCurrnetBlockSent, 0);
    m_BLK_CNT = ring_index;
    store_word(m_isBlockStatusReady, 1);
}

Delivery wait_for_delivery() {
    for (int count = 0;;) {
        usleep(poll_step_us);
        if (load_word(m_isCurrnetBlockSent) != 0)
            return Delivery::sent;
        if (load_word(cancelflag) != 0)
            return Delivery::cancelled;
        const bool from_usb = load_word(g_esclscan_src) == 0;
        if (from_usb) {
            // Over USB there is no time limit, and a host that is gone counts as served.
            if (usb_unplugged())
                return Delivery::usb_gone;
            continue;
        }
        if (++count > poll_limit) {
            printf("Scan Timeout>>>>>>>timeout_count=%d\n", count);
            store_word(cancelflag, 3);
            return Delivery::timed_out;
        }
        if (link_is_lost())
            return Delivery::link_lost;
    }
}

void append_image_info(const BlockStatus &record, uint32_t index) {
    auto *node = static_cast<varn_image_info *>(calloc(1, sizeof(varn_image_info)));
    if (node == nullptr)
        return;
    node->index = index;
    node->byImageKind = record.byImageKind;
    node->width = record.dwImageWidth;
    node->height = record.dwImageHeight;
    node->bytes_per_line = record.dwBytesPerLine;
    node->byColorDetected = record.byColorDetected;
    node->wCropBlank = record.wCropBlank;
    node->byDataCheck = record.byDataCheck;
    const std::lock_guard lock(image_info_mutex);
    varn_image_info **tail = &imageinfolist;
    while (*tail != nullptr)
        tail = &(*tail)->next;
    *tail = node;
}

void free_image_infos() {
    const std::lock_guard lock(image_info_mutex);
    scan_imginfo_idx = 0;
    while (imageinfolist != nullptr)
        free(std::exchange(imageinfolist, imageinfolist->next));
}

namespace {

const varn_image_info *find_image_info(uint32_t index) {
    const varn_image_info *node = imageinfolist;
    while (node != nullptr && node->index != index)
        node = node->next;
    return node;
}

/// The next image not yet told, or the last one again; null when there is none to tell.
const varn_image_info *next_image_info() {
    if (const varn_image_info *node = find_image_info(scan_imginfo_idx); node != nullptr) {
        ++scan_imginfo_idx;
        return node;
    }
    if (load_word(flag_forimginfo) != 0) {
        store_word(flag_forimginfo, 0);
        return nullptr;
    }
    return scan_imginfo_idx < 1 ? nullptr : find_image_info(scan_imginfo_idx - 1);
}

} // namespace
} // namespace varn

int32_t do_get_current_block_info(uint8_t out[64], uint32_t *block_index) {
    if (load_word(receiveimage_thread) == 0) {
        puts("do_get_current_block_info.receiveimage_thread is 0....");
        return -1;
    }
    if (out == nullptr || block_index == nullptr || load_word(m_isBlockStatusReady) != 1)
        return 0;
    const std::lock_guard lock(varn::published_mutex);
    memcpy(out, g_current_blk_status, sizeof g_current_blk_status);
    *block_index = m_BLK_CNT;
    store_word(m_isBlockStatusReady, 0);
    return 1;
}

void do_notify_send_CurrentBlock_done(void) { store_word(m_isCurrnetBlockSent, 1); }

int32_t escl_get_scanimageinfo(char **out, uint32_t *outlen, const char *uuid) {
    if (out == nullptr || outlen == nullptr || uuid == nullptr)
        return -1;
    varn_scan_image_info record = {};
    {
        const std::lock_guard lock(varn::image_info_mutex);
        const varn_image_info *node = varn::next_image_info();
        if (node == nullptr)
            return -1;
        varn::copy_uuid(record.uuid, uuid);
        record.width = node->width;
        record.height = node->height;
        record.bytes_per_line = node->bytes_per_line;
        record.byColorDetected = node->byColorDetected;
        record.wCropBlank = node->wCropBlank;
        record.byDataCheck = node->byDataCheck;
    }
    record.out_buf = out;
    record.out_len = outlen;
    return eSCL_GetScanImageInfo(&record);
}

namespace {

constexpr const char *image_extensions[] = {".jpg", ".tif", ".pdf", ".raw"};

void format_image_name(char *dst, uint32_t number) {
    const int32_t type = load_word(image_file_type);
    if (type == 2)
        strcpy(dst, "Scan.pdf");
    else
        snprintf(dst, 32, "%03d%s", static_cast<int>(number),
                 image_extensions[type >= 0 && type <= 3 ? type : 0]);
    printf("%s \n", dst);
}

} // namespace

int32_t escl_get_image_file2(char *dst) {
    const varn::MutexLock lock(scan_job_mutex);
    if (dst != nullptr)
        format_image_name(dst, load_word(send_image_count));
    return 200;
}

int32_t escl_get_rjimage_file2(char *dst) {
    const varn::MutexLock lock(scan_job_mutex);
    const uint32_t number = varn::add_word(rjsend_image_count, 1);
    if (dst != nullptr)
        format_image_name(dst, number);
    return 200;
}
