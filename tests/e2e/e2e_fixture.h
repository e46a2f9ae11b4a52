/// A whole scanner for each test, and a client at it.
#pragma once

#include "device/client/http_client.h"
#include "device/client/settings.h"
#include "device/client/status.h"
#include "tests/web/support/raw_http.h"
#include "tests/web/support/scanner_process.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace varn::testing {

/// What a JPEG turned out to be; width 0: it does not decode.
struct Picture {
    unsigned width = 0;
    unsigned height = 0;
    int components = 0;
};
Picture decode_jpeg(const std::string &bytes);

struct Job {
    int status = 0; ///< of the POST
    std::string location;
    std::string uuid;
};

class ScannerTest : public ::testing::Test {
protected:
    explicit ScannerTest(std::vector<std::string> arguments = {})
        : scanner_(std::move(arguments)) {}
    void SetUp() override { ASSERT_TRUE(scanner_.ready()) << scanner_.output_rest(); }

    client::HttpAnswer get(const std::string &path) { return http_.get(scanner_.url() + path); }
    int put(const std::string &path, const std::string &xml);
    /// A field of the answer to a raw request.
    std::string ask_raw(const std::string &method, const std::string &path,
                        const std::string &body = {});

    Job start(const client::ScanSettings &settings);
    Job start(const std::string &settings_xml);
    client::HttpAnswer next_document(const Job &job) {
        return http_.get(job.location + "/NextDocument");
    }
    /// Every image until the answer is no more 200, which goes to `last`.
    std::vector<Picture> fetch_all(const Job &job, int *last = nullptr);
    client::JobStatus status_of_job(const Job &job);
    bool job_gets(const Job &job, const std::string &state);
    /// A small scan from the glass goes through from end to end.
    void expect_scanner_works();

    ScannerProcess scanner_;
    client::HttpClient http_;
};

/// Small and quick.
client::ScanSettings small_scan(const std::string &source);

/// A product configuration with these elements in its settings.
std::string product_settings(const std::string &elements);
std::string asset_number(const std::string &value);

} // namespace varn::testing
