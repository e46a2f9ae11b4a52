/// Contract of libkob_common: the client of the scan engine that a device supplies.
///
/// libvarn calls these functions as undefined symbols, so a device's own library, or a test, can
/// stand in front of them at load time. Every call is one atomic exchange on the engine link:
/// two threads may call at once on one descriptor. Every function returns a negative value when
/// the engine refuses or the link is gone, and leaves its output buffers alone then. Numbers in
/// all records are little-endian. No function keeps a pointer after it returns.
#ifndef PLATFORM_MVTC_H
#define PLATFORM_MVTC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Identifiers of the engine's parameter blocks, with their sizes in bytes.
enum mvtc_h1_parameter_id {
    MVTC_PARAM_TIME_SERVICE = 2, ///< 3580 bytes
    MVTC_PARAM_SEND_USB = 3,     ///< 1720 bytes
    MVTC_PARAM_WEB = 4,          ///< 212 bytes
    MVTC_PARAM_ESCL_CONFIG = 9   ///< 128 bytes
};

/// Identifiers of the profile store. One profile is 5984 bytes.
enum mvtc_h1_profile_id {
    MVTC_PROFILE_EMAIL = 0,
    MVTC_PROFILE_SEND_USB = 1,
    MVTC_PROFILE_SHAREPOINT = 4,
    MVTC_PROFILE_JOB_TABLE = 25,    ///< twenty profiles at once, 119680 bytes
    MVTC_PROFILE_TEST_RESULT = 5566 ///< read only, 4 bytes: see mvtc_cmd_H1_profile
};

/// NVRAM table (288 bytes). `offset` is 0 and `size` 288 in every call of the library.
int32_t mvtc_read_nvram(uint32_t fd, void *table, uint32_t offset, uint32_t size);
/// The only way in which the table is ever written; the engine puts it on flash.
int32_t mvtc_write_nvram(uint32_t fd, uint32_t offset, const void *table, uint32_t size);

/// Minutes until the device sleeps / switches itself off; 0 is never.
int32_t mvtc_write_sleeptime(uint32_t fd, uint32_t minutes);
int32_t mvtc_write_autoofftime(uint32_t fd, uint32_t minutes);
/// Panel language: `language` points at the 4-byte code, `size` is 4, `code` the same value.
/// The engine also stores it at byte 76 of the NVRAM table.
int32_t mvtc_write_lcdc(uint32_t fd, const void *language, uint32_t size, uint32_t code);

int32_t mvtc_cmd_factorydefault(uint32_t fd);
/// Firmware package. The three words are passed on as the caller of KOB_UpdateFWPackage gave them.
int32_t mvtc_write_fwpackage(uint32_t fd, uintptr_t a, uintptr_t b, uintptr_t c);

int32_t mvtc_read_h1_parameter(uint32_t fd, void *block, uint32_t size, uint32_t id);
/// A block of 5984 bytes with the identifier 4 is no web block: it replaces the profile
/// MVTC_PROFILE_SHAREPOINT.
int32_t mvtc_write_h1_parameter(uint32_t fd, const void *block, uint32_t size, uint32_t id);

int32_t mvtc_read_H1_profile(uint32_t fd, void *profile, uint32_t size, uint32_t id);
int32_t mvtc_write_H1_profile(uint32_t fd, const void *profile, uint32_t size, uint32_t id);
/// Starts the connection test (`command` 1) of a job of the table, by its slot from 0. `result`
/// takes the 32-bit word that MVTC_PROFILE_TEST_RESULT reads from then on: 0 success, -1 nothing
/// was tested yet, 304 server not found, 305 no such folder there, 306 wrong credentials, any other
/// while the test runs. A free slot is refused.
int32_t mvtc_cmd_H1_profile(uint32_t fd, uint32_t command, uint32_t slot, void *result);

/// Counters block, 64 bytes: what the engine has counted since it was made. The word at byte 24 is
/// the number of page sides that came through the feeder.
int32_t mvtc_read_H1_Bigdata(uint32_t fd, void *counters);

/// Walk-up host list, kept across restarts: id 4 number of entries (4 bytes), 5 entries of 4312
/// bytes (struct varn_pc_record), 7 number of entries that the limit of ten counts (4 bytes): those
/// whose link is not USB.
int32_t mvtc_read_H1_PCList(uint32_t fd, void *buffer, uint32_t size, uint32_t id);
/// `operation` 1 adds the entry (4312 bytes) or replaces the one with its UUID, 2 removes that one.
int32_t mvtc_write_H1_PCList(uint32_t fd, const void *entry, uint32_t operation);

/// Stored-job list, kept across restarts: id 4 number of entries (4 bytes), 5 entries of 368 bytes
/// (struct varn_stored_job), zeros behind the last one, 6 the job that the operator started at the
/// panel (64 bytes: a 32-bit flag, not 0 for started, then the identifier, 40 bytes, terminated).
int32_t mvtc_read_H1_RJList(uint32_t fd, void *buffer, uint32_t size, uint32_t id);
/// `operation` 1 adds the entry (368 bytes), 2 removes the one with its identifier. The library
/// adds none beyond the fifth.
int32_t mvtc_write_H1_RJList(uint32_t fd, const void *entry, uint32_t operation);

/// Net service channel: read its status block (1384712 bytes), send it a message.
int32_t mvtc_read_NetworkServer(uint32_t fd, uint32_t command, void *block, uint32_t size);
int32_t mvtc_write2_NetworkServer(uint32_t fd, uint32_t command, const void *message,
                                  uint32_t length);

/// Scan parameter block, 128 bytes. A read gives the block that the engine accepted last.
int32_t mvtc_read_scan_param(uint32_t fd, void *block);
int32_t mvtc_write_scan_param(uint32_t fd, const void *block);

/// Picks the first sheet. `status` takes a 32-byte engine status record; bit 1 of its 16-bit word
/// at byte 8 tells that paper is loaded in the feeder.
int32_t mvtc_cmd_pick_media(uint32_t fd, void *status);
/// Starts the scan that the last written parameter block describes. `scratch` takes a 32-byte
/// engine status record; `stored` is 0 for a direct job, 1 for a stored job.
int32_t mvtc_cmd_startscan(uint32_t fd, void *scratch, uint32_t stored);
/// Arms the block transfer: from now on the image socket answers get-next-block.
int32_t mvtc_read_blockimage(uint32_t fd);
/// Tells the engine that every image went out. `record` is a 64-byte scratch record.
int32_t mvtc_cmd_outprocess_scan_end(uint32_t fd, void *record, uint32_t a, uint32_t b);

#ifdef __cplusplus
}
#endif
#endif
