/// Starting and ending varnd, its device tree and its engine.

#include "tests/web/support/raw_http.h"
#include "tests/web/support/scanner_process.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

namespace varn::testing {
namespace {

namespace fs = std::filesystem;

std::string read_text(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool is_running(pid_t pid) { return pid > 0 && kill(pid, 0) == 0; }

int get_status(const ScannerProcess &scanner, const std::string &path) {
    RawConnection connection(scanner.port());
    connection.send("GET " + path + " HTTP/1.1\r\nHost: h\r\n\r\n");
    return status_of(connection.receive());
}

TEST(ServerLife, StartsWithItsEngineAndTakesItAlong) {
    ScannerProcess scanner;
    ASSERT_TRUE(scanner.ready()) << scanner.output_rest();
    const pid_t engine = scanner.engine_pid();
    EXPECT_TRUE(is_running(engine));
    EXPECT_EQ(get_status(scanner, "/eSCL/ScannerStatus"), 200);
    EXPECT_EQ(scanner.stop(), 0);
    EXPECT_FALSE(is_running(engine));
    EXPECT_EQ(scanner.output_rest(), "") << "the library's log belongs into the file";
    EXPECT_GT(fs::file_size(scanner.root() / "var/log/varn.log"), 0U);
}

TEST(ServerLife, TheEngineNeverOutlivesTheServer) {
    ScannerProcess scanner;
    ASSERT_TRUE(scanner.ready()) << scanner.output_rest();
    const pid_t engine = scanner.engine_pid();
    scanner.signal(SIGKILL);
    EXPECT_TRUE(eventually([&] {
        // An orphan may stay as a zombie until the machine's first process looks after it.
        const std::string stat = read_text("/proc/" + std::to_string(engine) + "/stat");
        return stat.empty() || stat.find(") Z ") != std::string::npos;
    }));
    scanner.start();
    ASSERT_TRUE(scanner.ready()) << "on the tree that was left behind: " << scanner.output_rest();
    EXPECT_EQ(get_status(scanner, "/eSCL/ScannerStatus"), 200);
}

TEST(ServerLife, AnEngineThatDiesIsStartedAgain) {
    ScannerProcess scanner;
    ASSERT_TRUE(scanner.ready()) << scanner.output_rest();
    for (int i = 0; i < 2; ++i) {
        const pid_t engine = scanner.engine_pid();
        ASSERT_GT(engine, 0);
        kill(engine, i == 0 ? SIGKILL : SIGTERM);
        EXPECT_TRUE(eventually([&] {
            const pid_t next = scanner.engine_pid();
            return next > 0 && next != engine && get_status(scanner, "/eSCL/ScannerStatus") == 200;
        })) << i;
    }
    EXPECT_EQ(scanner.stop(), 0);
}

TEST(ServerLife, RefusesWhatItCannotServe) {
    ScannerProcess scanner({"--no-engine"});
    ASSERT_TRUE(scanner.ready()) << scanner.output_rest();
    const TemporaryDirectory other;
    const TemporaryDirectory foreign;
    std::ofstream(foreign.path() / "letter.txt") << "dear";
    const struct {
        const char *name;
        std::vector<std::string> arguments;
        const char *message;
        int status;
    } rows[] = {
        {"same tree", {"--root", scanner.root(), "--port", "0"}, "another varnd serves", 1},
        {"busy port",
         {"--root", other.path(), "--no-engine", "--port", std::to_string(scanner.port())},
         "Address already in use",
         1},
        {"no tree", {"--root", foreign.path(), "--port", "0"}, "holds no device tree", 1},
        {"root of the machine", {"--root", "/", "--port", "0"}, "cannot be a device tree", 1},
        {"no engine",
         {"--root", other.path(), "--port", "0", "--engine", "/bin/false"},
         "does not come up",
         1},
        {"port", {"--port", "70000"}, "not a value for --port", 2},
        {"address", {"--address", "1.2.3.4:5"}, "not a value for --address", 2},
        {"option", {"--shiny"}, "usage:", 2},
        {"argument", {"shiny"}, "unexpected", 2},
    };
    for (const auto &row : rows) {
        std::vector<std::string> command = {VARND_PROGRAM};
        command.insert(command.end(), row.arguments.begin(), row.arguments.end());
        const ProgramResult result = run_program(command);
        EXPECT_EQ(result.status, row.status) << row.name;
        EXPECT_NE(result.output.find(row.message), std::string::npos)
            << row.name << ": " << result.output;
    }
    EXPECT_TRUE(fs::exists(foreign.path() / "letter.txt"));
    EXPECT_EQ(get_status(scanner, "/DevMgmt/DiscoveryTree.xml"), 200);
}

TEST(ServerLife, AStartPutsBackWhatIsVolatileAndKeepsTheRest) {
    ScannerProcess scanner({"--no-engine"});
    ASSERT_TRUE(scanner.ready()) << scanner.output_rest();
    ASSERT_EQ(get_status(scanner, "/eSCL/ScannerCapabilities"), 200);
    const fs::path root = scanner.root();
    const std::string edited = read_text(root / "web/eSCL/ScannerCapabilities");
    std::ofstream(root / "tmp/escl_cap_OK") << "";
    std::ofstream(root / "tmp/xml_tickets/DevMgmt/ProductConfigCap_RTC.xml") << "spoilt";
    std::ofstream(root / "datafs/mine") << "kept";
    std::ofstream(root / "etc/user.txt") << "admin";
    EXPECT_EQ(scanner.stop(), 0);

    scanner.start();
    ASSERT_TRUE(scanner.ready()) << scanner.output_rest();
    EXPECT_FALSE(fs::exists(root / "tmp/escl_cap_OK"));
    EXPECT_NE(read_text(root / "tmp/xml_tickets/DevMgmt/ProductConfigCap_RTC.xml"), "spoilt");
    EXPECT_EQ(read_text(root / "datafs/mine"), "kept");
    EXPECT_EQ(read_text(root / "etc/user.txt"), "admin");
    // The library edits the file in place and once per process: without the template it would
    // grow at every start.
    ASSERT_EQ(get_status(scanner, "/eSCL/ScannerCapabilities"), 200);
    EXPECT_EQ(read_text(root / "web/eSCL/ScannerCapabilities"), edited);
}

TEST(ServerLife, ANewTreeIsItsOwnersAlone) {
    const TemporaryDirectory place;
    const fs::path root = place.path() / "above/tree";
    EXPECT_EQ(run_program({VARND_PROGRAM, "--root", root.string() + "/", "--port", "0", "--engine",
                           "/bin/false"})
                  .status,
              1);
    ASSERT_TRUE(fs::exists(root / "web"));
    EXPECT_EQ(fs::status(root).permissions(), fs::perms::owner_all);
    EXPECT_NE(fs::status(root.parent_path()).permissions(), fs::perms::owner_all);
}

TEST(ServerLife, TheMapIsPrintedForTheDocumentation) {
    const ProgramResult result = run_program({VARND_PROGRAM, "--resources"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("| `/eSCL/ScanJobs/{uuid}/NextDocument` | GET |"),
              std::string::npos);
    std::ifstream written(RESOURCES_DOCUMENT);
    EXPECT_EQ(result.output, std::string(std::istreambuf_iterator<char>(written), {}))
        << "write it again: ./dev docs";
}

} // namespace
} // namespace varn::testing
