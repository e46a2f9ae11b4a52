/// Many clients at once.

#include "tests/e2e/e2e_fixture.h"

#include <atomic>
#include <thread>

namespace varn::testing {
namespace {

class Concurrency : public ScannerTest {};

TEST_F(Concurrency, EveryResourceAnswersEveryClientWhileScansGoOn) {
    const std::vector<std::string> paths = {
        "/DevMgmt/DiscoveryTree.xml", "/DevMgmt/ProductConfigDyn.xml",
        "/DevMgmt/ProductConfigCap.xml", "/eSCL/ScannerCapabilities", "/eSCL/ScannerStatus"};
    std::vector<std::string> ends;
    for (const std::string &path : paths) {
        const std::string body = get(path).body;
        ASSERT_GT(body.size(), 40U) << path;
        ends.push_back(body.substr(body.find_last_of('<')));
    }
    std::atomic<bool> stop = false;
    std::atomic<int> answers = 0;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> clients;
    for (std::size_t i = 0; i < 10; ++i) {
        clients.emplace_back([&, i] {
            client::HttpClient http;
            const std::size_t row = i % paths.size();
            while (!stop) {
                const client::HttpAnswer answer = http.get(scanner_.url() + paths[row]);
                // Two runs of one resource at a time would cut each other's document short.
                if (answer.status != 200 || !answer.body.ends_with(ends[row]))
                    ++wrong;
                ++answers;
            }
        });
    }
    for (int i = 0; i < 10; ++i) {
        const Job job = start(small_scan("flatbed"));
        EXPECT_EQ(job.status, 201) << i;
        EXPECT_EQ(fetch_all(job).size(), 1U) << i;
    }
    stop = true;
    for (std::thread &thread : clients)
        thread.join();
    EXPECT_EQ(wrong, 0) << "of " << answers;
    EXPECT_GT(answers, 50);
}

TEST_F(Concurrency, APutIsSeenByTheGetsThatComeAfterIt) {
    const std::string path = "/DevMgmt/ProductConfigDyn.xml";
    std::atomic<bool> stop = false;
    std::vector<std::thread> clients;
    for (int i = 0; i < 4; ++i)
        clients.emplace_back([&] {
            client::HttpClient http;
            while (!stop)
                http.get(scanner_.url() + path);
        });
    for (int i = 0; i < 20; ++i) {
        const std::string value = "asset-" + std::to_string(i);
        ASSERT_EQ(put(path, asset_number(value)), 200);
        EXPECT_NE(get(path).body.find(">" + value + "<"), std::string::npos) << i;
    }
    stop = true;
    for (std::thread &thread : clients)
        thread.join();
}

TEST_F(Concurrency, OfManyPostsOneGetsTheScanner) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "2"}));
    std::atomic<int> started = 0;
    std::atomic<int> busy = 0;
    std::vector<std::thread> clients;
    for (int i = 0; i < 8; ++i)
        clients.emplace_back([&] {
            client::HttpClient http;
            const int status = http.post_xml(scanner_.url() + "/eSCL/ScanJobs",
                                             client::settings_document(small_scan("feeder")))
                                   .status;
            started += status == 201;
            busy += status == 503;
        });
    for (std::thread &thread : clients)
        thread.join();
    EXPECT_EQ(started, 1);
    EXPECT_EQ(busy, 7);
}

} // namespace
} // namespace varn::testing
