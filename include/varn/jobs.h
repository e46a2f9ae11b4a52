/// The job list: a queue of the last jobs in memory and its mirror in a ticket.
///
/// The side that sees jobs begin and change calls, for each job in this order, VARN_Set_Job once
/// and VARN_Update_Job as often as the job changes; only the job begun last can be updated. The
/// ticket "/tmp/xml_tickets/Jobs/JobsList.xml" is made by the first job.
///
/// Any thread may call: the functions that change the queue or the list wait for each other inside
/// one process, and for other processes by the lock file "/tmp/varnjob.lock". They write files, so
/// they are not for a thread that must not wait. A GET of the list must not overlap with a change
/// of it, or the caller may read half a list.
///
/// "Log" is standard output. Results are 0 or -1, unless a function says otherwise.
#ifndef VARN_JOBS_H
#define VARN_JOBS_H

#include "varn/base.h"

VARN_BEGIN_DECLS

#define VARN_JOB_SLOTS 20

/// j:JobCategory; every other value reads "Scan".
enum varn_job_category {
    VARN_JOB_SCAN = 0,
    VARN_JOB_SCAN_PREVIEW = 1, /**< "ScanPreview" */
    VARN_JOB_FW_UPGRADE = 2    /**< "FwUpgrade" */
};

/// j:JobState; every other value reads "Completed".
enum varn_job_state {
    VARN_JOB_PROCESSING = 0,
    VARN_JOB_PROCESSING_ERROR = 1,
    VARN_JOB_BLOCKED = 2,
    VARN_JOB_SUSPENDED = 3,
    VARN_JOB_CANCELED = 4,
    VARN_JOB_COMPLETED = 5
};

/// j:JobSource; every other value reads "userIO".
enum varn_job_source {
    VARN_JOB_USER_IO = 0,
    VARN_JOB_USER_EWS = 1,
    VARN_JOB_SCANNER = 2,
    VARN_JOB_INTERNAL = 3
};

/// One job of the queue.
struct varn_job_desc {
    int32_t jobId;   /**< number in "/Jobs/JobList/<number>"; 0 in a slot that was never used */
    int32_t percent; /**< 0 at the start, 100 at each update */
    int32_t source;
    int32_t category;
    int32_t state;
    char *stateUpdate; /**< valid during a call only; null in a slot of the queue between calls */
};

/// One job in words, as the list holds it. The texts stay the caller's, are terminated, and must be
/// what XML can hold.
struct varn_job_text {
    const char *url; /**< "/Jobs/JobList/7" */
    const char *category;
    const char *state;
    const char *source;
    const char *stateUpdate; /**< "1001-7" */
    int32_t percent;
};

/// The queue. Slots 0 to g_queue_jobidx hold jobs. From the 21st job on the slots below the last
/// all hold what the last one held before: on purpose, see VARN_Set_Job.
extern VARN_API struct varn_job_desc gp_jobdesc[VARN_JOB_SLOTS];
extern VARN_API int32_t g_job_id;       /**< number given last, 0 at first */
extern VARN_API int32_t g_queue_jobidx; /**< slot of the current job, -1 at first */

/// Zeroes gp_jobdesc. Numbers, the current slot and the list stay. Returns 0.
VARN_API int32_t VARN_Init_jdescQ(void);

/// Begins a job: the next number, the next slot, 0 percent, and an entry at the end of the list.
/// From the 21st job on it stands in slot 19, slots 0 to 18 get copies of what slot 19 held, and
/// the oldest entry leaves the list, which keeps its order; numbers go on counting.
/// category, state, source   as the enumerations above; any value is taken
/// returns   result of VARN_Add_jdescQ
VARN_API int32_t VARN_Set_Job(int32_t category, int32_t state, int32_t source);
/// Changes the current job: the given words, and 100 percent. Its entry in the list follows.
/// returns   result of VARN_Add_jdescQ; -1 before the first job
VARN_API int32_t VARN_Update_Job(int32_t category, int32_t state, int32_t source);

/// Puts a descriptor into words and into the list.
/// desc      copied; its stateUpdate may be null for an empty text
/// isNew     not 0: a new entry; 0: the entry of that number is changed
/// returns   0, also when the list could not be written: the log says so; -1 for null
VARN_API int32_t VARN_Add_jdescQ(const struct varn_job_desc *desc, uint32_t isNew);
/// Appends an entry to the list; makes the list when there is none.
/// returns   0; -1 for null, a text that XML cannot hold, no lock, or a file that does not open, is
///           no job list or cannot be written
VARN_API int32_t VARN_Save_jdescQ_ToXML(const struct varn_job_text *job);
/// Sets the entry with the URL of `job`: texts that are null stay as they are, the percentage is
/// always set. Without such an entry nothing changes.
/// returns   0; -1 as above, for an empty URL, and for a list without any entry
VARN_API int32_t VARN_Update_jdescQ_ToXML(const struct varn_job_text *job);
/// Takes the entry at an ordinal, from 0, out of the list; an ordinal that is not there changes
/// nothing. Returns 0; -1 without lock, list or root.
VARN_API int32_t VARN_Remove_jdescQ_ToXML(int32_t index);

/// GET of "/Jobs/JobList": the list (common_read_file_data). -1 before the first job.
/// out, outlen   as for every GET, see varn/frame.h
VARN_API int32_t VARN_GetJobList(char **out, uint32_t *outlen);
/// GET of one job, by the slot of gp_jobdesc that it stands in (not its number), through the ticket
/// "/tmp/xml_tickets/Jobs/Job.xml". A slot that was never used, and index 20, give a job of number
/// 0 without a state update.
/// returns   0; -1 for null, an index below 0 or above 20, or a ticket that cannot be written
VARN_API int32_t VARN_Get_SpecificJobXML(char **out, uint32_t *outlen, int32_t index);
/// PUT of one job: rewrites the entry that j:JobUrl of the document names, in the list alone. At
/// most the first word of each element is taken, and 127 bytes of it. Elements that are absent
/// leave theirs alone, but an absent j:JobPercentageComplete is 0.
/// xml       a document with a j:Job in it
/// returns   result of VARN_Update_jdescQ_ToXML; -1 for null and without list or j:Job
VARN_API int32_t VARN_Put_SpecificJobXML(const char *xml);
/// GET of "/Jobs/JobsManifest.xml", a static ticket.
VARN_API int32_t VARN_GetJobsManifest(char **out, uint32_t *outlen);

VARN_END_DECLS

#endif
