#include "tests/jobs/job_fixture.h"

#include "platform/cfg.h"

#include <mxml.h>

namespace varn::test {

JobTest::JobTest() {
    g_job_id = 0;
    g_queue_jobidx = -1;
    VARN_Init_jdescQ();
    tree.remove(list_file);
}

std::string JobTest::list() const {
    const std::string text = tree.get(list_file);
    mxml_node_t *plain = mxmlLoadString(nullptr, text.c_str(), nullptr);
    EXPECT_NE(plain, nullptr) << text;
    mxmlDelete(plain);
    mxml_node_t *handle = cfg_init((tree / list_file).c_str());
    EXPECT_NE(handle, nullptr) << text;
    cfg_deinit(handle);
    return text;
}

void JobTest::set_jobs(int count) {
    for (int i = 0; i < count; ++i)
        VARN_Set_Job(VARN_JOB_SCAN, VARN_JOB_PROCESSING, VARN_JOB_SCANNER);
}

std::string job_line(const std::string &document) {
    std::string line;
    for (const char *tag : {"j:JobUrl", "j:JobCategory", "j:JobState", "j:JobStateUpdate",
                            "j:JobSource", "j:JobPercentageComplete"})
        line += (line.empty() ? "" : " ") + text_of(document, tag);
    return line;
}

} // namespace varn::test
