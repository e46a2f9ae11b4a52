/// Status changes of jobs, and the engine's status.

#include "escl/engine_socket.h"
#include "escl/scan_words.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

using varn::load_word;
using varn::MutexLock;
using varn::store_word;

namespace varn {
namespace {

varn_scan_job_info make_info(const char *uuid, int32_t status, uint32_t errcode) {
    varn_scan_job_info info = {};
    copy_uuid(info.uuid, uuid);
    info.status = status;
    info.errcode = errcode;
    return info;
}

void add_counts(varn_scan_job_info &info) {
    info.imagesCompleted = load_word(send_image_count);
    info.imagesToTransfer = load_word(scan_image_count) - info.imagesCompleted;
}

} // namespace
} // namespace varn

int32_t kob_inquire_scanner_status(int32_t cmd_fd, int32_t mode, varn_scanner_status *out) {
    varn_scanner_status status = {};
    const auto command = varn::make_command(varn::op_inquire, varn::sub_status,
                                            static_cast<uint16_t>(mode == 2 ? 1 : 0), 0);
    const int32_t sent = send_action_cmd(cmd_fd, &command, &status, nullptr, 0);
    printf("ScannerStatus.dwLastErr=0x%x nret=%d wDTQ=%d\n", status.dwLastErr, sent, command.wDTQ);
    if (out != nullptr)
        *out = status;
    if (mode != 1)
        return sent;
    if (sent != 0) {
        printf("%s: Retrun 503 since get status fail!\n", __func__);
        return 503;
    }
    if (status.wFWInfo == 4) {
        printf("%s: Retrun 503 since scanner is busy\n", __func__);
        return 503;
    }
    // Any other activity is neither: the caller hands the 0 on.
    return status.wFWInfo == 0 ? 201 : 0;
}

uint32_t eSCL_GetScannerLastError(int32_t cmd_fd) {
    varn_scanner_status status = {};
    kob_inquire_scanner_status(cmd_fd, 0, &status);
    return status.dwLastErr;
}

int32_t eSCL_GetScannerStatus(int32_t cmd_fd) {
    varn_scanner_status status = {};
    return kob_inquire_scanner_status(cmd_fd, 1, &status) == 201 ? 0 : -1;
}

int32_t escl_get_scanner_status(int32_t cmd_fd, char **out, uint32_t *outlen) {
    varn_scanner_status status = {};
    if (kob_inquire_scanner_status(cmd_fd, 2, &status) != 0) {
        printf("Return 0 since kob_inquire_scanner_status fail...cmdsockfd=%d\n", cmd_fd);
        return 0;
    }
    const MutexLock lock(scan_job_mutex);
    return eSCL_GetScanStatus(&status, out, outlen, static_cast<uint32_t>(load_word(FBorADF)));
}

int32_t set_scan_scanning_jobstatus(int32_t status) {
    const MutexLock lock(scan_job_mutex);
    store_word(scanning_job_status, status);
    if (load_word(jobstat_lock) == 1) {
        printf("%s,jobstat_lock=1, Impossible!!!!!!!!!!!!!!\n", __func__);
        usleep(200000);
    }
    if (status == JOBSTAT_ABORTED)
        store_word(flag_forimginfo, 1);
    auto info = varn::make_info(escl_scanning_scanjob_uuid, status, load_word(scan_errcode));
    varn::add_counts(info);
    printf("%s: jobid=%s jobstatus=%d scan_image_count=%d send_image_count=%d "
           "scan_errcode=%#x\n",
           __func__, info.uuid, status, static_cast<int>(load_word(scan_image_count)),
           static_cast<int>(info.imagesCompleted), info.errcode);
    eSCL_FWUpdateScanJobInfo(&info);
    return 0;
}

int32_t set_scan_specific_jobstatus(int32_t status, const char *uuid, uint32_t with_counts) {
    if (uuid == nullptr)
        return -1;
    const MutexLock lock(scan_job_mutex);
    store_word(scan_job_status, status);
    printf("%s: uuid=%s status=%d\n", __func__, uuid, status);
    auto info = varn::make_info(uuid, status, load_word(scan_errcode));
    if (with_counts != 0)
        varn::add_counts(info);
    if (status == JOBSTAT_CREATED)
        eSCL_FWSetScanJobInfo(&info);
    else
        eSCL_FWUpdateScanJobInfo(&info);
    return 0;
}

int32_t set_scan_job_status_forReserveJob(int32_t status, const char *uuid) {
    store_word(scan_job_status, status);
    printf("~~~set_scan_job_status_forReserveJob: escl_scan_job_id = %s \n", escl_scan_job_uuid);
    auto info = varn::make_info(escl_scan_job_uuid, status, 0);
    if (status == JOBSTAT_STORED) {
        eSCL_FWSetScanJobInfo(&info);
    } else if (uuid != nullptr) {
        varn::copy_uuid(info.uuid, uuid);
        eSCL_FWUpdateScanJobInfo(&info);
    }
    // Not locked above: the callers take it. The mutex checks its owner, so that a call without it
    // gives nothing back.
    pthread_mutex_unlock(&scan_job_mutex);
    return 0;
}

int32_t create_scan_job_status(void) {
    const MutexLock lock(scan_job_mutex);
    store_word(scan_job_status, JOBSTAT_CREATED);
    store_word(jobstat_lock, 1);
    printf("%s escl_scan_job_id=%s status=%d\n", __func__, escl_scan_job_uuid, JOBSTAT_CREATED);
    auto info = varn::make_info(escl_scan_job_uuid, JOBSTAT_CREATED, 0);
    eSCL_FWSetScanJobInfo(&info);
    store_word(jobstat_lock, 0);
    return 0;
}
