/// The client program as a person uses it.

#include "tests/e2e/e2e_fixture.h"

#include <fstream>

namespace varn::testing {
namespace {

namespace fs = std::filesystem;

class ScanClient : public ScannerTest {
protected:
    ProgramResult run(std::vector<std::string> arguments) {
        std::vector<std::string> command = {SCAN_PROGRAM, "--url", scanner_.url(), "--out",
                                            out_.path() / "pictures"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return run_program(command);
    }
    Picture picture(const std::string &name) {
        std::ifstream file(out_.path() / "pictures" / name, std::ios::binary);
        return decode_jpeg({std::istreambuf_iterator<char>(file), {}});
    }

    TemporaryDirectory out_;
};

TEST_F(ScanClient, SavesEveryPageAndTellsTheStatesOfTheJob) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "3"}));
    const ProgramResult result = run({"--resolution", "150", "--mode", "gray"});
    EXPECT_EQ(result.status, 0) << result.output;
    for (const char *name : {"page-001.jpg", "page-002.jpg", "page-003.jpg"}) {
        EXPECT_EQ(picture(name).width, 1275U) << name;
        EXPECT_EQ(picture(name).height, 1755U) << name;
        EXPECT_NE(result.output.find(name), std::string::npos);
    }
    EXPECT_FALSE(fs::exists(out_.path() / "pictures/page-004.jpg"));
    EXPECT_NE(result.output.find("job Completed (JobCompletedSuccessfully)"), std::string::npos)
        << result.output;
}

TEST_F(ScanClient, TakesSettingsFromAFile) {
    const ProgramResult printed = run({"--source", "flatbed", "--resolution", "75", "--window",
                                       "0,0,600,300", "--print-settings"});
    ASSERT_EQ(printed.status, 0);
    const std::string file = out_.path() / "settings.xml";
    std::ofstream(file) << printed.output;
    const ProgramResult result = run({"--settings", file});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(picture("page-001.jpg").width, 150U);
    EXPECT_EQ(picture("page-001.jpg").height, 75U);
}

TEST_F(ScanClient, SaysWhatTheDeviceAnswered) {
    const struct {
        std::vector<std::string> arguments;
        int status;
        const char *message;
    } rows[] = {
        {{}, 1, "409 Conflict"},
        {{"--source", "flatbed", "--resolution", "123"}, 1, "409 Conflict"},
        {{"--url", "http://127.0.0.1:1"}, 1, "Failed to connect"},
        {{"--source", "sky"}, 2, "no such source: sky"},
        {{"--window", "1,2,3"}, 2, "not a window"},
        {{"--settings", "/nowhere"}, 2, "cannot read /nowhere"},
    };
    for (const auto &row : rows) {
        const ProgramResult result = run(row.arguments);
        EXPECT_EQ(result.status, row.status) << row.message;
        EXPECT_NE(result.output.find(row.message), std::string::npos) << result.output;
    }
}

TEST_F(ScanClient, AJamLeavesTheWholePagesAndNoOther) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "3"}));
    ASSERT_TRUE(scanner_.ctl({"fault", "jam", "2", "start"}));
    const ProgramResult result = run({"--resolution", "75"});
    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_NE(result.output.find("410 Gone"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("job Aborted"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("ScannerAdfJam"), std::string::npos) << result.output;
    int files = 0;
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator(out_.path() / "pictures"))
        ++files;
    EXPECT_EQ(files, 1);
}

} // namespace
} // namespace varn::testing
