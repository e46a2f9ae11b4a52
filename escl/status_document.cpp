/// The status document: scanner state from the engine, and the list of jobs.

#include "escl/scan_words.h"
#include "escl/status_ticket.h"
#include "frame/root.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

using varn::Document;

namespace varn {
namespace {

constexpr int job_list_limit = 7;

scan__ScanJobInfoType *first_job(const scan__ScannerStatusType &root) {
    return root.Jobs != nullptr && root.Jobs->__sizeJobInfo > 0 ? root.Jobs->JobInfo : nullptr;
}

// --- Scanner state ------------------------------------------------------------------------------

void set_scanner_state(Document &document, scan__ScannerStatusType &root,
                       const varn_scanner_status &status) {
    if (status.wFWInfo == 4) {
        root.pwg__State = document.value(pwg__ObjectStateWKV__Processing);
        return;
    }
    if (status.wFWInfo != 0)
        return;
    root.pwg__State = document.value(pwg__ObjectStateWKV__Idle);
    root.pwg__StateReasons = nullptr;
    if (status.byPowerDown != 1)
        return;
    auto *reasons = document.make<_pwg__StateReasons>();
    auto **words = document.make<char *>();
    if (reasons == nullptr || words == nullptr)
        return;
    words[0] = document.text("PowerDown");
    reasons->__sizeStateReason = 1;
    reasons->StateReason_ = words;
    root.pwg__StateReasons = reasons;
}

const char *adf_state_of_sensors(uint16_t sensors) {
    if ((sensors & sensor_hatch_open) != 0)
        return "ScannerAdfHatchOpen";
    return (sensors & sensor_paper_loaded) != 0 ? "ScannerAdfLoaded" : "ScannerAdfEmpty";
}

void log_abnormal(const varn_scanner_status &status) {
    puts("DETECT ABNORMAL STATUS!!!!!");
    printf("pStatus->dwLastErr =%#x\n", status.dwLastErr);
    printf("pStatus->wFWInfo =%#x\n", status.wFWInfo);
    printf("pStatus->byFlowStatus =%#x\n", status.byFlowStatus);
    printf("pStatus->byID =%#x\n", status.byID);
    printf("pStatus->wSensorStatus =%#x\n", status.wSensorStatus);
}

/// The page in the jam does not count.
void apply_jam(Document &document, scan__ScanJobInfoType &job) {
    if (job.pwg__ImagesCompleted != nullptr && *job.pwg__ImagesCompleted != 0)
        --*job.pwg__ImagesCompleted;
    if (job.pwg__ImagesToTransfer != nullptr && job.pwg__ImagesToTransfer->__item != 0)
        --job.pwg__ImagesToTransfer->__item;
    set_job_state(document, job, pwg__JobStateWKV__Aborted);
    set_first_reason(document, job, "ErrorsDetected");
}

/// The operator has taken the error over at the panel. A jam does not cancel the scan: that
/// asymmetry is meant.
void apply_takeover(Document &document, scan__ScannerStatusType &root, bool jam) {
    if (scan__ScanJobInfoType *job = first_job(root); job != nullptr) {
        set_job_state(document, *job, pwg__JobStateWKV__Canceled);
        set_first_reason(document, *job, "JobCanceledByUser");
    }
    root.AdfState = document.text("ScannerAdfLoaded");
    run_shell("echo 1 > " + shell_path("/tmp/PanelWalkupFlag.txt"));
    if (!jam)
        store_word(cancelflag, 1);
}

void set_adf_state(Document &document, scan__ScannerStatusType &root,
                   const varn_scanner_status &status, bool flatbed) {
    if (status.dwLastErr == 0) {
        root.AdfState = document.text(adf_state_of_sensors(status.wSensorStatus));
        return;
    }
    const char *word = adf_state_of_error(status.dwLastErr);
    if (word == nullptr) {
        log_abnormal(status);
        root.AdfState = document.text("ScannerAdfEmpty");
        return;
    }
    const bool jam = status.dwLastErr == 0x2002 || status.dwLastErr == 0x2003;
    if (status.byPanelTakeover != 0) {
        apply_takeover(document, root, jam);
        return;
    }
    root.AdfState = document.text(word);
    if (scan__ScanJobInfoType *job = first_job(root); jam && !flatbed && job != nullptr)
        apply_jam(document, *job);
}

// --- Requests that change nothing ---------------------------------------------------------------

/// A ticket that a status left as it was, to the byte. For as long as the ticket has this text, the
/// same status leaves it so again, and nothing is parsed and written for that.
struct SettledTicket {
    varn_scanner_status status;
    std::string text;
};
std::mutex settled_mutex;
/// Never destroyed: a request may outlive the end of main.
SettledTicket &settled = *new SettledTicket;

bool same_status(const varn_scanner_status &a, const varn_scanner_status &b) {
    return memcmp(&a, &b, sizeof a) == 0;
}

bool is_settled(const varn_scanner_status &status, const std::string &text) {
    const std::lock_guard lock(settled_mutex);
    return !text.empty() && text == settled.text && same_status(status, settled.status);
}

/// An error is never settled: each request acts on its job, the panel and the scan anew.
void settle(const varn_scanner_status &status, const std::string &before, std::string_view after) {
    if (status.dwLastErr != 0 || before != after)
        return;
    const std::lock_guard lock(settled_mutex);
    settled.status = status;
    settled.text = before;
}

int32_t copy_out(const std::string &text, char **out, uint32_t *outlen) {
    auto *block = static_cast<char *>(malloc(text.size() + 1));
    if (block == nullptr)
        return -1;
    memcpy(block, text.c_str(), text.size() + 1);
    *out = block;
    *outlen = static_cast<uint32_t>(text.size());
    return 0;
}

// --- Job list -----------------------------------------------------------------------------------

/// scan:Age is the time between the last two updates; across midnight it is negative.
void update_age(bool insertion) {
    const time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    const int32_t second = local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec;
    store_word(AgeTime, insertion ? 0 : second - load_word(AgeTime_before));
    store_word(AgeTime_before, second);
}

/// A job behind the newest stays in the list only while it is not final.
bool outlives_insertion(const scan__ScanJobInfoType &job) {
    return job.pwg__JobState != nullptr && *job.pwg__JobState > pwg__JobStateWKV__Completed;
}

void insert_job(Document &document, scan__ScannerStatusType &root, const varn_scan_job_info &info) {
    if (root.Jobs == nullptr) {
        puts("still no job");
        root.Jobs = document.make<_scan__ScannerStatusType_Jobs>();
        if (root.Jobs == nullptr)
            return;
    } else {
        puts("has 1 job");
    }
    const scan__ScanJobInfoType *old = root.Jobs->JobInfo;
    const int old_count = old != nullptr ? root.Jobs->__sizeJobInfo : 0;
    auto *jobs = document.make<scan__ScanJobInfoType>(old_count + 1);
    if (jobs == nullptr)
        return;
    fill_job(document, jobs[0], info);
    int count = 1;
    for (int i = 0; i < old_count; ++i)
        if (i == 0 || outlives_insertion(old[i]))
            jobs[count++] = old[i];
    root.Jobs->JobInfo = jobs;
    root.Jobs->__sizeJobInfo = count < job_list_limit ? count : job_list_limit;
}

scan__ScanJobInfoType *find_job(const _scan__ScannerStatusType_Jobs &jobs, const char *uri) {
    for (int i = 0; i < jobs.__sizeJobInfo; ++i) {
        scan__ScanJobInfoType &job = jobs.JobInfo[i];
        if (job.pwg__JobUri != nullptr && strcmp(job.pwg__JobUri, uri) == 0)
            return &job;
        puts("!!!!!!!!!!!!!!NEXT!!!!!!!!!!!!!! ");
    }
    return nullptr;
}

/// The document has lost its list: it starts again from the seed, with this job.
void restore_with_job(varn_scan_job_info &info) {
    puts("!!!!!!!!!!!!!!NG!!!!!!!!!!!!!! ");
    unlink(device_path(status_ticket).c_str());
    run_shell("cp " + shell_path(status_seed) + " " + shell_path(ticket_folder));
    eSCL_FWSetScanJobInfo(&info);
}

} // namespace
} // namespace varn

int32_t eSCL_GetScanStatus(varn_scanner_status *status, char **out, uint32_t *outlen,
                           uint32_t fb_or_adf) {
    if (status == nullptr)
        return -1;
    const auto ticket = varn::read_status_text({"Read", __func__}, false);
    if (ticket && out != nullptr && outlen != nullptr && varn::is_settled(*status, *ticket))
        return varn::copy_out(*ticket, out, outlen);
    {
        Document document(varn::escl_get);
        scan__ScannerStatusType root;
        if (ticket)
            document.read(ticket->data(), ticket->size(), root);
        root.pwg__Version = document.text("2.9");
        varn::set_scanner_state(document, root, *status);
        varn::set_adf_state(document, root, *status, fb_or_adf != 0);
        varn::write_status(document, root, {"Write", __func__});
    }
    if (out == nullptr)
        return 0;
    const int32_t result = common_read_file_data(varn::status_ticket, out, outlen);
    if (result != 0)
        printf("OOOOOOOOOOOPS!!! Read %s error!!!!\n", varn::status_ticket);
    else if (ticket && outlen != nullptr)
        varn::settle(*status, *ticket, {*out, *outlen});
    return result;
}

int32_t eSCL_GetScanStatus_ForReserve(void) {
    Document document(varn::escl_get);
    scan__ScannerStatusType root;
    varn::read_status(document, root, {}, false);
    root.pwg__Version = document.text("2.5");
    root.pwg__State = document.value(pwg__ObjectStateWKV__Processing);
    varn::write_status(document, root, {});
    return 0;
}

int32_t eSCL_FWGetScanJobInfo(uint32_t, uint32_t *busy) {
    if (busy == nullptr)
        return 0;
    Document document(varn::escl_get);
    scan__ScannerStatusType root;
    varn::read_status(document, root, {}, false);
    const scan__ScanJobInfoType *job = varn::first_job(root);
    if (document.error() != SOAP_OK || job == nullptr) {
        *busy = 0;
        return 0;
    }
    if (job->pwg__JobState == nullptr)
        return 0;
    switch (*job->pwg__JobState) {
    case pwg__JobStateWKV__Aborted:
    case pwg__JobStateWKV__Canceled:
    case pwg__JobStateWKV__Completed:
        *busy = 0;
        break;
    case pwg__JobStateWKV__Pending:
    case pwg__JobStateWKV__Processing:
        *busy = 1;
        break;
    default:
        break;
    }
    return 0;
}

int32_t eSCL_FWSetScanJobInfo(varn_scan_job_info *info) {
    if (info == nullptr)
        return 0;
    printf("gsoap mode:%s jobuuid=%.39s status=%d\n", __func__, info->uuid, info->status);
    Document document(varn::escl_get);
    scan__ScannerStatusType root;
    varn::read_status(document, root, {}, true);
    varn::update_age(true);
    varn::insert_job(document, root, *info);
    varn::write_status(document, root, {});
    return 0;
}

int32_t eSCL_FWUpdateScanJobInfo(varn_scan_job_info *info) {
    if (info == nullptr)
        return 0;
    Document document(varn::escl_get);
    scan__ScannerStatusType root;
    varn::read_status(document, root, {"READ", __func__}, true);
    varn::update_age(false);
    if (root.Jobs == nullptr) {
        varn::restore_with_job(*info);
        return 0;
    }
    if (root.Jobs->__sizeJobInfo > 0 && root.Jobs->JobInfo == nullptr) {
        puts("!!!!!!!!!!!!!!NG!!!!!!!!!!!!!! ");
        return 0;
    }
    scan__ScanJobInfoType *job = varn::find_job(*root.Jobs, varn::JobUri(info->uuid).text);
    if (job == nullptr) {
        printf("%s, Ignore write status file since can not find..\n", __func__);
        return 0;
    }
    varn::fill_job(document, *job, *info);
    if (info->status == JOBSTAT_ABORTED)
        if (const char *word = varn::adf_state_of_error(info->errcode); word != nullptr)
            root.AdfState = document.text(word);
    Document writer(varn::escl_get);
    varn::write_status(writer, root, {"WRITE", __func__});
    return 0;
}

void setjobstatus(soap *context, scan__ScanJobInfoType *job, const varn_scan_job_info *info) {
    if (context == nullptr || job == nullptr || info == nullptr)
        return;
    Document document(context);
    varn::fill_job(document, *job, *info);
}
