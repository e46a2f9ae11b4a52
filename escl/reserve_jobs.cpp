/// Stored jobs: what a POST keeps, and the ways in which a job leaves the list.

#include "escl/reserve_jobs.h"

#include "escl/reserve_list.h"
#include "escl/scan_words.h"
#include "frame/root.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <optional>

namespace varn {
namespace {

constexpr char entry_template[] = "/tmp/xml_tickets/eSCL/res.xml";
constexpr char declined_marker[] = "/tmp/rj_delete";

/// Enters the job into list and copy.
bool enter_in_list(const StoredJobList &list, const StoredJob &job, const Document &document) {
    const ConfigTree entry(device_path(entry_template).c_str());
    if (entry.get() == nullptr) {
        printf("unable to open %s %s%d\n", entry_template, "parse_ReserveScanJob", __LINE__);
        list.save();
        return false;
    }
    if (!document.ok()) {
        puts("#Error: insufficient memory");
        list.save();
        return false;
    }
    // A job that did not reach the disk is not stored, and its host is told so.
    if (!list.append(job, entry.get()) || !list.save())
        return false;
    list.save_copy();
    return true;
}

void write_settings(Parsed<scan__ScanSettingsType> &request, const char *uuid) {
    // The list keeps name and PIN; one empty text for both would be written as a reference.
    request.root.StoredJobRequest->JobName = request.document.text("");
    request.root.StoredJobRequest->PIN = request.document.text("");
    const UniqueFd ticket(open_ticket(settings_ticket(uuid).c_str(), 0600));
    if (ticket.ok())
        request.document.write(ticket.get(), request.root);
}

void remove_job(const StoredJobList &list, mxml_node_t *entry, const char *uuid) {
    if (entry != nullptr)
        cfg_del_param_node(entry);
    list.save();
    list.save_copy();
    remove_settings_ticket(uuid);
}

} // namespace

int32_t store_job(Parsed<scan__ScanSettingsType> &request,
                  const scan__StoredJobRequestSupportType &support, const char *uuid) {
    char job_uuid[40];
    copy_uuid(job_uuid, uuid);
    const auto &stored = *request.root.StoredJobRequest;
    const auto *source = request.root.pwg__InputSource;
    const StoredJob job = {
        .name = stored.JobName != nullptr ? stored.JobName : "",
        .pin = stored.PIN != nullptr ? stored.PIN : "",
        .uuid = job_uuid,
        .set_time = static_cast<uint32_t>(time(nullptr)),
        .flatbed =
            source != nullptr && source->__item != nullptr && strcmp(source->__item, "Platen") == 0,
    };
    const StoredJobList list;
    if (support.MaxStoredJobRequests != nullptr && list.count() >= *support.MaxStoredJobRequests) {
        store_word(scan_withRJ, 1);
        return -1;
    }
    if (!enter_in_list(list, job, request.document))
        return -1;
    printf("jobuuid=%s\n", job.uuid);
    printf("jobexist=%s\n", job.name);
    printf("jobexist_PIN=%s\n", job.pin);
    printf("job_flatbed=%d\n", job.flatbed ? 1 : 0);
    AddRJlistToMVT(varn_mvt_fd, job.uuid, job.set_time, job.name, job.pin, job.flatbed ? 1 : 0);
    write_settings(request, job.uuid);
    store_word(scan_withRJ, 1);
    return 200;
}

} // namespace varn

int32_t parse_ReserveScanJob_Setting(const char *, const char *uuid) {
    const varn::StoredJobList list;
    if (uuid != nullptr && list.find(uuid) != nullptr)
        return 0;
    printf("NNNNNNNNNNNNNNNNNNNNN~~checkName = %d \n", 0);
    return -1;
}

int32_t parse_ReserveScanJob_CheckTime(void) {
    const varn::StoredJobList list;
    list.expire(time(nullptr));
    list.save();
    return 0;
}

int32_t parse_ReserveScanJob_deleteByID(const char *uuid) {
    if (uuid == nullptr)
        return 0;
    const varn::StoredJobList list;
    mxml_node_t *entry = list.find(uuid);
    if (entry == nullptr)
        return 0;
    printf("~~~!!! Job_UUID = %s \n", uuid);
    varn::remove_job(list, entry, uuid);
    return 0;
}

int32_t parse_ReserveScanJob_delete(const char *, const char *uuid) {
    if (uuid == nullptr)
        return 0;
    const varn::StoredJobList list;
    mxml_node_t *entry = list.find(uuid);
    if (entry != nullptr)
        printf("~~~!!! Job_UUID = %s \n", uuid);
    varn::remove_job(list, entry, uuid);
    return 0;
}

int32_t eSCL_SetReserveJob_Panel(const char *job_name, const char *uuid) {
    printf("!!! Res_JobName = %s \n", job_name != nullptr ? job_name : "");
    return parse_ReserveScanJob_Setting(job_name, uuid);
}

int32_t eSCL_ReserveScanJob_CheckTime(const char *job_name, const char *uuid) {
    puts("~eSCL_ReserveScanJob_CheckTime~ ");
    pthread_mutex_lock(&scan_job_mutex); // given back by the call
    set_scan_job_status_forReserveJob(JOBSTAT_CANCELED_BY_USER, uuid);
    parse_ReserveScanJob_delete(job_name, uuid);
    return 0;
}

int32_t escl_CancelScan_ReserveJob(const char *job_name, const char *uuid, int button) {
    printf("#######%s Res_JobName = %s Res_ButtonStatus=%d\n", __func__,
           job_name != nullptr ? job_name : "", button);
    if (button == 0) {
        const varn::UniqueFd made(creat(varn::device_path(varn::declined_marker).c_str(), 0666));
        return 0;
    }
    if (button != 1 && button != 2)
        return 0;
    const int32_t result = parse_ReserveScanJob_delete(job_name, uuid);
    if (button == 1)
        set_scan_specific_jobstatus(JOBSTAT_CANCELED_BY_USER, uuid, 0);
    return result;
}
