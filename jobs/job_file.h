/// Job documents as trees: the list and the document of one job.
#pragma once

#include "frame/guards.h"
#include "varn/jobs.h"

#include <mutex>
#include <string_view>

namespace varn {

constexpr char job_list_path[] = "/tmp/xml_tickets/Jobs/JobsList.xml";
constexpr char job_list_root[] = "j:JobList";
constexpr char job_path[] = "/tmp/xml_tickets/Jobs/Job.xml";
constexpr char job_element[] = "j:Job";
constexpr char job_url_element[] = "j:JobUrl";
constexpr char job_percent_element[] = "j:JobPercentageComplete";

/// The name that the log gives this source.
constexpr char job_log_name[] = "Joblist";

/// An element of a job and its word in a record.
struct JobElement {
    const char *name;
    const char *varn_job_text::*text; ///< null for the percentage
};
/// In the order of the document.
constexpr JobElement job_elements[] = {
    {job_url_element, &varn_job_text::url},  {"j:JobCategory", &varn_job_text::category},
    {"j:JobState", &varn_job_text::state},   {"j:JobStateUpdate", &varn_job_text::stateUpdate},
    {"j:JobSource", &varn_job_text::source}, {job_percent_element, nullptr},
};

/// Serialises what changes the queue or a job document inside this process: the lock file holds off
/// other processes only. Recursive, because the exported functions call each other.
std::recursive_mutex &job_mutex();

/// Makes an empty list or an empty job. The list must not be there.
bool create_job_list();
bool create_job();

/// Whether XML can hold every text of the record, so that what is saved can be loaded again.
bool is_storable(const varn_job_text &job);
/// Appends the six elements of a job to `parent`.
void add_job_elements(mxml_node_t *parent, const varn_job_text &job);

/// Writes the tree over the whole of an open file. False when it could not be written.
bool save_job_tree(mxml_node_t *handle, int fd);

} // namespace varn
