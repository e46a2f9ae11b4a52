/// The small resources of the scan service.

#include "tests/e2e/e2e_fixture.h"

namespace varn::testing {
namespace {

class Resources : public ScannerTest {
protected:
    /// A request document that takes its namespaces from the settings of a scan.
    std::string document(const std::string &root, const std::string &content) {
        const std::string settings = client::settings_document(small_scan("flatbed"));
        const auto begin = settings.find(" xmlns:");
        const std::string names = settings.substr(begin, settings.find('>', begin) - begin);
        return "<scan:" + root + names + ">" + content + "</scan:" + root + ">";
    }
};

TEST_F(Resources, TheConfigurationTurnsTheServiceOnAndOff) {
    const std::string path = "/eSCL/eSCLConfig";
    const struct {
        std::string content;
        int status;
        const char *state; // afterwards
    } rows[] = {
        {"<scan:State>disabled</scan:State>", 200, ">disabled<"},
        {"<scan:State>enabled</scan:State>", 200, ">enabled<"},
        {"", 400, ">enabled<"},
        {"<scan:State>removed</scan:State>", 200, ">disabled<"},
        {"<scan:State>enabled</scan:State><scan:ScannerAdminCredentials><scan:UserName>"
         "me</scan:UserName><scan:Password>word</scan:Password></scan:ScannerAdminCredentials>",
         200, ">enabled<"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(put(path, document("eSCLConfig", row.content)), row.status) << row.content;
        const std::string body = get(path).body;
        EXPECT_NE(body.find(row.state), std::string::npos) << row.content << body;
        EXPECT_EQ(body.find("word"), std::string::npos);
    }
    EXPECT_EQ(put(path, "no document"), 400);
}

TEST_F(Resources, BufferInformationCorrectsAndTellsTheSize) {
    client::ScanSettings settings = small_scan("flatbed");
    settings.window = client::Window{0, 0, 600, 300};
    const std::string good = client::settings_document(settings);
    settings.resolution = 77;
    const std::string wrong = client::settings_document(settings);
    for (const char *method : {"PUT", "POST"}) {
        const std::string answer = ask_raw(method, "/eSCL/ScanBufferInfo", good);
        EXPECT_EQ(testing::status_of(answer), 200);
        EXPECT_NE(answer.find("ImageWidth>150<"), std::string::npos) << answer;
        EXPECT_NE(answer.find("ImageHeight>75<"), std::string::npos) << answer;
        const std::string corrected = ask_raw(method, "/eSCL/ScanBufferInfo", wrong);
        EXPECT_NE(corrected.find("XResolution>300<"), std::string::npos) << corrected;
        EXPECT_NE(corrected.find("ImageWidth>600<"), std::string::npos) << corrected;
    }
    const std::string large = ask_raw("PUT", "/eSCL/ScanBufferInfo", std::string(70000, ' '));
    EXPECT_EQ(testing::status_of(large), 413);
}

} // namespace
} // namespace varn::testing
