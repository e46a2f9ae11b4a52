/// The queue of job descriptors, and what they are called in documents.

#include "jobs/job_words.h"

#include <cstdio>

varn_job_desc gp_jobdesc[VARN_JOB_SLOTS] = {};
int32_t g_job_id = 0;
int32_t g_queue_jobidx = -1;

namespace varn {
namespace {

constexpr int32_t last_slot = VARN_JOB_SLOTS - 1;

constexpr const char *category_words[] = {"Scan", "ScanPreview", "FwUpgrade"};
constexpr const char *state_words[] = {"Processing", "ProcessingError", "Blocked",
                                       "Suspended",  "Canceled",        "Completed"};
constexpr const char *source_words[] = {"userIO", "userEWS", "scanner", "internal"};

template <size_t Size>
const char *word(const char *const (&words)[Size], int32_t value, const char *other) {
    return value >= 0 && static_cast<size_t>(value) < Size ? words[value] : other;
}

/// The slot of the current job; null before the first one.
varn_job_desc *current_slot() {
    return g_queue_jobidx >= 0 && g_queue_jobidx <= last_slot ? &gp_jobdesc[g_queue_jobidx]
                                                              : nullptr;
}

/// Fills the current slot and hands it on with its state update text.
int32_t enter(int32_t category, int32_t state, int32_t source, int32_t percent, bool is_new) {
    varn_job_desc *slot = current_slot();
    if (slot == nullptr)
        return -1;
    *slot = {g_job_id, percent, source, category, state, nullptr};
    JobText update = state_update_text(g_job_id);
    slot->stateUpdate = update.text;
    const int32_t result = VARN_Add_jdescQ(slot, is_new ? 1 : 0);
    // The text ends with this call; nobody may follow the pointer afterwards.
    slot->stateUpdate = nullptr;
    return result;
}

/// Runs from the top down, so it does not shift the queue: every slot below the last gets what the
/// last one holds. Kept so on purpose; the list in the file keeps its order.
void smear_queue() {
    for (int32_t slot = last_slot; slot > 0; --slot)
        gp_jobdesc[slot - 1] = gp_jobdesc[slot];
}

} // namespace

JobText job_url(int32_t job_id) {
    JobText url;
    snprintf(url.text, sizeof url.text, "%s/%d", "/Jobs/JobList", job_id);
    return url;
}

JobText state_update_text(int32_t job_id) {
    JobText update;
    snprintf(update.text, sizeof update.text, "%s-%d", "1001", job_id);
    return update;
}

varn_job_text in_words(const varn_job_desc &job, const char *url, const char *state_update) {
    return {url,
            word(category_words, job.category, "Scan"),
            word(state_words, job.state, "Completed"),
            word(source_words, job.source, "userIO"),
            state_update,
            job.percent};
}

} // namespace varn

int32_t VARN_Init_jdescQ(void) {
    const std::lock_guard lock(varn::job_mutex());
    for (varn_job_desc &slot : gp_jobdesc)
        slot = {};
    return 0;
}

int32_t VARN_Set_Job(int32_t category, int32_t state, int32_t source) {
    const std::lock_guard lock(varn::job_mutex());
    ++g_queue_jobidx;
    ++g_job_id;
    puts("VARN_Set_Job");
    if (g_job_id > VARN_JOB_SLOTS) {
        varn::smear_queue();
        g_queue_jobidx = varn::last_slot;
        VARN_Remove_jdescQ_ToXML(0);
    }
    printf("g_queue_jobidx==%d g_job_id=%d\n", g_queue_jobidx, g_job_id);
    return varn::enter(category, state, source, 0, true);
}

int32_t VARN_Update_Job(int32_t category, int32_t state, int32_t source) {
    const std::lock_guard lock(varn::job_mutex());
    printf("%s job_id=%d\n", __func__, g_job_id);
    return varn::enter(category, state, source, 100, false);
}

int32_t VARN_Add_jdescQ(const varn_job_desc *desc, uint32_t isNew) {
    if (desc == nullptr)
        return -1;
    const varn::JobText url = varn::job_url(desc->jobId);
    const varn_job_text job = varn::in_words(*desc, url.text, desc->stateUpdate);
    if (isNew != 0)
        VARN_Save_jdescQ_ToXML(&job);
    else
        VARN_Update_jdescQ_ToXML(&job);
    return 0;
}
