/// The one thread of the scan path: asks the engine for block after block, publishes each, waits
/// for its delivery and acknowledges it.

#include "escl/receive_thread.h"

#include "escl/delivery.h"
#include "escl/engine_socket.h"
#include "escl/scan_words.h"
#include "varn/escl_scan.h"

#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <unistd.h>

using varn::store_word;

namespace varn {
namespace {

struct GateState {
    std::mutex mutex;
    std::condition_variable changed;
    bool armed = false;
    bool thread_alive = false;
    bool thread_set_up = false;
};
/// Never destroyed: a detached thread may still hold it when the process ends.
GateState &gate = *new GateState;

void gate_thread_created(bool created) {
    const std::lock_guard lock(gate.mutex);
    gate.thread_alive = created;
}

/// The thread's side: tells that it has set itself up and waits while the gate is armed.
void pass_gate() {
    std::unique_lock lock(gate.mutex);
    gate.thread_set_up = true;
    gate.changed.notify_all();
    gate.changed.wait(lock, [] { return !gate.armed; });
}

/// One scan, from the thread's point of view.
struct Scan {
    int image_fd;
    bool stored;
    uint32_t images_per_sheet;
    uint32_t images_left; ///< of this sheet
    uint32_t image_number = 0;
    uint32_t ring_index = 0;
    uint32_t ring_size = 0; ///< 0 until the first record told it
    bool first_pass = true;
};

/// Images of the running job by kind: 1 or anything else.
uint32_t kind_one_images = 0;
uint32_t kind_other_images = 0;

enum class Next { block, stop };

void send_image_command(const Scan &scan, uint8_t sub_command) {
    const varn_action_cmd command = make_command(0, sub_command, 0, 0);
    write_all(scan.image_fd, &command, sizeof command);
}

/// A record that did not come whole reads as an ordinary block of nothing: the caller finds out
/// by its length, and ends the job if it wants to.
BlockStatus read_record(const Scan &scan) {
    BlockStatus record = {};
    if (read_all(scan.image_fd, &record, sizeof record, -1) != sizeof record)
        record = {};
    return record;
}

void advance_ring(Scan &scan) {
    ++scan.ring_index;
    if (scan.ring_index >= scan.ring_size)
        scan.ring_index = 0;
}

/// Status of a job that the engine ended with an error: 4 aborted, 5 at the device, else 6. A
/// stored job hides its error, so that the operator can deal with it.
void end_with_error(const Scan &scan, bool aborted, bool at_device) {
    if (aborted) {
        set_scan_scanning_jobstatus(JOBSTAT_CANCELED_BY_USER);
    } else if (at_device) {
        set_scan_scanning_jobstatus(JOBSTAT_CANCELED_AT_DEVICE);
    } else if (scan.stored) {
        store_word(scan_errcode, 0);
        set_scan_scanning_jobstatus(JOBSTAT_SCANNING);
    } else {
        set_scan_scanning_jobstatus(JOBSTAT_ABORTED);
    }
}

void note_block_error(const Scan &scan, const BlockStatus &record) {
    const bool aborted = record.dwLastErr == MVTE_FW_SCN_ABORT_SCAN;
    const bool at_device = record.dwLastErr == cancelled_at_device;
    if (aborted)
        puts("dwLastErr == MVTE_FW_SCN_ABORT_SCAN");
    if (aborted || at_device) {
        store_word(cancelflag, 2);
    } else {
        store_word(cancelflag, 3);
        store_word(scan_errcode, record.dwLastErr);
    }
    end_with_error(scan, aborted, at_device);
}

void note_image_end(Scan &scan, const BlockStatus &record) {
    append_image_info(record, scan.image_number);
    {
        const MutexLock lock(scan_job_mutex);
        ++(record.byImageKind == 1 ? kind_one_images : kind_other_images);
    }
    ++scan.image_number;
    printf("%s:%d:scan image count =%d\n", __FILE_NAME__, __LINE__,
           static_cast<int>(load_word(scan_image_count)));
    add_word(send_image_count, 1);
    set_scan_scanning_jobstatus(JOBSTAT_SCANNING);
    printf("send_image_count===%d\n", static_cast<int>(load_word(send_image_count)));
}

void sheet_failed(const Scan &scan, const BlockStatus &sheet, const BlockStatus &block) {
    printf("Get error in dummy=%#x\n", sheet.dwLastErr);
    publish_block(sheet, scan.ring_index);
    // The code told is that of the block before the sheet record, on purpose.
    store_word(scan_errcode, block.dwLastErr);
    end_with_error(scan, sheet.dwLastErr == MVTE_FW_SCN_ABORT_SCAN,
                   block.dwLastErr == cancelled_at_device);
}

void job_finished() {
    const uint32_t begun = load_word(scan_image_count);
    const uint32_t sent = load_word(send_image_count);
    printf("scan_image_count=%d send_image_count=%d\n", static_cast<int>(begun),
           static_cast<int>(sent));
    // The delivery side may have set the count of images sent lower: it then ends the job itself.
    if (begun == 1 || begun == sent)
        set_scan_scanning_jobstatus(JOBSTAT_COMPLETED);
    else
        store_word(Scan_Finish_Type, 1);
    printf("%s:%d:scan image count =%d,total finish\n", __FILE_NAME__, __LINE__,
           static_cast<int>(begun));
}

/// After the last image of a sheet the engine tells, unasked, how the job goes on.
Next read_sheet_record(Scan &scan, const BlockStatus &block) {
    const BlockStatus sheet = read_record(scan);
    if (sheet.dwLastErr > error_limit) {
        sheet_failed(scan, sheet, block);
        return Next::stop;
    }
    switch (sheet.byFlowStatus) {
    case flow_finished:
        job_finished();
        return Next::stop;
    case flow_more:
        printf("%s:%d:has next image!\n", __FILE_NAME__, __LINE__);
        scan.images_left = scan.images_per_sheet;
        return Next::block;
    default:
        printf("Get unkown flow status %d!!!!!!\n", sheet.byFlowStatus);
        return Next::stop;
    }
}

void note_record(Scan &scan, const BlockStatus &record) {
    if (load_word(m_isBlockReady) == 0) {
        add_word(scan_image_count, 1);
        store_word(m_isBlockReady, 1);
    }
    if (scan.first_pass) {
        scan.first_pass = false;
        set_scan_scanning_jobstatus(JOBSTAT_SCANNING);
    }
    if (scan.ring_size == 0)
        scan.ring_size = record.dwBlockCount;
    if (record.dwLastErr > error_limit)
        note_block_error(scan, record);
    if (record.dwLastErr == image_complete)
        note_image_end(scan, record);
}

Next receive_block(Scan &scan) {
    send_image_command(scan, sub_next_block);
    const BlockStatus record = read_record(scan);
    note_record(scan, record);
    publish_block(record, scan.ring_index);
    advance_ring(scan);
    wait_for_delivery();

    const uint32_t acknowledgement = 1;
    write_all(scan.image_fd, &acknowledgement, sizeof acknowledgement);

    Next next = Next::block;
    if (record.dwLastErr > error_limit) {
        printf("%s:%d:scan happen error=0x%x\n", __FILE_NAME__, __LINE__, record.dwLastErr);
        next = Next::stop;
    }
    if (record.dwLastErr == image_complete) {
        --scan.images_left;
        store_word(m_isBlockReady, 0);
    }
    if (scan.images_left == 0)
        next = read_sheet_record(scan, record);
    if (record.dwLastErr > error_limit || record.dwLastErr == image_complete)
        do_set_action_esclscan_finish();
    return next;
}

void cancel_scan(const Scan &scan) {
    printf("cancelflag=%d\n", load_word(cancelflag));
    set_scan_scanning_jobstatus(JOBSTAT_CANCELED_BY_USER);
    send_image_command(scan, sub_cancel);
    puts("do_cancel_cmd...");
    const BlockStatus answer = read_record(scan);
    publish_block(answer, scan.ring_index);
    usleep(5000);
    do_set_action_esclscan_finish();
    store_word(scan_errcode, answer.dwLastErr);
}

Scan set_up(int image_fd) {
    Scan scan = {};
    scan.image_fd = image_fd;
    scan.images_per_sheet = escl_is_duplex() != 0 ? 2 : 1;
    scan.images_left = scan.images_per_sheet;
    scan.first_pass = true;
    set_scanjob_default_stat();
    read_ethernet_carrier();
    const int32_t stored = load_word(g_is_reserverdjobsScan);
    printf("~~~~~!!!!!g_is_reserverdjobsScan = %d \n", stored);
    scan.stored = stored != 0;
    if (!scan.stored)
        copy_uuid(escl_scanning_scanjob_uuid, escl_scan_job_uuid);
    return scan;
}

void run(Scan &scan) {
    set_scan_scanning_jobstatus(scan.stored ? JOBSTAT_SCANNING : JOBSTAT_CREATED);
    store_word(scanning_sts_change, 1);
    for (;;) {
        if (load_word(cancelflag) != 0) {
            cancel_scan(scan);
            break;
        }
        if (receive_block(scan) == Next::stop)
            break;
    }
    // The thread word goes last: once it is 0 a new scan may set the others.
    store_word(scanning_sts_change, 0);
    store_word(cancelflag, 0);
    printf("%s:%d:finish thread !\n", __FILE_NAME__, __LINE__);
    fflush(stdout);
    store_word(receiveimage_thread, 0);
}

bool start_thread(void *thread_arg) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t handle = {};
    const bool created =
        pthread_create(&handle, &attributes, receive_image_Process_Blockmode, thread_arg) == 0;
    pthread_attr_destroy(&attributes);
    return created;
}

} // namespace

StartGate::StartGate() {
    const std::lock_guard lock(gate.mutex);
    gate.armed = true;
    gate.thread_alive = false;
    gate.thread_set_up = false;
}

StartGate::~StartGate() {
    const std::lock_guard lock(gate.mutex);
    gate.armed = false;
    gate.changed.notify_all();
}

void StartGate::wait_until_set_up() {
    std::unique_lock lock(gate.mutex);
    gate.changed.wait(lock, [] { return gate.thread_set_up || !gate.thread_alive; });
}

} // namespace varn

void *receive_image_Process_Blockmode(void *thread_arg) {
    store_word(receiveimage_thread, static_cast<uintptr_t>(pthread_self()));
    store_word(is_blk_mode, 1);
    store_word(Scan_Finish_Type, 0);
    signal(SIGPIPE, SIG_IGN);
    escl_set_sigsegv_handler();
    int32_t image_fd = 0;
    if (thread_arg != nullptr)
        memcpy(&image_fd, thread_arg, sizeof image_fd);
    if (image_fd == 0) {
        // The thread word stays set: without an image socket no further scan is to start.
        store_word(cancelflag, 0);
        printf("%s:%d:finish thread with ERROR!\n", __FILE_NAME__, __LINE__);
        varn::pass_gate();
        return nullptr;
    }
    varn::Scan scan = varn::set_up(image_fd);
    varn::pass_gate();
    varn::run(scan);
    return nullptr;
}

int32_t create_receive_thread(void *thread_arg) {
    uintptr_t none = 0;
    constexpr uintptr_t being_created = 1;
    if (!std::atomic_ref(receiveimage_thread).compare_exchange_strong(none, being_created)) {
        printf("%s:%d: has create receive_image_Process thread!\n", __FILE_NAME__, __LINE__);
        return 409;
    }
    varn::reset_published_block();
    varn::gate_thread_created(true);
    if (varn::start_thread(thread_arg)) {
        puts("Create receive_image_Process thread  success!");
    } else {
        varn::gate_thread_created(false);
        store_word(receiveimage_thread, 0);
        puts("Create receive_image_Process thread  failure!");
    }
    return 201;
}

int32_t set_scanjob_default_stat(void) {
    printf("%s\n", __func__);
    store_word(scan_job_status, 0);
    store_word(scan_errcode, 0);
    store_word(scan_image_count, 0);
    store_word(send_image_count, 0);
    store_word(rjsend_image_count, 0);
    varn::kind_one_images = varn::kind_other_images = 0;
    varn::free_image_infos();
    store_word(cancelflag, 0);
    return 0;
}
