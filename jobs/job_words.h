/// Descriptors in the words of the documents.
#pragma once

#include "jobs/job_file.h"

namespace varn {

struct JobText {
    char text[32] = "";
};
JobText job_url(int32_t job_id);
JobText state_update_text(int32_t job_id);

/// The record points at the two texts, which stay the caller's.
varn_job_text in_words(const varn_job_desc &job, const char *url, const char *state_update);

} // namespace varn
