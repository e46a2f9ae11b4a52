/// Scans that do not go well, each followed by one that does.

#include "tests/e2e/e2e_fixture.h"

#include <chrono>
#include <csignal>
#include <thread>

namespace varn::testing {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

class Failure : public ScannerTest {
protected:
    explicit Failure(std::vector<std::string> arguments = {}) : ScannerTest(std::move(arguments)) {}

    /// Images that are larger than what the sockets between server and client hold.
    Job start_large_scan() {
        EXPECT_TRUE(scanner_.ctl({"feeder", "load", "text", "text"}));
        client::ScanSettings settings;
        settings.resolution = 600;
        std::string xml = client::settings_document(settings);
        const std::string best = "<scan:CompressionFactor>0</scan:CompressionFactor>";
        return start(xml.insert(xml.rfind("</"), best));
    }
    std::string next_document_request(const Job &job) {
        return "GET /eSCL/ScanJobs/" + job.uuid + "/NextDocument HTTP/1.1\r\nHost: h\r\n\r\n";
    }
    /// A client with small buffers that has taken the first bytes of an image.
    void begin_image(RawConnection &connection, const Job &job) {
        ASSERT_TRUE(connection.send(next_document_request(job)));
        const std::string begin = connection.receive_some(2000);
        ASSERT_EQ(testing::status_of(begin), 200) << begin;
    }
};

class SlowClient : public Failure {
protected:
    SlowClient() : Failure({"--request-timeout-ms", "1000"}) {}
};

TEST_F(Failure, EmptyFeederIsAConflict) {
    EXPECT_EQ(start(small_scan("feeder")).status, 409);
    EXPECT_EQ(start(small_scan("duplex")).status, 409);
    expect_scanner_works();
}

TEST_F(Failure, SettingsThatTheScannerDoesNotOfferAreAConflict) {
    client::ScanSettings settings = small_scan("flatbed");
    settings.resolution = 123;
    EXPECT_EQ(start(settings).status, 409);
    settings = small_scan("flatbed");
    settings.format = "image/x-none";
    EXPECT_EQ(start(settings).status, 409);
    expect_scanner_works();
}

TEST_F(Failure, JamBreaksTheJobOff) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "3"}));
    ASSERT_TRUE(scanner_.ctl({"fault", "jam", "2", "start"}));
    const Job job = start(small_scan("feeder"));
    int last = 0;
    EXPECT_EQ(fetch_all(job, &last).size(), 1U);
    EXPECT_EQ(last, 410);
    EXPECT_TRUE(job_gets(job, "Aborted"));
    EXPECT_EQ(status_of_job(job).feeder_state, "ScannerAdfJam");
    ASSERT_TRUE(scanner_.ctl({"hatch", "open"}));
    ASSERT_TRUE(scanner_.ctl({"hatch", "close"}));
    expect_scanner_works();
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "1"}));
    EXPECT_GE(fetch_all(start(small_scan("feeder"))).size(), 1U);
}

TEST_F(Failure, JamInMidImageIsNoWholeBody) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "chart"}));
    ASSERT_TRUE(scanner_.ctl({"fault", "jam", "1", "middle"}));
    client::ScanSettings settings;
    settings.resolution = 600;
    const Job job = start(settings);
    const client::HttpAnswer answer = next_document(job);
    EXPECT_TRUE(answer.status == 410 || !answer.failure.empty()) << answer.status;
    EXPECT_EQ(next_document(job).status, 410);
    EXPECT_TRUE(job_gets(job, "Aborted"));
    expect_scanner_works();
}

TEST_F(Failure, CancelAtTheDevice) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "3"}));
    ASSERT_TRUE(scanner_.ctl({"fault", "cancel", "2", "start"}));
    const Job job = start(small_scan("feeder"));
    int last = 0;
    EXPECT_EQ(fetch_all(job, &last).size(), 1U);
    EXPECT_EQ(last, 410);
    EXPECT_TRUE(job_gets(job, "Canceled"));
    EXPECT_EQ(status_of_job(job).reason, "JobCanceledAtDevice");
    expect_scanner_works();
}

TEST_F(Failure, DeleteEndsTheJob) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "5"}));
    const Job job = start(small_scan("feeder"));
    ASSERT_EQ(next_document(job).status, 200);
    EXPECT_EQ(http_.del(job.location).status, 200);
    EXPECT_EQ(next_document(job).status, 410);
    EXPECT_TRUE(job_gets(job, "Canceled"));
    EXPECT_EQ(start(small_scan("flatbed")).status, 201) << "at once";
}

TEST_F(Failure, DeleteRightBehindThePost) {
    for (int i = 0; i < 20; ++i) {
        const Job job = start(small_scan("flatbed"));
        ASSERT_EQ(job.status, 201) << i;
        EXPECT_EQ(http_.del(job.location).status, 200);
        // An image of one block may be through before the cancel is seen.
        const std::string state = status_of_job(job).state;
        EXPECT_TRUE(state == "Canceled" || state == "Completed") << i << " " << state;
        EXPECT_NE(next_document(job).status, 200) << i;
    }
    expect_scanner_works();
}

TEST_F(Failure, DeleteInMidImageBreaksTheBodyOff) {
    const Job job = start_large_scan();
    RawConnection connection(scanner_.port(), 4096);
    begin_image(connection, job);
    EXPECT_EQ(http_.del(job.location).status, 200);
    std::string rest;
    for (std::string more; !(more = connection.receive_some(65536)).empty();)
        rest += more;
    EXPECT_FALSE(rest.ends_with("\r\n0\r\n\r\n"));
    EXPECT_TRUE(job_gets(job, "Canceled"));
    expect_scanner_works();
}

TEST_F(Failure, ASecondClientIsRefusedWhileAJobRuns) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "2"}));
    const Job job = start(small_scan("feeder"));
    ASSERT_EQ(job.status, 201);
    const std::string answer =
        ask_raw("POST", "/eSCL/ScanJobs", client::settings_document(small_scan("flatbed")));
    EXPECT_EQ(testing::status_of(answer), 503);
    EXPECT_FALSE(field_of(answer, "Retry-After").empty());
    EXPECT_EQ(fetch_all(job).size(), 2U) << "the first client is not disturbed";
    EXPECT_EQ(start(small_scan("flatbed")).status, 201) << "right behind the last image";
}

TEST_F(Failure, OneClientAtATimeTakesAnImage) {
    const Job job = start_large_scan();
    RawConnection first(scanner_.port(), 4096);
    begin_image(first, job);
    EXPECT_EQ(next_document(job).status, 503);
}

TEST_F(Failure, AClientThatVanishesInMidImageLeavesTheDeviceReady) {
    const Job job = start_large_scan();
    {
        RawConnection connection(scanner_.port(), 4096);
        begin_image(connection, job);
    }
    EXPECT_TRUE(job_gets(job, "Canceled"));
    expect_scanner_works();
}

TEST_F(SlowClient, AClientThatStopsReadingLosesItsJob) {
    const Job job = start_large_scan();
    RawConnection connection(scanner_.port(), 4096);
    begin_image(connection, job);
    EXPECT_TRUE(job_gets(job, "Canceled"));
    expect_scanner_works();
}

TEST_F(Failure, AnEngineKilledInMidImageEndsTheJobAndComesBack) {
    const Job job = start_large_scan();
    RawConnection connection(scanner_.port(), 4096);
    begin_image(connection, job);
    const pid_t engine = scanner_.engine_pid();
    ASSERT_EQ(kill(engine, SIGKILL), 0);
    std::string rest;
    for (std::string more; !(more = connection.receive_some(65536)).empty();)
        rest += more;
    EXPECT_FALSE(rest.ends_with("\r\n0\r\n\r\n"));
    EXPECT_TRUE(job_gets(job, "Canceled"));
    EXPECT_NE(scanner_.engine_pid(), engine);
    expect_scanner_works();
}

TEST_F(Failure, AnEngineKilledBetweenImagesEndsTheJobToo) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "5"}));
    const Job job = start(small_scan("feeder"));
    ASSERT_EQ(next_document(job).status, 200);
    ASSERT_EQ(kill(scanner_.engine_pid(), SIGKILL), 0);
    // Nobody asks for the next image.
    EXPECT_TRUE(eventually([&] {
        const std::string state = status_of_job(job).state;
        return state == "Canceled" || state == "Aborted";
    }));
    EXPECT_EQ(next_document(job).status, 410);
    expect_scanner_works();
}

TEST_F(Failure, ARunningScanDoesNotHoldTheServersEndUp) {
    const Job job = start_large_scan();
    RawConnection connection(scanner_.port(), 4096);
    begin_image(connection, job);
    const pid_t engine = scanner_.engine_pid();
    const auto began = Clock::now();
    EXPECT_EQ(scanner_.stop(), 0);
    EXPECT_LT(Clock::now() - began, 8s);
    EXPECT_NE(kill(engine, 0), 0);
}

} // namespace
} // namespace varn::testing
