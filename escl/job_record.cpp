/// One job of the status document, and the ticket that holds them.

#include "escl/status_ticket.h"

#include "escl/scan_words.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>

namespace varn {
namespace {

struct JobState {
    int32_t status;
    pwg__JobStateWKV state;
    const char *reason; ///< null: a list of one without an entry
};
constexpr JobState job_states[] = {
    {JOBSTAT_CREATED, pwg__JobStateWKV__Pending, "JobScanning"},
    {JOBSTAT_SCANNING, pwg__JobStateWKV__Processing, "JobScanning"},
    {JOBSTAT_COMPLETED, pwg__JobStateWKV__Completed, "JobCompletedSuccessfully"},
    {JOBSTAT_CANCELED_BY_USER, pwg__JobStateWKV__Canceled, "JobCanceledByUser"},
    {JOBSTAT_CANCELED_AT_DEVICE, pwg__JobStateWKV__Canceled, "JobCanceledAtDevice"},
    {JOBSTAT_ABORTED, pwg__JobStateWKV__Aborted, "ErrorsDetected"},
    {JOBSTAT_STORED, pwg__JobStateWKV__PendingHeld, nullptr},
};
static_assert(std::size(job_states) == JOBSTAT_STORED);

struct ErrorWord {
    uint32_t error;
    const char *adf_state;
};
constexpr ErrorWord error_words[] = {
    {0x2001, "ScannerAdfMispick"},
    {0x2002, "ScannerAdfJam"},
    {0x2003, "ScannerAdfJam"},
    {0x2004, "ScannerAdfMultipickDetected"},
    {0x2007, "ScannerAdfDuplexPageTooLong"},
    {0x2008, "ScannerAdfDuplexPageTooShort"},
    {0x2009, "ScannerAdfHatchOpen"},
    {0x200E, "ScannerAdfEmpty"},
    {0x2016, "ScannerAdfOutputTrayClosed"},
};

} // namespace

const char *adf_state_of_error(uint32_t error) {
    for (const ErrorWord &row : error_words)
        if (row.error == error)
            return row.adf_state;
    return nullptr;
}

std::optional<std::string> read_status_text(const TicketLock &lock, bool create) {
    const int flags = O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0);
    const UniqueFd file(open(device_path(status_ticket).c_str(), flags, 0600));
    if (!file.ok())
        return std::nullopt;
    const FileLock held(file.get(), lock);
    return read_whole(file.get());
}

void read_status(Document &document, scan__ScannerStatusType &root, const TicketLock &lock,
                 bool create) {
    if (const auto text = read_status_text(lock, create))
        document.read(text->data(), text->size(), root);
}

void write_status(Document &document, const scan__ScannerStatusType &root, const TicketLock &lock) {
    write_ticket(document, root, status_ticket, lock);
}

void set_first_reason(Document &document, scan__ScanJobInfoType &job, const char *reason) {
    auto *reasons = job.pwg__JobStateReasons;
    if (reasons == nullptr)
        reasons = job.pwg__JobStateReasons = document.make<_pwg__JobStateReasons>();
    if (reasons == nullptr)
        return;
    if (reasons->__sizeJobStateReason < 1 || reasons->JobStateReason_ == nullptr) {
        reasons->JobStateReason_ = document.make<char *>();
        if (reasons->JobStateReason_ == nullptr)
            return;
        reasons->__sizeJobStateReason = 1;
    }
    reasons->JobStateReason_[0] = document.text(reason);
}

void set_job_state(Document &document, scan__ScanJobInfoType &job, pwg__JobStateWKV state) {
    job.pwg__JobState = document.value(state);
}

void fill_job(Document &document, scan__ScanJobInfoType &job, const varn_scan_job_info &info) {
    job.pwg__JobUri = document.text(JobUri(info.uuid).text);
    auto *uuid = document.make<_pwg__JobUuid>();
    auto *to_transfer = document.make<_pwg__ImagesToTransfer>();
    if (uuid == nullptr || to_transfer == nullptr)
        return;
    char text[40] = {};
    memcpy(text, info.uuid, sizeof text - 1);
    uuid->__item = document.text(text);
    job.pwg__JobUuid = uuid;
    char age[32];
    snprintf(age, sizeof age, "%d", load_word(AgeTime));
    job.Age = document.text(age);
    job.pwg__ImagesCompleted = document.value(static_cast<int>(info.imagesCompleted));
    to_transfer->__item = static_cast<int>(info.imagesToTransfer);
    job.pwg__ImagesToTransfer = to_transfer;

    for (const JobState &row : job_states) {
        if (row.status != info.status)
            continue;
        set_job_state(document, job, row.state);
        job.pwg__JobStateReasons = document.make<_pwg__JobStateReasons>();
        if (row.reason != nullptr)
            set_first_reason(document, job, row.reason);
        else if (job.pwg__JobStateReasons != nullptr)
            job.pwg__JobStateReasons->__sizeJobStateReason = 1;
        return;
    }
    printf("%s....Can't case status=%d\n", "setjobstatus", info.status);
}

} // namespace varn
