/// The status ticket: the answer to a status request and the only store of the job list.
#pragma once

#include "frame/ticket_file.h"
#include "varn/escl_status.h"

#include <optional>
#include <string>

namespace varn {

constexpr char status_ticket[] = "/tmp/xml_tickets/eSCL/ScannerStatus.xml";
constexpr char status_seed[] = "/web/eSCL/ScannerStatus.xml";
constexpr char ticket_folder[] = "/tmp/xml_tickets/eSCL/";

/// Whole text of the ticket; none when it does not open.
/// create  makes an empty file when there is none
std::optional<std::string> read_status_text(const TicketLock &lock, bool create);
/// Parses the ticket into `root`. What cannot be parsed leaves its elements absent.
/// create  makes an empty file when there is none
void read_status(Document &document, scan__ScannerStatusType &root, const TicketLock &lock,
                 bool create);
void write_status(Document &document, const scan__ScannerStatusType &root, const TicketLock &lock);

/// Word of scan:AdfState for an engine error; null for a code that has none.
const char *adf_state_of_error(uint32_t error);

/// Sets the first reason of a job, whatever reasons it had.
void set_first_reason(Document &document, scan__ScanJobInfoType &job, const char *reason);
void set_job_state(Document &document, scan__ScanJobInfoType &job, pwg__JobStateWKV state);

/// Fills one job entry from a status change.
void fill_job(Document &document, scan__ScanJobInfoType &job, const varn_scan_job_info &info);

/// Path of a job's resource from its identifier.
struct JobUri {
    explicit JobUri(const char *uuid) { snprintf(text, sizeof text, "/eSCL/ScanJobs/%.39s", uuid); }
    char text[64];
};

} // namespace varn
