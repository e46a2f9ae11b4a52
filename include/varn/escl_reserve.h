/// Stored scan jobs: settings that a host left at the device, scanned when the operator says so.
///
/// A stored job stands in four places: the list "/tmp/xml_tickets/eSCL/ReserveJobs.xml", its
/// settings ticket "/tmp/xml_tickets/eSCL/<uuid>.xml", the engine's stored-job list, which is what
/// the panel shows, and the status document (state 7, pending and held). Each function below says
/// which of them it changes: no single one changes all four.
///
/// The list has no lock: no two functions of this header and no POST of a scan may overlap.
///
/// The panel's order of calls, `link` being the engine link and `cmd_fd` an action socket:
///   release   check the PIN against szPIN of the engine's entry, which holds 15 bytes of it at
///             most; mark the job as started in the engine; getIsReservedJobs(link) gives 1;
///             eSCL_SetReserveJob_Panel(name, uuid) gives 0, or else the job is gone;
///             escl_ScanSetting_ReserveJob(uuid, cmd_fd, no_multipick, uuid) gives 0: the settings
///             ticket is named by the identifier, so that goes in as the name too; then
///             scl_start_scan_ForRescl_start_scaneserveJob(cmd_fd, &image_fd) gives 201. On a
///             failure after the selection: set_scan_specific_jobstatus(7, uuid, 0) puts the job
///             back among the waiting ones, clearReservedJobs(), and the mark comes off
///   end       when the thread has ended and every image is delivered: escl_RemoveRJPCList(link,
///             uuid), parse_ReserveScanJob_delete(name, uuid), clearReservedJobs(), and the mark
///             comes off. The thread writes the last state itself, but for a scan with an engine
///             error: that stays at state 2 with no error, until set_scan_specific_jobstatus
///   cancel    escl_cancel_RJscan(link, uuid), waiting or running. A running scan ends by its
///             thread, which looks between two blocks; then clearReservedJobs(), and the mark
///             comes off
///   delete    escl_CancelScan_ReserveJob(name, uuid, 1) and escl_RemoveRJPCList(link, uuid)
///   decline   escl_CancelScan_ReserveJob(name, uuid, 0): only the marker
///   expiry    every few seconds while no stored job is scanned: for each entry of the engine's
///             list older than 300 s eSCL_ReserveScanJob_CheckTime(name, uuid) and
///             escl_RemoveRJPCList(link, uuid); then parse_ReserveScanJob_CheckTime() for entries
///             that only the list knows
#ifndef VARN_ESCL_RESERVE_H
#define VARN_ESCL_RESERVE_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Entry of the engine's stored-job list, 368 bytes on the wire, zero-filled. Texts are
/// terminated, cut to whole UTF-8 characters where they do not fit.
struct varn_stored_job {
    char szJobName[296];
    char szPIN[16]; /**< empty for a job without one */
    char szJobUUID[40];
    uint32_t dwSetTime; /**< seconds since the epoch at storing */
    uint8_t byFlatbed;  /**< 1: the job scans from the glass */
    uint8_t reserved357[11];
};

/// Room in the engine's list, id 4 of mvtc_read_H1_RJList.
/// fd        engine link
/// returns   0 for fewer than 5 entries, also when the engine does not tell; else -1
VARN_API int32_t ChkRJlistNum(int fd);
/// Adds a job to the engine's list. Null texts are empty ones. Returns 0, whatever the engine
/// answers.
/// fd        engine link
/// uuid      at most 39 bytes are taken; set_time in seconds since the epoch; flatbed 0 or 1
VARN_API int32_t AddRJlistToMVT(int fd, const char *uuid, uint32_t set_time, const char *job_name,
                                const char *pin, uint8_t flatbed);

/// Looks for a job in the list. The name is not looked at.
/// returns   0 when `uuid` is there; else -1
VARN_API int32_t parse_ReserveScanJob_Setting(const char *job_name, const char *uuid);
/// Takes every job older than 300 s from the list and saves it, unchanged too. The copy and the
/// engine's list stay, and so does the settings ticket: the file that goes is "<job name>.xml" in
/// the same folder, unless that is one of the device's own documents or has a slash in its name.
/// Returns 0.
VARN_API int32_t parse_ReserveScanJob_CheckTime(void);
/// Takes a job from list and copy and removes its settings ticket; see the wait below. No file is
/// touched when the list does not have it. Returns 0.
VARN_API int32_t parse_ReserveScanJob_deleteByID(const char *uuid);
/// The same, but list and copy are saved and the ticket is removed also when the list does not
/// have the job. The name is not looked at. Returns 0.
///
/// A reader of the copy makes "/tmp/xml_tickets/eSCL/ReserveJobs_Touch.xml" while it reads. The
/// copy is not written as long as that file is there: it is looked for every 50 ms, for 3 s at
/// most. A reader that has it still by then keeps an old copy, until the next change brings it up
/// to date; the list itself is saved before the wait.
VARN_API int32_t parse_ReserveScanJob_delete(const char *job_name, const char *uuid);

/// The operator picked a job at the panel. Result of parse_ReserveScanJob_Setting.
VARN_API int32_t eSCL_SetReserveJob_Panel(const char *job_name, const char *uuid);
/// A job's time is up: state 4 in the status document, then parse_ReserveScanJob_delete; the
/// engine's list stays. Returns 0.
VARN_API int32_t eSCL_ReserveScanJob_CheckTime(const char *job_name, const char *uuid);
/// The operator's answer to the question whether to delete a job. The engine's list stays.
/// button    1: parse_ReserveScanJob_delete and state 4; 2: the former only; 0: declined, the
///           marker "/tmp/rj_delete" is made; others nothing
/// returns   0
VARN_API int32_t escl_CancelScan_ReserveJob(const char *job_name, const char *uuid, int button);
/// Takes a job from the engine's list, and nothing else. Returns 200, also when it is not there.
/// fd        engine link
VARN_API int32_t escl_RemoveRJPCList(int fd, const char *uuid);
/// Cancels a stored job: the running scan when it is that job's, then the engine's list, list,
/// copy and ticket, and state 4, with its counters when it was running. Returns 200.
/// fd        engine link
VARN_API int32_t escl_cancel_RJscan(int fd, const char *uuid);

/// Selects the job for the next scan: copies at most 39 characters of `uuid`. Returns 0; -1 for
/// null.
VARN_API int32_t setReservedJobs(const char *uuid);
/// Undoes it: the next scan is a direct one. Returns 0.
VARN_API int32_t clearReservedJobs(void);
/// Asks the engine (id 6 of mvtc_read_H1_RJList) whether the panel has started a stored job: then
/// the next scan is that job's, and its states go to that job's entry.
/// fd        engine link
/// returns   the engine's flag, 0 when the engine does not tell
VARN_API int32_t getIsReservedJobs(int fd);

VARN_END_DECLS

#endif
