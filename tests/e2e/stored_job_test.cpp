/// Stored jobs as a host sees them.

#include "tests/e2e/e2e_fixture.h"

#include <nlohmann/json.hpp>

namespace varn::testing {
namespace {

class StoredJob : public ScannerTest {
protected:
    Job store(const std::string &name, const std::string &pin = "") {
        std::string settings = client::settings_document(small_scan("flatbed"));
        const std::string request = "<scan:StoredJobRequest><scan:JobName>" + name +
                                    "</scan:JobName><scan:PIN>" + pin +
                                    "</scan:PIN></scan:StoredJobRequest>";
        settings.insert(settings.rfind("</"), request);
        return start(settings);
    }
    nlohmann::json stored_jobs() const {
        const ProgramResult shown =
            run_program({CTL_PROGRAM, "--root", scanner_.root().string(), "state"});
        return nlohmann::json::parse(shown.output).at("storedJobs");
    }
};

TEST_F(StoredJob, PostedJobWaitsAndIsShownAtTheDevice) {
    const Job job = store("Tax &amp; &lt;b&gt;rent&lt;/b&gt;", "4711");
    ASSERT_EQ(job.status, 201);
    EXPECT_EQ(job.location, scanner_.url() + "/eSCL/ScanJobs/" + job.uuid);
    EXPECT_EQ(status_of_job(job).state, "PendingHeld");
    const nlohmann::json jobs = stored_jobs();
    ASSERT_EQ(jobs.size(), 1U);
    EXPECT_EQ(jobs[0].at("name"), "Tax & <b>rent</b>");
    EXPECT_EQ(jobs[0].at("uuid"), job.uuid);
    EXPECT_EQ(jobs[0].at("source"), "glass");
    EXPECT_EQ(jobs[0].at("hasPin"), true);
    EXPECT_EQ(jobs.dump().find("4711"), std::string::npos);
    EXPECT_EQ(next_document(job).status, 404);
    expect_scanner_works();
    EXPECT_EQ(status_of_job(job).state, "PendingHeld");

    EXPECT_TRUE(ask_raw("DELETE", "/eSCL/ScanJobs/" + job.uuid).starts_with("HTTP/1.1 200"));
    EXPECT_EQ(status_of_job(job).state, "Canceled");
    EXPECT_EQ(stored_jobs().size(), 0U);
}

TEST_F(StoredJob, FiveJobsFitAndOneMayComeWhileAnotherScanRuns) {
    const Job running = start(small_scan("flatbed"));
    ASSERT_EQ(running.status, 201);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(store("Job " + std::to_string(i)).status, 201);
    EXPECT_EQ(store("One too many").status, 409);
    EXPECT_EQ(stored_jobs().size(), 5U);
    EXPECT_EQ(fetch_all(running).size(), 1U);
    EXPECT_TRUE(job_gets(running, "Completed"));
}

} // namespace
} // namespace varn::testing
