/// The operations of platform/mvtc.h over the engine link.
#include "platform/mvtc.h"

#include "device/kob_common/exchange.h"
#include "device/kob_common/link.h"
#include "device/wire/local_socket.h"
#include "device/wire/places.h"

#define KOB_EXPORT __attribute__((visibility("default")))

namespace {

using varn::kob::exchange;
using varn::wire::link_refused;
using varn::wire::LinkOperation;
using In = std::span<const std::byte>;
using Out = std::span<std::byte>;

constexpr std::uint32_t scan_param_size = 128;
constexpr std::uint32_t scanner_status_size = 32;
constexpr std::uint32_t block_status_size = 64;
constexpr std::uint32_t counters_size = 64;
constexpr std::uint32_t test_result_size = 4;
constexpr std::uint32_t pc_entry_size = 4312;
constexpr std::uint32_t job_entry_size = 368;

/// A read of `size` bytes into the caller's buffer.
std::int32_t read_into(std::uint32_t fd, LinkOperation operation,
                       std::initializer_list<std::uint64_t> args, void *buffer,
                       std::uint32_t size) {
    if (!buffer)
        return link_refused;
    return exchange(fd, operation, args, {}, Out(static_cast<std::byte *>(buffer), size));
}

/// A write of `size` bytes of the caller's.
std::int32_t write_from(std::uint32_t fd, LinkOperation operation,
                        std::initializer_list<std::uint64_t> args, const void *data,
                        std::uint32_t size) {
    if (!data)
        return link_refused;
    return exchange(fd, operation, args, In(static_cast<const std::byte *>(data), size));
}

} // namespace

extern "C" {

KOB_EXPORT int kob_link_open(const char *root) {
    return varn::wire::connect_local(root && *root ? root : varn::wire::default_root,
                                     varn::wire::link_socket)
        .release();
}

KOB_EXPORT void kob_link_close(int fd) { varn::wire::Descriptor closing(fd); }

KOB_EXPORT unsigned long kob_broken_exchanges(void) { return varn::kob::broken_exchanges(); }

KOB_EXPORT int kob_set_document_format(int fd, int format) {
    if (fd < 0 || format < 0)
        return link_refused;
    return exchange(static_cast<std::uint32_t>(fd), LinkOperation::set_document_format,
                    {static_cast<std::uint64_t>(format)});
}

KOB_EXPORT int32_t mvtc_read_nvram(uint32_t fd, void *table, uint32_t offset, uint32_t size) {
    return read_into(fd, LinkOperation::read_nvram, {offset, size}, table, size);
}

KOB_EXPORT int32_t mvtc_write_nvram(uint32_t fd, uint32_t offset, const void *table,
                                    uint32_t size) {
    return write_from(fd, LinkOperation::write_nvram, {offset}, table, size);
}

KOB_EXPORT int32_t mvtc_write_sleeptime(uint32_t fd, uint32_t minutes) {
    return exchange(fd, LinkOperation::write_sleep_time, {minutes});
}

KOB_EXPORT int32_t mvtc_write_autoofftime(uint32_t fd, uint32_t minutes) {
    return exchange(fd, LinkOperation::write_auto_off_time, {minutes});
}

KOB_EXPORT int32_t mvtc_write_lcdc(uint32_t fd, const void *language, uint32_t size,
                                   uint32_t code) {
    return write_from(fd, LinkOperation::write_language, {code}, language, size);
}

KOB_EXPORT int32_t mvtc_cmd_factorydefault(uint32_t fd) {
    return exchange(fd, LinkOperation::factory_default, {});
}

KOB_EXPORT int32_t mvtc_write_fwpackage(uint32_t fd, uintptr_t a, uintptr_t b, uintptr_t c) {
    return exchange(fd, LinkOperation::write_firmware, {a, b, c});
}

KOB_EXPORT int32_t mvtc_read_h1_parameter(uint32_t fd, void *block, uint32_t size, uint32_t id) {
    return read_into(fd, LinkOperation::read_parameter, {id, size}, block, size);
}

KOB_EXPORT int32_t mvtc_write_h1_parameter(uint32_t fd, const void *block, uint32_t size,
                                           uint32_t id) {
    return write_from(fd, LinkOperation::write_parameter, {id}, block, size);
}

KOB_EXPORT int32_t mvtc_read_H1_profile(uint32_t fd, void *profile, uint32_t size, uint32_t id) {
    return read_into(fd, LinkOperation::read_profile, {id, size}, profile, size);
}

KOB_EXPORT int32_t mvtc_write_H1_profile(uint32_t fd, const void *profile, uint32_t size,
                                         uint32_t id) {
    return write_from(fd, LinkOperation::write_profile, {id}, profile, size);
}

KOB_EXPORT int32_t mvtc_cmd_H1_profile(uint32_t fd, uint32_t command, uint32_t slot, void *result) {
    return read_into(fd, LinkOperation::test_profile, {command, slot}, result, test_result_size);
}

KOB_EXPORT int32_t mvtc_read_H1_Bigdata(uint32_t fd, void *counters) {
    return read_into(fd, LinkOperation::read_counters, {}, counters, counters_size);
}

KOB_EXPORT int32_t mvtc_read_H1_PCList(uint32_t fd, void *buffer, uint32_t size, uint32_t id) {
    return read_into(fd, LinkOperation::read_pc_list, {id, size}, buffer, size);
}

KOB_EXPORT int32_t mvtc_write_H1_PCList(uint32_t fd, const void *entry, uint32_t operation) {
    return write_from(fd, LinkOperation::write_pc_list, {operation}, entry, pc_entry_size);
}

KOB_EXPORT int32_t mvtc_read_H1_RJList(uint32_t fd, void *buffer, uint32_t size, uint32_t id) {
    return read_into(fd, LinkOperation::read_job_list, {id, size}, buffer, size);
}

KOB_EXPORT int32_t mvtc_write_H1_RJList(uint32_t fd, const void *entry, uint32_t operation) {
    return write_from(fd, LinkOperation::write_job_list, {operation}, entry, job_entry_size);
}

KOB_EXPORT int32_t mvtc_read_NetworkServer(uint32_t fd, uint32_t command, void *block,
                                           uint32_t size) {
    return read_into(fd, LinkOperation::read_net_service, {command, size}, block, size);
}

KOB_EXPORT int32_t mvtc_write2_NetworkServer(uint32_t fd, uint32_t command, const void *message,
                                             uint32_t length) {
    return write_from(fd, LinkOperation::write_net_service, {command}, message, length);
}

KOB_EXPORT int32_t mvtc_read_scan_param(uint32_t fd, void *block) {
    return read_into(fd, LinkOperation::read_scan_param, {}, block, scan_param_size);
}

KOB_EXPORT int32_t mvtc_write_scan_param(uint32_t fd, const void *block) {
    return write_from(fd, LinkOperation::write_scan_param, {}, block, scan_param_size);
}

KOB_EXPORT int32_t mvtc_cmd_pick_media(uint32_t fd, void *status) {
    return read_into(fd, LinkOperation::pick_media, {}, status, scanner_status_size);
}

KOB_EXPORT int32_t mvtc_cmd_startscan(uint32_t fd, void *scratch, uint32_t stored) {
    return read_into(fd, LinkOperation::start_scan, {stored}, scratch, scanner_status_size);
}

KOB_EXPORT int32_t mvtc_read_blockimage(uint32_t fd) {
    return exchange(fd, LinkOperation::arm_blocks, {});
}

KOB_EXPORT int32_t mvtc_cmd_outprocess_scan_end(uint32_t fd, void *record, uint32_t a, uint32_t b) {
    return read_into(fd, LinkOperation::scan_sent, {a, b}, record, block_status_size);
}

} // extern "C"
