/// Starting, cancelling and stopping a scan.

#include "escl/engine_socket.h"
#include "escl/receive_thread.h"
#include "escl/scan_words.h"
#include "platform/mvtc.h"
#include "varn/escl_scan.h"
#include "varn/escl_tone.h"
#include "varn/frame.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

using varn::load_word;
using varn::make_command;
using varn::store_word;

namespace varn {
namespace {

constexpr uint32_t bw_black_is_zero = 0x2000000; ///< dwImageProcess2

/// Settings of a job on their way to the engine.
struct Job {
    varn_scan_param block = {};
    varn_gamma_str gamma = {};
    varn_multipick multipick = {};
};

/// The action socket during one call. A failed write closes the descriptor, whose number may
/// then be anybody's: from there on the socket counts as none.
class ActionSocket {
public:
    explicit ActionSocket(int32_t fd) : fd_(fd) {}

    int32_t inquire(int32_t mode, varn_scanner_status &status) {
        const int32_t result = kob_inquire_scanner_status(fd_, mode, &status);
        if (result < 0 || (mode == 1 && result == 503 && status.wFWInfo == 0))
            fd_ = 0;
        return result;
    }
    void read(uint8_t sub_command, void *data, uint32_t length) {
        transfer(op_read, sub_command, 0, data, length);
    }
    void write(uint8_t sub_command, uint16_t selector, void *data, uint32_t length) {
        transfer(op_write, sub_command, selector, data, length);
    }

private:
    void transfer(uint8_t opcode, uint8_t sub_command, uint16_t selector, void *data,
                  uint32_t length) {
        const varn_action_cmd command = make_command(opcode, sub_command, selector, length);
        if (send_action_cmd(fd_, &command, nullptr, data, length) < 0)
            fd_ = 0;
    }

    int32_t fd_;
};

void read_gamma(ActionSocket &engine, Job &job) {
    engine.read(sub_gamma_str, &job.gamma, sizeof job.gamma);
}

void write_gamma(ActionSocket &engine, Job &job) {
    engine.write(sub_gamma_str, 0, &job.gamma, sizeof job.gamma);
}

void write_multipick_and_tables(ActionSocket &engine, Job &job) {
    if (job.multipick.words[2] != 0)
        engine.write(sub_multipick, 1, &job.multipick, sizeof job.multipick);
    if (load_word(GammaTableSettingValue) == 0)
        return;
    // The fourth table repeats the red one, as the engine expects it.
    uint16_t *const tables[] = {pGammaTarvis_R, pGammaTarvis_G, pGammaTarvis_B, pGammaTarvis_R};
    uint16_t selector = 2;
    for (uint16_t *table : tables)
        engine.write(sub_gamma_table, selector++, table, sizeof pGammaTarvis_R);
}

/// A USB host takes the scanner over: the running scan is cancelled and awaited.
void override_running_scan() {
    if (load_word(receiveimage_thread) == 0 || load_word(g_esclscan_src) != 0)
        return;
    printf("receiveimage_thread = %d exist and from USB, Override!\n",
           static_cast<int>(load_word(receiveimage_thread)));
    if (load_word(scanning_job_status) != JOBSTAT_ABORTED)
        store_word(cancelflag, 1);
    while (load_word(receiveimage_thread) != 0) {
        sleep(1);
        printf("For CR#38786  receiveimage_thread = %d \t",
               static_cast<int>(load_word(receiveimage_thread)));
    }
}

uint32_t newest_job_is_busy() {
    uint32_t busy = 0;
    // The running scan may be rewriting the document.
    const MutexLock lock(scan_job_mutex);
    eSCL_FWGetScanJobInfo(0, &busy);
    return busy;
}

void start_engine(uint32_t stored) {
    uint8_t scratch[64] = {};
    mvtc_cmd_startscan(static_cast<uint32_t>(varn_mvt_fd), scratch, stored);
    mvtc_read_scan_param(static_cast<uint32_t>(varn_mvt_fd), &g_scanparam);
    mvtc_read_blockimage(static_cast<uint32_t>(varn_mvt_fd));
}

/// Starts the thread and enters the job; see StartGate for the order.
int32_t run_job(void *thread_arg) {
    StartGate gate;
    const int32_t result = create_receive_thread(thread_arg);
    if (result != 201)
        return result;
    gate.wait_until_set_up();
    copy_uuid(escl_scanning_scanjob_uuid, escl_scan_job_uuid);
    create_scan_job_status();
    set_scan_scanning_jobstatus(JOBSTAT_CREATED);
    return result;
}

/// The gates before the settings are looked at: 0 to go on, else the answer.
int32_t refuse_when_busy(ActionSocket &engine, const char *xml, uint32_t busy, bool *answered) {
    *answered = false;
    varn_scanner_status status = {};
    if (strstr(xml, "StoredJobRequest") != nullptr) {
        engine.inquire(1, status);
        return 0;
    }
    *answered = true;
    if (busy == 1) {
        puts("Return 503 since has scan job is processing...");
        return 503;
    }
    const int32_t idle = engine.inquire(1, status);
    *answered = idle != 201;
    return idle;
}

int32_t translate(ActionSocket &engine, char *xml, uint32_t xml_len, Job &job) {
    read_gamma(engine, job);
    const int32_t result =
        eSCL_ParseScanParam(xml, xml_len, &job.block, &job.gamma, &job.multipick,
                            escl_scan_job_uuid, static_cast<uint32_t>(load_word(g_esclscan_src)));
    if (job.block.dwADF == 0)
        store_word(FBorADF, 1);
    return result;
}

/// Hands the settings to the engine and starts it.
int32_t execute(ActionSocket &engine, void *thread_arg, Job &job) {
    write_gamma(engine, job);
    if (load_word(IQ_Test) != 0)
        engine.write(sub_color_matrix, 1, dbColorMatrixParam, sizeof dbColorMatrixParam);
    store_word(scan_resolution, job.block.wXresolution);
    store_word(scan_paperH, static_cast<int32_t>(job.block.dwPaperHeight));
    if (set_kob_scan_param(varn_mvt_fd, &job.block) != 0) {
        puts("Return 503 since set_kob_scan_param fail...");
        return 503;
    }
    write_multipick_and_tables(engine, job);
    const int32_t media = kob_pick_media(varn_mvt_fd);
    if (media != 201 && job.block.dwADF != 0) {
        printf("Return 409 since kob_start_scan_command fail nret=%d dwADF=%d\n", media,
               static_cast<int>(job.block.dwADF));
        return 409;
    }
    start_engine(0);
    return run_job(thread_arg);
}

} // namespace
} // namespace varn

int32_t kob_pick_media(int32_t fd) {
    varn_scanner_status status = {};
    mvtc_cmd_pick_media(static_cast<uint32_t>(fd), &status);
    const int32_t result = (status.wSensorStatus & varn::sensor_paper_loaded) != 0 ? 201 : 503;
    printf("%s, ret=%d\n", __func__, result);
    return result;
}

int32_t set_kob_scan_param(int32_t fd, varn_scan_param *block) {
    if (block == nullptr)
        return -1;
    if (load_word(escl_scan_pdf) != 0)
        puts("Scan with PDF, ignore dImagePipelineTest_SET_BW_BLACK_IS_ZERO...");
    else
        block->dwImageProcess2 |= varn::bw_black_is_zero;
    return mvtc_write_scan_param(static_cast<uint32_t>(fd), block);
}

int32_t escl_start_scan(int32_t cmd_fd, void *thread_arg, char *xml, uint32_t xml_len) {
    if (xml == nullptr)
        return -1;
    store_word(FBorADF, 0);
    varn::override_running_scan();
    varn::ActionSocket engine(cmd_fd);
    varn_scanner_status status = {};
    engine.inquire(0, status);
    const uint32_t busy = varn::newest_job_is_busy();
    // Every POST uses up an identifier, a refused one too.
    varn::copy_uuid(escl_scan_job_uuid, common_create_uuid());

    bool answered = false;
    const int32_t refusal = varn::refuse_when_busy(engine, xml, busy, &answered);
    if (answered)
        return refusal;

    varn::Job job;
    switch (varn::translate(engine, xml, xml_len, job)) {
    case 0:
        return varn::execute(engine, thread_arg, job);
    case 200:
        puts("\n\nset_scan_job_status_forReserveJob\n");
        // The thread of a running scan changes the document too; the call gives the mutex back.
        pthread_mutex_lock(&scan_job_mutex);
        set_scan_job_status_forReserveJob(JOBSTAT_STORED, nullptr);
        return 201;
    default:
        puts("Return 409 since Invalid input setting");
        return 409;
    }
}

int32_t scl_start_scan_ForRescl_start_scaneserveJob(int32_t, void *thread_arg) {
    kob_pick_media(varn_mvt_fd);
    varn::start_engine(1);
    // A cancel that came before the thread is set up would be forgotten.
    varn::StartGate gate;
    const int32_t result = create_receive_thread(thread_arg);
    if (result == 201)
        gate.wait_until_set_up();
    return result;
}

namespace {

/// The least compression level that a stored job may use at a resolution.
void raise_compression(varn_scan_param &block) {
    const uint8_t least = block.wXresolution < 301 ? 3 : 5;
    if (block.byCompression >= least)
        return;
    printf("%s: scan byCompression<%d, change to %d!\n", "escl_ScanSetting_ReserveJob", least,
           least);
    block.byCompression = least;
}

} // namespace

int32_t escl_ScanSetting_ReserveJob(const char *job_name, int32_t cmd_fd, uint32_t no_multipick,
                                    const char *uuid) {
    if (job_name == nullptr || uuid == nullptr)
        return -1;
    varn::ActionSocket engine(cmd_fd);
    varn_scanner_status status = {};
    engine.inquire(0, status);
    varn::Job job;
    varn::read_gamma(engine, job);
    const int32_t translated = eSCL_ParseScanParam_forReserveJobSet(nullptr, &job.block, &job.gamma,
                                                                    &job.multipick, job_name);
    if (job.block.dwADF != 0 && (status.wSensorStatus & varn::sensor_paper_loaded) == 0)
        printf("!!!!!!!!!!!!!!!!!!!!!ScannerStatus.wSensorStatus!!!!!!!!!= %d \n",
               status.wSensorStatus);
    job.block.byHostIsNetwork = 1;
    if (translated != 0) {
        puts("!!!!!!!!!!!!!!!!!!!!!return -1!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!! ");
        return -1;
    }
    if (no_multipick != 0)
        job.block.byMiscOptions &= static_cast<uint8_t>(~4U);
    varn::write_gamma(engine, job);
    raise_compression(job.block);
    if (set_kob_scan_param(varn_mvt_fd, &job.block) != 0) {
        puts("Set set_kob_scan_param fail....");
        return 503;
    }
    varn::write_multipick_and_tables(engine, job);
    setReservedJobs(uuid);
    set_scan_specific_jobstatus(JOBSTAT_SCANNING, uuid, 0);
    return 0;
}

int32_t escl_stop_scan(int32_t cmd_fd) {
    uint8_t reply[32];
    const varn_action_cmd command = make_command(varn::op_control, varn::sub_stop, 0, 32);
    send_action_cmd(cmd_fd, &command, reply, nullptr, 0);
    return 0;
}

int32_t escl_cancel_scan(void) {
    if (load_word(scanning_job_status) != JOBSTAT_ABORTED)
        store_word(cancelflag, 1);
    return 200;
}

int32_t eSCL_Notify_AllImgSentDone(int32_t fd) {
    uint8_t scratch[64] = {};
    mvtc_cmd_outprocess_scan_end(static_cast<uint32_t>(fd), scratch, 0, 0);
    return 0;
}
