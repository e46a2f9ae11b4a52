/// Scan job status: the state of the running job and the status document.
///
/// `cmd_fd` is the engine's action socket, opened with unix_socket_connect.
#ifndef VARN_ESCL_STATUS_H
#define VARN_ESCL_STATUS_H

#include <pthread.h>

#include "varn/base.h"

struct soap;
struct scan__ScanJobInfoType;

VARN_BEGIN_DECLS

/// Engine status, 32 bytes on the wire.
struct varn_scanner_status {
    uint32_t dwLastErr; /**< 0 none, 0x20xx feeder errors, 0x40xx cancelled */
    uint16_t wFWInfo;   /**< 0 idle, 4 busy */
    uint8_t byFlowStatus;
    uint8_t byID;
    uint16_t wSensorStatus; /**< bit 0 hatch open, bit 1 paper in the feeder */
    uint8_t reserved10[12];
    uint8_t byPanelTakeover; /**< not 0: the operator handles the error at the panel */
    uint8_t reserved23[7];
    uint8_t byPowerDown;
    uint8_t reserved31;
};

/// What a status change hands to the document.
struct varn_scan_job_info {
    char uuid[40]; /**< terminated */
    int32_t status;
    uint32_t errcode;
    uint32_t imagesCompleted;
    uint32_t imagesToTransfer;
};

/// Job status values.
enum varn_job_status {
    JOBSTAT_CREATED = 1,
    JOBSTAT_SCANNING = 2,
    JOBSTAT_COMPLETED = 3,
    JOBSTAT_CANCELED_BY_USER = 4,
    JOBSTAT_CANCELED_AT_DEVICE = 5,
    JOBSTAT_ABORTED = 6,
    JOBSTAT_STORED = 7
};

/// Words of the running scan. Threads read and write them while a scan runs: a caller uses the
/// accessors below.
extern VARN_API uintptr_t receiveimage_thread; /**< receive thread, 0 no scan */
extern VARN_API int32_t scanning_sts_change;   /**< 1 while the thread's main loop runs */
extern VARN_API int32_t cancelflag; /**< 1 cancel asked, 2 engine abort, 3 failure or lost link */
extern VARN_API int32_t scanning_job_status;
extern VARN_API int32_t scan_job_status;
extern VARN_API uint32_t scan_errcode;
extern VARN_API uint32_t scan_image_count; /**< images begun by the engine */
extern VARN_API uint32_t send_image_count; /**< images fully received */
extern VARN_API uint32_t rjsend_image_count;
extern VARN_API int32_t jobstat_lock;
extern VARN_API int32_t Scan_Finish_Type; /**< 1: the engine ended with images undelivered */
extern VARN_API int32_t FBorADF;          /**< 1: the job being started uses the flatbed */
extern VARN_API int32_t flag_forimginfo;
extern VARN_API char escl_scan_job_uuid[40];         /**< of the latest POST */
extern VARN_API char escl_scanning_scanjob_uuid[40]; /**< of the job that is scanned */
extern VARN_API char g_job_uuid[40];                 /**< of the selected stored job */
extern VARN_API int32_t g_is_reserverdjobsScan;
extern VARN_API int32_t AgeTime;        /**< seconds between the last two updates */
extern VARN_API int32_t AgeTime_before; /**< second of the day of the last update */
/// Guards the counters and the status document. Set up once, checks its owner.
extern VARN_API pthread_mutex_t scan_job_mutex;

/// Asks the engine for its status.
/// mode      0 and 2: result of the exchange, 0 or negative; 2 also sets the command's selector.
///           1: 201 idle, 503 busy or no answer, 0 for any other activity
/// out       filled on an answer, zeroed otherwise; null allowed
VARN_API int32_t kob_inquire_scanner_status(int32_t cmd_fd, int32_t mode,
                                            struct varn_scanner_status *out);
/// The engine's last error word; 0 when it does not answer.
VARN_API uint32_t eSCL_GetScannerLastError(int32_t cmd_fd);
/// 0 when the engine is idle, else -1.
VARN_API int32_t eSCL_GetScannerStatus(int32_t cmd_fd);

/// GET of "/eSCL/ScannerStatus": engine status and job list.
/// returns   0; -1 when the ticket cannot be read back. When the engine does not answer the
///           result is 0 and the outputs are untouched: set them to null and 0 first
/// overlap   may run beside a scan; takes scan_job_mutex
VARN_API int32_t escl_get_scanner_status(int32_t cmd_fd, char **out, uint32_t *outlen);
/// Rewrites the ticket "/tmp/xml_tickets/eSCL/ScannerStatus.xml" from `status`.
/// fb_or_adf 1 for a flatbed job: a jam leaves its entry alone
/// returns   0 without `out`; else 0 or -1 from the read-back
/// overlap   the caller holds scan_job_mutex while a scan may run
VARN_API int32_t eSCL_GetScanStatus(struct varn_scanner_status *status, char **out,
                                    uint32_t *outlen, uint32_t fb_or_adf);
/// Marks the scanner as processing in the ticket. Returns 0.
VARN_API int32_t eSCL_GetScanStatus_ForReserve(void);
/// 1 in *busy when the newest job is pending or processing, 0 when it has ended or there is
/// none; left alone for a held or stopped job. Returns 0.
VARN_API int32_t eSCL_FWGetScanJobInfo(uint32_t ignored, uint32_t *busy);
/// Enters a job as the newest. Returns 0.
VARN_API int32_t eSCL_FWSetScanJobInfo(struct varn_scan_job_info *info);
/// Changes the entry of a job. Returns 0, also when there is no such entry.
VARN_API int32_t eSCL_FWUpdateScanJobInfo(struct varn_scan_job_info *info);

/// Fills one job entry of the document from a status change, in the memory of `context`.
VARN_API void setjobstatus(struct soap *context, struct scan__ScanJobInfoType *job,
                           const struct varn_scan_job_info *info);

/// Status of the job that is scanned. Takes scan_job_mutex. Returns 0.
VARN_API int32_t set_scan_scanning_jobstatus(int32_t status);
/// Status of a named job (`uuid` 36 characters); counters only with `with_counts`. Takes
/// scan_job_mutex. Returns 0; -1 for null.
VARN_API int32_t set_scan_specific_jobstatus(int32_t status, const char *uuid,
                                             uint32_t with_counts);
/// Status of a stored job: 7 enters the job of the latest POST; any other changes that of
/// `uuid`, null none. Does not take scan_job_mutex but gives it back at its end: take it before the
/// call when a scan may run, whose thread changes the document too. Returns 0.
VARN_API int32_t set_scan_job_status_forReserveJob(int32_t status, const char *uuid);
/// Enters the job of the latest POST with status 1. Takes scan_job_mutex. Returns 0.
VARN_API int32_t create_scan_job_status(void);
/// Counters, flags and image list back to their start, as a scan begins. Returns 0.
VARN_API int32_t set_scanjob_default_stat(void);

/// Accessors for the image-delivery side.
VARN_API int32_t escl_is_scanthread_exist(void); /**< 1 while a receive thread exists */
VARN_API int32_t escl_is_scanning(void);         /**< the same */
VARN_API int32_t escl_is_scanning_sts_change(void);
VARN_API char *escl_get_jobuuid(void);        /**< buffer of the latest POST's identifier */
VARN_API char *escl_getScanningJobUUID(void); /**< buffer of the running job's identifier */
/// Copies at most 39 characters of `uuid`. Returns 0; -1 for null.
VARN_API int32_t escl_setScanningJobUUID(const char *uuid);
VARN_API int32_t escl_get_cancel_ok(void);
VARN_API int32_t escl_set_cancel_ok(int32_t value);
/// 0 USB, 1 eth0, 2 wlan0, 3 wlan1: where the next request came from.
VARN_API int32_t escl_set_scan_source(int32_t source);
VARN_API int32_t escl_get_scan_resolution(void);  /**< dots per inch */
VARN_API int32_t escl_get_scan_paperheight(void); /**< lines at scan resolution */
VARN_API int32_t escl_get_resolution(void);       /**< of the block that the engine accepted */
VARN_API int32_t escl_is_duplex(void);            /**< 1 two-sided, of that block */
VARN_API int32_t escl_get_is_RJob(void);
VARN_API int32_t escl_isPDF(void);
VARN_API uint32_t escl_get_send_image_count(void);
VARN_API int32_t escl_set_send_image_count(uint32_t count);
VARN_API uint32_t escl_get_scan_image_count(void);
VARN_API int32_t escl_get_scanning_job_status(void);
/// 0 ".jpg", 1 ".tif", 2 ".pdf", 3 ".raw".
VARN_API int32_t escl_get_image_file_type(void);
/// 3 for `index` 0, else 0. Returns 0.
VARN_API int32_t set_image_file_typebyeSCL(int32_t index);

VARN_END_DECLS

#endif
