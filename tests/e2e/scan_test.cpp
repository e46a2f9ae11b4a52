/// Scans that go well.

#include "tests/e2e/e2e_fixture.h"

#include <chrono>

namespace varn::testing {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

class Scan : public ScannerTest {};

TEST_F(Scan, EverySourceInEveryColourMode) {
    const struct {
        const char *source;
        unsigned images; // of two sheets
    } sources[] = {{"flatbed", 1}, {"feeder", 2}, {"duplex", 4}};
    const struct {
        const char *mode;
        int components;
    } modes[] = {{"color", 3}, {"gray", 1}, {"bw", 1}};
    for (const auto &source : sources) {
        for (const auto &mode : modes) {
            ASSERT_TRUE(scanner_.ctl({"feeder", "empty"}));
            ASSERT_TRUE(scanner_.ctl({"feeder", "load", "2"}));
            client::ScanSettings settings = small_scan(source.source);
            settings.mode = mode.mode;
            settings.resolution = 100;
            const Job job = start(settings);
            ASSERT_EQ(job.status, 201) << source.source << " " << mode.mode;
            int last = 0;
            const std::vector<Picture> pictures = fetch_all(job, &last);
            EXPECT_EQ(last, 404);
            EXPECT_EQ(pictures.size(), source.images) << source.source << " " << mode.mode;
            for (const Picture &picture : pictures) {
                EXPECT_EQ(picture.width, 850U) << source.source << " " << mode.mode;
                EXPECT_EQ(picture.height, 1170U) << source.source << " " << mode.mode;
                EXPECT_EQ(picture.components, mode.components);
            }
            EXPECT_TRUE(job_gets(job, "Completed")) << source.source << " " << mode.mode;
        }
    }
}

TEST_F(Scan, ResolutionAndWindowGiveTheSize) {
    client::ScanSettings settings = small_scan("flatbed");
    settings.window = client::Window{300, 600, 900, 1200};
    for (const unsigned resolution : {75U, 300U, 600U}) {
        settings.resolution = resolution;
        const std::vector<Picture> pictures = fetch_all(start(settings));
        ASSERT_EQ(pictures.size(), 1U) << resolution;
        EXPECT_EQ(pictures[0].width, 3 * resolution);
        EXPECT_EQ(pictures[0].height, 4 * resolution);
    }
}

TEST_F(Scan, TenPages) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "10"}));
    const Job job = start(small_scan("feeder"));
    EXPECT_EQ(fetch_all(job).size(), 10U);
    EXPECT_TRUE(job_gets(job, "Completed"));
    EXPECT_EQ(status_of_job(job).feeder_state, "ScannerAdfEmpty");
}

TEST_F(Scan, PageCountLeavesTheRestInTheFeeder) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "5"}));
    client::ScanSettings settings = small_scan("feeder");
    settings.page_count = 2;
    EXPECT_EQ(fetch_all(start(settings)).size(), 2U);
    EXPECT_EQ(fetch_all(start(small_scan("feeder"))).size(), 3U);
}

TEST_F(Scan, ThePostNamesTheJobAsTheClientNamesTheServer) {
    const std::string answer =
        ask_raw("POST", "/eSCL/ScanJobs", client::settings_document(small_scan("flatbed")));
    EXPECT_EQ(testing::status_of(answer), 201);
    EXPECT_TRUE(field_of(answer, "Location").starts_with("http://localhost:80/eSCL/ScanJobs/"))
        << answer;
}

TEST_F(Scan, StatusAndCapabilitiesAnswerWhileAScanWaits) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "3"}));
    const Job job = start(small_scan("feeder"));
    ASSERT_EQ(job.status, 201);
    EXPECT_TRUE(job_gets(job, "Processing"));
    for (const char *path :
         {"/eSCL/ScannerStatus", "/eSCL/ScannerCapabilities", "/DevMgmt/ProductConfigDyn.xml"}) {
        const auto began = Clock::now();
        EXPECT_EQ(get(path).status, 200) << path;
        EXPECT_LT(Clock::now() - began, 2s) << path;
    }
    EXPECT_EQ(status_of_job(job).scanner_state, "Processing");
    EXPECT_EQ(fetch_all(job).size(), 3U);
}

TEST_F(Scan, ImageInformationFollowsTheImages) {
    ASSERT_TRUE(scanner_.ctl({"slow", "strip", "5"})); // else the image may be there at once
    const Job job = start(small_scan("flatbed"));
    ASSERT_EQ(job.status, 201);
    const std::string path = "/eSCL/ScanJobs/" + job.uuid + "/ScanImageInfo";
    EXPECT_EQ(get(path).status, 404) << "no image yet";
    EXPECT_EQ(fetch_all(job).size(), 1U);
    const client::HttpAnswer answer = get(path);
    EXPECT_EQ(answer.status, 200);
    EXPECT_NE(answer.body.find(job.uuid), std::string::npos);
    EXPECT_NE(answer.body.find(">637<"), std::string::npos) << answer.body;
    EXPECT_EQ(get("/eSCL/ScanJobs/0d57123e-5891-479e-9fd6-9499338a238e/ScanImageInfo").status, 404);
}

TEST_F(Scan, JobsStayKnownForAWhile) {
    const Job first = start(small_scan("flatbed"));
    EXPECT_EQ(fetch_all(first).size(), 1U);
    EXPECT_EQ(fetch_all(start(small_scan("flatbed"))).size(), 1U);
    EXPECT_EQ(next_document(first).status, 404);
    EXPECT_EQ(http_.del(first.location).status, 200) << "it has ended, and is known";
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(fetch_all(start(small_scan("flatbed"))).size(), 1U);
    EXPECT_EQ(http_.del(first.location).status, 404);
}

TEST_F(Scan, OldClientsGetTheImageWithoutChunks) {
    const Job job = start(small_scan("flatbed"));
    ASSERT_EQ(job.status, 201);
    RawConnection connection(scanner_.port());
    connection.send("GET /eSCL/ScanJobs/" + job.uuid + "/NextDocument HTTP/1.0\r\n\r\n");
    std::string answer;
    for (std::string more; !(more = connection.receive_some(65536)).empty();)
        answer += more;
    EXPECT_EQ(testing::status_of(answer), 200);
    EXPECT_EQ(field_of(answer, "Transfer-Encoding"), "");
    EXPECT_GT(decode_jpeg(answer.substr(answer.find("\r\n\r\n") + 4)).width, 0U);
}

} // namespace
} // namespace varn::testing
