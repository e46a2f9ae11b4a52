// The job list of the status document: insertion, update, restoration.
#include "tests/escl/scan_fixture.h"
#include "tests/support/documents.h"

using namespace varn::test;

namespace {

using JobList = ScanTest;

void insert(const char *uuid, int32_t status = JOBSTAT_CREATED) {
    varn_scan_job_info info = job_info(uuid, status);
    EXPECT_EQ(eSCL_FWSetScanJobInfo(&info), 0);
}

void update(const char *uuid, int32_t status, uint32_t errcode = 0) {
    varn_scan_job_info info = job_info(uuid, status);
    info.errcode = errcode;
    info.imagesCompleted = 4;
    info.imagesToTransfer = 2;
    EXPECT_EQ(eSCL_FWUpdateScanJobInfo(&info), 0);
}

TEST_F(JobList, every_status_has_its_state_and_reason) {
    const struct {
        int32_t status;
        const char *state, *reason;
    } rows[] = {
        {1, "Pending", "JobScanning"},
        {2, "Processing", "JobScanning"},
        {3, "Completed", "JobCompletedSuccessfully"},
        {4, "Canceled", "JobCanceledByUser"},
        {5, "Canceled", "JobCanceledAtDevice"},
        {6, "Aborted", "ErrorsDetected"},
        {7, "PendingHeld", "absent"},
    };
    insert("6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab");
    for (const auto &row : rows) {
        update("6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab", row.status);
        const std::string document = status_document();
        EXPECT_EQ(text_of(document, "pwg:JobState"), row.state);
        EXPECT_EQ(text_of(document, "pwg:JobStateReason"), row.reason);
        EXPECT_EQ(schema_fault(document), "");
    }
    for (const int32_t status : {0, 8, -1}) {
        EXPECT_EQ(log_of([&] { update("6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab", status); }),
                  "setjobstatus....Can't case status=" + std::to_string(status) + "\n");
        EXPECT_EQ(job_states(), Calls{"PendingHeld"});
    }
    const std::string document = status_document();
    EXPECT_EQ(text_of(document, "pwg:JobUri"),
              "/eSCL/ScanJobs/6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab");
    EXPECT_EQ(text_of(document, "pwg:JobUuid"), "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab");
    EXPECT_EQ(text_of(document, "pwg:ImagesCompleted"), "4");
    EXPECT_EQ(text_of(document, "pwg:ImagesToTransfer"), "2");
    EXPECT_EQ(text_of(document, "scan:TransferRetryCount"), "absent");
}

TEST_F(JobList, insertion_drops_final_jobs_behind_the_first_and_keeps_seven) {
    const struct {
        std::vector<int32_t> before; ///< oldest first
        std::string after;           ///< newest first, the inserted one included
    } rows[] = {
        {{}, "new"},
        {{3}, "new a"},
        {{3, 3}, "new b"},
        {{3, 2, 3}, "new c b"},
        {{7, 4, 1, 5, 6}, "new e c a"},
        {{2, 2, 2, 2, 2, 2}, "new f e d c b a"},
        {{2, 2, 2, 2, 2, 2, 2}, "new g f e d c b"},
        {{3, 2, 2, 2, 2, 2, 2, 3}, "new h g f e d c"},
    };
    const std::string seed = status_document();
    for (const auto &row : rows) {
        SCOPED_TRACE(row.after);
        put_status_document(seed);
        char name[2] = "a";
        for (size_t i = 0; i < row.before.size(); ++i, ++*name)
            insert(name, JOBSTAT_SCANNING);
        // Made final only now, so that all of them are still in the list.
        for (size_t i = 0; i < row.before.size(); ++i) {
            const char job[2] = {static_cast<char>('a' + i), '\0'};
            update(job, row.before[i]);
        }
        const std::string log = log_of([] { insert("new"); });
        EXPECT_EQ(log, std::string("gsoap mode:eSCL_FWSetScanJobInfo jobuuid=new status=1\n") +
                           (row.before.empty() ? "still no job\n" : "has 1 job\n"));
        std::string after;
        for (const std::string &uuid : texts(status_document(), "pwg:JobUuid"))
            after += (after.empty() ? "" : " ") + uuid;
        EXPECT_EQ(after, row.after);
        EXPECT_EQ(schema_fault(status_document()), "");
    }
}

TEST_F(JobList, update_changes_the_first_entry_of_that_uri_alone) {
    insert("twin", JOBSTAT_SCANNING);
    insert("twin", JOBSTAT_SCANNING);
    insert("front", JOBSTAT_SCANNING);
    EXPECT_EQ(log_of([] { update("twin", JOBSTAT_COMPLETED); }),
              "!!!!!!!!!!!!!!NEXT!!!!!!!!!!!!!! \n");
    EXPECT_EQ(job_states(), (Calls{"Processing", "Completed", "Processing"}));
    const std::string before = status_document();
    EXPECT_TRUE(log_of([] { update("nobody", JOBSTAT_ABORTED, 0x2001); })
                    .ends_with("eSCL_FWUpdateScanJobInfo, Ignore write status file since can not "
                               "find..\n"));
    EXPECT_EQ(status_document(), before);
}

TEST_F(JobList, aborted_job_tells_its_error) {
    insert("job");
    for (const auto &[status, error, word] :
         {std::tuple{JOBSTAT_ABORTED, 0x2007U, "ScannerAdfDuplexPageTooLong"},
          {JOBSTAT_ABORTED, 0x2005U, "ScannerAdfDuplexPageTooLong"}, // of no word: left alone
          {JOBSTAT_SCANNING, 0x2001U, "ScannerAdfDuplexPageTooLong"},
          {JOBSTAT_ABORTED, 0x2003U, "ScannerAdfJam"}}) {
        update("job", status, error);
        EXPECT_EQ(text_of(status_document(), "scan:AdfState"), word) << std::hex << error;
    }
}

TEST_F(JobList, document_without_a_list_starts_again_from_the_seed) {
    tree.replace("web/eSCL/ScannerStatus.xml", "ScannerAdfEmpty", "ScannerAdfLoaded");
    for (const char *content : {"<scan:ScannerStatus/>", "not a document", ""}) {
        put_status_document(content);
        EXPECT_EQ(log_of([] { update("job", JOBSTAT_SCANNING); }),
                  "!!!!!!!!!!!!!!NG!!!!!!!!!!!!!! \n"
                  "gsoap mode:eSCL_FWSetScanJobInfo jobuuid=job status=2\nstill no job\n");
        EXPECT_EQ(job_states(), Calls{"Processing"});
        EXPECT_EQ(text_of(status_document(), "scan:AdfState"), "ScannerAdfLoaded");
    }
    // An empty list is a list.
    put_status_document("<?xml version=\"1.0\"?><scan:ScannerStatus xmlns:scan=\""
                        "http://schemas.escl.example/imaging/escl/2011/05/03\"><scan:Jobs/>"
                        "</scan:ScannerStatus>");
    EXPECT_EQ(log_of([] { update("job", JOBSTAT_SCANNING); }),
              "eSCL_FWUpdateScanJobInfo, Ignore write status file since can not find..\n");
    EXPECT_EQ(log_of([] { insert("job"); }).find("has 1 job\n") != std::string::npos, true);
    EXPECT_EQ(job_states(), Calls{"Pending"});
}

TEST_F(JobList, newest_job_decides_whether_the_scanner_is_busy) {
    insert("old", JOBSTAT_SCANNING);
    insert("new");
    const std::string document = status_document();
    const struct {
        const char *state;
        uint32_t busy; ///< 77: left alone
    } rows[] = {{"Aborted", 0},    {"Canceled", 0},     {"Completed", 0},         {"Pending", 1},
                {"Processing", 1}, {"PendingHeld", 77}, {"ProcessingStopped", 77}};
    for (const auto &row : rows) {
        put_status_document(document);
        tree.replace(status_path, ">Pending<", std::string(">") + row.state + "<");
        uint32_t busy = 77;
        EXPECT_EQ(eSCL_FWGetScanJobInfo(0, &busy), 0);
        EXPECT_EQ(busy, row.busy) << row.state;
    }
    for (const char *content : {"", "<a", "<scan:ScannerStatus/>"}) {
        put_status_document(content);
        uint32_t busy = 77;
        eSCL_FWGetScanJobInfo(0, &busy);
        EXPECT_EQ(busy, 0U) << content;
    }
}

TEST_F(JobList, age_is_the_time_between_updates) {
    setenv("TZ", "UTC", 1);
    tzset();
    const auto age = [this] { return text_of(status_document(), "scan:Age"); };
    waits.now = 86400 * 365 + 50000;
    insert("job");
    EXPECT_EQ(age(), "0");
    waits.now = 86400 * 365 + 50042;
    update("job", JOBSTAT_SCANNING);
    EXPECT_EQ(age(), "42");
    waits.now = 86400 * 366 + 10; // past midnight
    update("job", JOBSTAT_SCANNING);
    EXPECT_EQ(age(), "-50032");
    EXPECT_EQ(AgeTime_before, 10);
}

} // namespace
