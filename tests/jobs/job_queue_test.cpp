/// The queue of jobs and its list.

#include "tests/jobs/job_fixture.h"

#include <algorithm>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace varn::test;

namespace {

class JobQueue : public JobTest {};

TEST_F(JobQueue, TheFirstJobMakesTheListByteForByte) {
    set_jobs(1);
    EXPECT_EQ(without_schema_hosts(list()),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- THIS DATA SUBJECT TO DISCLAIMER(S) INCLUDED WITH THE PRODUCT OF ORIGIN. -->
<j:JobList
xsi:schemaLocation="http://schemas.varn.example/schemas/imaging/con/varn/jobs/2009/04/30 ../schemas/Jobs.xsd"
xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"
xmlns:fax="http://schemas.varn.example/schemas/imaging/con/fax/2008/06/13"
xmlns:dd="http://schemas.varn.example/schemas/imaging/con/dictionaries/1.0/"
xmlns:j="http://schemas.varn.example/schemas/imaging/con/varn/jobs/2009/04/30">
<j:Job>
<j:JobUrl>/Jobs/JobList/1</j:JobUrl>

<j:JobCategory>Scan</j:JobCategory>

<j:JobState>Processing</j:JobState>

<j:JobStateUpdate>1001-1</j:JobStateUpdate>

<j:JobSource>scanner</j:JobSource>

<j:JobPercentageComplete>0</j:JobPercentageComplete>
</j:Job>
</j:JobList>
)");
    EXPECT_FALSE(tree.has("tmp/varnjob.lock"));
}

TEST_F(JobQueue, TheListOfTheStartUpContentBecomesTheSameList) {
    set_jobs(1);
    const std::string made = list();
    const DeviceTree fresh;
    VARN_Init_jdescQ();
    g_job_id = 0;
    g_queue_jobidx = -1;
    set_jobs(1);
    EXPECT_EQ(fresh.get(list_file), made);
}

TEST_F(JobQueue, CodesBecomeWords) {
    const struct {
        int32_t category, state, source;
        const char *words;
    } rows[] = {
        {0, 0, 0, "Scan Processing userIO"},
        {1, 1, 1, "ScanPreview ProcessingError userEWS"},
        {2, 2, 2, "FwUpgrade Blocked scanner"},
        {3, 3, 3, "Scan Suspended internal"},
        {9, 4, 9, "Scan Canceled userIO"},
        {-1, 5, -1, "Scan Completed userIO"},
        {INT_MIN, 9, INT_MAX, "Scan Completed userIO"},
        {0, -1, 0, "Scan Completed userIO"},
    };
    int id = 0;
    for (const auto &row : rows) {
        EXPECT_EQ(VARN_Set_Job(row.category, row.state, row.source), 0);
        const std::string all = list();
        ++id;
        EXPECT_EQ(texts(all, "j:JobCategory").back() + " " + texts(all, "j:JobState").back() + " " +
                      texts(all, "j:JobSource").back(),
                  row.words);
        EXPECT_EQ(texts(all, "j:JobStateUpdate").back(), "1001-" + std::to_string(id));
        EXPECT_EQ(gp_jobdesc[id - 1].stateUpdate, nullptr) << "its text is gone";
    }
}

TEST_F(JobQueue, FromTheTwentyFirstJobOnTheListShiftsAndTheSlotsSmear) {
    set_jobs(20);
    EXPECT_EQ(urls().size(), 20U);
    EXPECT_EQ(g_queue_jobidx, 19);
    for (int id = 21; id <= 23; ++id) {
        set_jobs(1);
        const auto left = urls();
        ASSERT_EQ(left.size(), 20U);
        EXPECT_EQ(left.front(), url(id - 19));
        EXPECT_EQ(left.back(), url(id));
        EXPECT_EQ(g_queue_jobidx, 19);
        EXPECT_EQ(g_job_id, id);
        for (int slot = 0; slot < 19; ++slot)
            EXPECT_EQ(gp_jobdesc[slot].jobId, id - 1) << slot;
        EXPECT_EQ(gp_jobdesc[19].jobId, id);
    }
}

TEST_F(JobQueue, AnUpdateChangesTheCurrentJobAlone) {
    EXPECT_EQ(VARN_Update_Job(0, 0, 0), -1) << "no job yet";
    EXPECT_FALSE(tree.has(list_file));
    set_jobs(2);
    EXPECT_EQ(VARN_Update_Job(VARN_JOB_SCAN_PREVIEW, VARN_JOB_PROCESSING_ERROR, VARN_JOB_USER_EWS),
              0);
    const size_t longest = list().size();
    // A shorter document may leave nothing of the longer one behind it.
    EXPECT_EQ(VARN_Update_Job(VARN_JOB_SCAN, VARN_JOB_BLOCKED, VARN_JOB_USER_IO), 0);
    EXPECT_LT(list().size(), longest);
    EXPECT_EQ(texts(list(), "j:JobState"), (std::vector<std::string>{"Processing", "Blocked"}));
    EXPECT_EQ(texts(list(), "j:JobPercentageComplete"), (std::vector<std::string>{"0", "100"}));
    EXPECT_EQ(gp_jobdesc[1].percent, 100);
}

TEST_F(JobQueue, SavingOftenDoesNotMakeTheListGrow) {
    set_jobs(3);
    const std::string once = list();
    const varn_job_text stranger = {"/Jobs/JobList/99", "x", "x", "x", "x", 5};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(VARN_Update_jdescQ_ToXML(&stranger), 0);
    EXPECT_EQ(VARN_Remove_jdescQ_ToXML(3), 0);
    EXPECT_EQ(VARN_Remove_jdescQ_ToXML(-1), 0);
    EXPECT_EQ(list(), once);
    EXPECT_EQ(VARN_Remove_jdescQ_ToXML(1), 0);
    EXPECT_EQ(urls(), (std::vector<std::string>{url(1), url(3)}));
}

TEST_F(JobQueue, AListThatWentAwayIsMadeAgain) {
    set_jobs(2);
    tree.remove(list_file);
    EXPECT_EQ(VARN_Remove_jdescQ_ToXML(0), -1) << "it makes none";
    set_jobs(1);
    EXPECT_EQ(urls(), std::vector<std::string>{url(3)});
}

TEST_F(JobQueue, TextsOfTheCallerCannotSpoilTheList) {
    const varn_job_text markup = {"<&\"]]>", "a\nb", nullptr, "\xC3\xA4", "", -7};
    EXPECT_EQ(VARN_Save_jdescQ_ToXML(&markup), 0);
    EXPECT_EQ(texts(list(), "j:JobUrl").front(), "&lt;&amp;&quot;]]&gt;");
    EXPECT_EQ(texts(list(), "j:JobPercentageComplete").front(), "-7");
    const std::string before = list();
    for (const char *text :
         {"\x01", "\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xEF\xBF\xBF", "\xF4\x90\x80\x80"}) {
        varn_job_text job = {"/Jobs/JobList/7", "Scan", "Completed", "userIO", text, 0};
        EXPECT_EQ(VARN_Save_jdescQ_ToXML(&job), -1);
        job.url = "<&\"]]>";
        EXPECT_EQ(VARN_Update_jdescQ_ToXML(&job), -1);
    }
    EXPECT_EQ(list(), before);
}

TEST_F(JobQueue, FailuresAreToldAndChangeNothing) {
    const varn_job_text job = {"/Jobs/JobList/1", "Scan", "Completed", "userIO", "1001-1", 0};
    const varn_job_text no_url = {"", "Scan", "Completed", "userIO", "1001-1", 0};
    const auto log = [](auto call) { return log_of([&] { EXPECT_EQ(call(), -1); }); };
    const auto update = [&](const varn_job_text *text) {
        return [text] { return VARN_Update_jdescQ_ToXML(text); };
    };
    const std::string bad = "VARN_Update_jdescQ_ToXML:paramter fail!\n";
    EXPECT_EQ(log(update(&job)), bad) << "no list";
    set_jobs(1);
    EXPECT_EQ(log(update(&no_url)), bad);
    EXPECT_EQ(log(update(nullptr)), bad);
    EXPECT_EQ(VARN_Save_jdescQ_ToXML(nullptr), -1);
    EXPECT_EQ(VARN_Add_jdescQ(nullptr, 1), -1);

    EXPECT_EQ(VARN_Remove_jdescQ_ToXML(0), 0);
    EXPECT_NE(log(update(&job)).find("Joblist:"), std::string::npos) << "no entry";
    for (const char *content : {"", "<j:JobList", "<other/>"}) {
        tree.put(list_file, content);
        EXPECT_NE(log([&] { return VARN_Save_jdescQ_ToXML(&job); }).find("#Error: unable to "),
                  std::string::npos);
        EXPECT_EQ(VARN_Update_jdescQ_ToXML(&job), -1);
        EXPECT_EQ(VARN_Remove_jdescQ_ToXML(0), -1);
        EXPECT_EQ(tree.get(list_file), content);
    }

    tree.remove(list_file);
    std::filesystem::create_directory(tree / "tmp/varnjob.lock");
    EXPECT_NE(log([&] { return VARN_Save_jdescQ_ToXML(&job); }).find("Open Lock file fail...\n"),
              std::string::npos);
    EXPECT_FALSE(tree.has(list_file));
}

TEST_F(JobQueue, AnotherProcessIsWaitedFor) {
    const std::string path = tree / "tmp/varnjob.lock";
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT, 0644);
        if (lockf(fd, F_LOCK, 0) != 0 || write(ready[1], "1", 1) != 1)
            _exit(1);
        usleep(100000);
        _exit(tree.has(list_file) ? 1 : 0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    set_jobs(1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << "the list was written while another process held the lock";
    EXPECT_EQ(urls().size(), 1U);
    close(ready[0]);
    close(ready[1]);
}

TEST_F(JobQueue, ThreadsMayBeginJobsAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] { set_jobs(5); });
    for (std::thread &thread : threads)
        thread.join();
    std::vector<std::string> expected;
    for (int id = 1; id <= 20; ++id)
        expected.push_back(url(id));
    EXPECT_EQ(urls(), expected);
}

} // namespace
