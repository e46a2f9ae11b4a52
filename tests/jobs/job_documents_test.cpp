/// GET and PUT of one job.

#include "tests/jobs/job_fixture.h"

using namespace varn::test;

namespace {

class JobDocuments : public JobTest {
protected:
    static std::string get(int32_t index, int32_t expected = 0) {
        char *buffer = nullptr;
        uint32_t length = 0;
        EXPECT_EQ(VARN_Get_SpecificJobXML(&buffer, &length, index), expected) << index;
        std::string document(buffer != nullptr ? buffer : "", length);
        free(buffer);
        return document;
    }

    static int32_t put(const std::string &elements) {
        const std::string document = "<?xml version=\"1.0\"?><j:Job>" + elements + "</j:Job>";
        return VARN_Put_SpecificJobXML(document.c_str());
    }

    static std::string element(const std::string &name, const std::string &text) {
        return "<j:" + name + ">" + text + "</j:" + name + ">";
    }
};

TEST_F(JobDocuments, ASlotGivesItsJob) {
    set_jobs(2);
    VARN_Update_Job(VARN_JOB_FW_UPGRADE, VARN_JOB_CANCELED, VARN_JOB_INTERNAL);
    const std::string document = get(1);
    EXPECT_EQ(job_line(document), "/Jobs/JobList/2 FwUpgrade Canceled 1001-2 internal 100");
    EXPECT_TRUE(document.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- THIS DATA"));
    EXPECT_EQ(document, tree.get("tmp/xml_tickets/Jobs/Job.xml"));
    EXPECT_EQ(get(1), document) << "it is built anew each time";

    const std::string none = "/Jobs/JobList/0 Scan Processing  userIO 0";
    EXPECT_EQ(job_line(get(2)), none);
    set_jobs(19);
    EXPECT_EQ(job_line(get(0)), "/Jobs/JobList/20 Scan Processing 1001-20 scanner 0");
    EXPECT_EQ(job_line(get(19)), "/Jobs/JobList/21 Scan Processing 1001-21 scanner 0");
    EXPECT_EQ(job_line(get(20)), none) << "behind the last slot";
}

TEST_F(JobDocuments, WhatIsNoSlotIsRefused) {
    for (const int32_t index : {-1, 21, INT32_MAX, INT32_MIN})
        EXPECT_EQ(get(index, -1), "");
    char *buffer = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(VARN_Get_SpecificJobXML(nullptr, &length, 0), -1);
    EXPECT_EQ(log_of([&] { EXPECT_EQ(VARN_Get_SpecificJobXML(&buffer, nullptr, 0), -1); }),
              "VARN_Get_SpecificJobXML, idx =0\nVARN_Get_SpecificJobXML, parameter fail!\n");
}

TEST_F(JobDocuments, APutRewritesTheEntryThatItsUrlNames) {
    set_jobs(2);
    const struct {
        std::string elements;
        int32_t result;
        const char *first; // what the list then has first
    } rows[] = {
        {element("JobUrl", "/Jobs/JobList/1") + element("JobState", "Suspended"), 0,
         "/Jobs/JobList/1 Scan Suspended 1001-1 scanner 0"},
        {element("JobPercentageComplete", "42") + element("JobUrl", " /Jobs/JobList/1 ") +
             element("JobSource", "user IO") + element("JobCategory", "A&amp;B"),
         0, "/Jobs/JobList/1 A&amp;B Suspended 1001-1 user 42"},
        {element("JobUrl", "/Jobs/JobList/9") + element("JobState", "Lost"), 0,
         "/Jobs/JobList/1 A&amp;B Suspended 1001-1 user 42"},
        {element("JobState", "Lost"), -1, "/Jobs/JobList/1 A&amp;B Suspended 1001-1 user 42"},
        {"", -1, "/Jobs/JobList/1 A&amp;B Suspended 1001-1 user 42"},
        {element("JobUrl", "/Jobs/JobList/1") + element("JobStateUpdate", std::string(300, 'x')) +
             element("JobPercentageComplete", "99999999999999999999"),
         0, nullptr},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(put(row.elements), row.result) << row.elements;
        if (row.first != nullptr) {
            EXPECT_EQ(job_line(list()), row.first) << row.elements;
        }
    }
    EXPECT_EQ(text_of(list(), "j:JobStateUpdate"), std::string(127, 'x'));
    EXPECT_EQ(gp_jobdesc[0].state, VARN_JOB_PROCESSING) << "the list alone";
    EXPECT_EQ(VARN_Put_SpecificJobXML(("<j:Job>" + element("JobUrl", url(2)) + "</j:Job>").c_str()),
              0)
        << "without a declaration";
}

TEST_F(JobDocuments, APutThatIsNoJobIsRefused) {
    EXPECT_EQ(put(element("JobUrl", url(1))), -1) << "no list";
    set_jobs(1);
    const std::string before = list();
    for (const char *document :
         {"", " ", "text", "<", "<j:Job>", "<other/>", "<?xml version=\"1.0\"?>", "\xFF\xFE",
          "<?xml version=\"1.0\"?><j:Jobs><j:JobUrl>/Jobs/JobList/1</j:JobUrl></j:Jobs>"})
        EXPECT_EQ(VARN_Put_SpecificJobXML(document), -1) << document;
    EXPECT_EQ(VARN_Put_SpecificJobXML(nullptr), -1);
    EXPECT_EQ(list(), before);
}

TEST_F(JobDocuments, ListAndManifestAreTheirTickets) {
    char *buffer = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(VARN_GetJobList(&buffer, &length), -1) << "before the first job";
    set_jobs(1);
    ASSERT_EQ(VARN_GetJobList(&buffer, &length), 0);
    EXPECT_EQ(std::string(buffer, length), list());
    free(buffer);
    ASSERT_EQ(VARN_GetJobsManifest(&buffer, &length), 0);
    EXPECT_EQ(std::string(buffer, length), tree.get("tmp/xml_tickets/Jobs/JobsManifest.xml"));
    free(buffer);
}

} // namespace
