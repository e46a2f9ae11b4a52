/// The process-wide words of the scan path and their accessors.

#include "escl/scan_words.h"

#include <cstdio>
#include <cstring>

// Status.
uintptr_t receiveimage_thread = 0;
int32_t scanning_sts_change = 0;
int32_t cancelflag = 0;
int32_t scanning_job_status = 0;
int32_t scan_job_status = 0;
uint32_t scan_errcode = 0;
uint32_t scan_image_count = 0;
uint32_t send_image_count = 0;
uint32_t rjsend_image_count = 0;
int32_t jobstat_lock = 0;
int32_t Scan_Finish_Type = 0;
int32_t FBorADF = 0;
int32_t flag_forimginfo = 0;
char escl_scan_job_uuid[40] = {};
char escl_scanning_scanjob_uuid[40] = {};
char g_job_uuid[40] = {};
int32_t g_is_reserverdjobsScan = 0;
int32_t AgeTime = 0;
int32_t AgeTime_before = 0;
// Checks its owner, so that giving it back without holding it does nothing.
pthread_mutex_t scan_job_mutex = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;

// Settings.
int32_t SinglePageMode = 0;
int32_t Multipick_dwIgnoreAreaExtent = 0;
int32_t AUTO_THRESHOLD_flg = 0;
int32_t IQ_Test = 0;
int32_t scan_withRJ = 0;
int32_t escl_scan_pdf = 0;
uint16_t dbColorMatrixParam[9] = {};
varn_scan_param g_scanparam = {};

// Execution.
int32_t g_esclscan_src = 0;
int32_t is_blk_mode = 0;
int32_t blk_mode_fd = 0;
int32_t image_file_type = 0;
int32_t scan_resolution = 0;
int32_t scan_paperH = 0;

using varn::load_word;
using varn::MutexLock;
using varn::store_word;

namespace varn {

void copy_uuid(char (&dst)[40], const char *src) {
    char copy[40] = {};
    strncpy(copy, src, sizeof copy - 1);
    memcpy(dst, copy, sizeof copy);
}

} // namespace varn

int32_t escl_is_scanthread_exist(void) { return load_word(receiveimage_thread) != 0 ? 1 : 0; }
int32_t escl_is_scanning(void) { return escl_is_scanthread_exist(); }
int32_t escl_is_scanning_sts_change(void) { return load_word(scanning_sts_change); }
char *escl_get_jobuuid(void) { return escl_scan_job_uuid; }
char *escl_getScanningJobUUID(void) { return escl_scanning_scanjob_uuid; }

int32_t escl_setScanningJobUUID(const char *uuid) {
    if (uuid == nullptr)
        return -1;
    varn::copy_uuid(escl_scanning_scanjob_uuid, uuid);
    printf("%s set id=%s, %s\n", __func__, uuid, escl_scanning_scanjob_uuid);
    return 0;
}

int32_t escl_get_cancel_ok(void) { return load_word(cancelflag); }

int32_t escl_set_cancel_ok(int32_t value) {
    store_word(cancelflag, value);
    return 0;
}

int32_t escl_set_scan_source(int32_t source) {
    store_word(g_esclscan_src, source);
    return 0;
}

int32_t escl_get_scan_resolution(void) { return load_word(scan_resolution); }
int32_t escl_get_scan_paperheight(void) { return load_word(scan_paperH); }

int32_t escl_get_resolution(void) {
    printf("wXresolution=%d\n", g_scanparam.wXresolution);
    return g_scanparam.wXresolution;
}

int32_t escl_is_duplex(void) {
    const uint32_t source = g_scanparam.dwADF;
    return source == 4 || source == 7 || source == 12 ? 1 : 0;
}

int32_t escl_get_is_RJob(void) {
    const int32_t stored = load_word(scan_withRJ);
    printf(">>>>>>>>>>scan_withRJ == %d\n", stored);
    return stored;
}

int32_t escl_isPDF(void) {
    const int32_t pdf = load_word(escl_scan_pdf);
    printf("escl_scan_pdf===%d\n", pdf);
    return pdf;
}

uint32_t escl_get_send_image_count(void) {
    const MutexLock lock(scan_job_mutex);
    return load_word(send_image_count);
}

int32_t escl_set_send_image_count(uint32_t count) {
    const MutexLock lock(scan_job_mutex);
    store_word(send_image_count, count);
    return 0;
}

uint32_t escl_get_scan_image_count(void) {
    const MutexLock lock(scan_job_mutex);
    return load_word(scan_image_count);
}

int32_t escl_get_scanning_job_status(void) {
    const MutexLock lock(scan_job_mutex);
    return load_word(scanning_job_status);
}

int32_t escl_get_image_file_type(void) {
    const MutexLock lock(scan_job_mutex);
    return load_word(image_file_type);
}

int32_t set_image_file_typebyeSCL(int32_t index) {
    const MutexLock lock(scan_job_mutex);
    store_word(image_file_type, index != 0 ? 0 : 3);
    return 0;
}

int32_t escl_setblockmode_fd(int32_t fd) {
    store_word(blk_mode_fd, fd);
    return 0;
}

int32_t escl_is_blockmode(void) { return load_word(is_blk_mode); }

int32_t setReservedJobs(const char *uuid) {
    if (uuid == nullptr)
        return -1;
    store_word(g_is_reserverdjobsScan, 0);
    printf("~~~~!!!!!!!!!!!!!!!setReservedJobs job=%s!!!!!!!! \n", uuid);
    varn::copy_uuid(g_job_uuid, uuid);
    store_word(g_is_reserverdjobsScan, 1);
    return 0;
}

int32_t clearReservedJobs(void) {
    puts("~~~~!!!!!!!!!!!!!!!clearReservedJobs!!!!!!!! ");
    varn::copy_uuid(g_job_uuid, "");
    store_word(g_is_reserverdjobsScan, 0);
    return 0;
}
