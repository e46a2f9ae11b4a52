/// The example of a walk-up host, from its registration to its saved pages.

#include "device/client/http_client.h"
#include "device/web/device.h"
#include "device/web/device_tree.h"
#include "device/web/engine_process.h"
#include "device/web/server.h"
#include "platform/mvtc.h"
#include "tests/web/support/scanner_process.h"
#include "varn/varn.h"

#include <csignal>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace varn::testing {
namespace {

/// A scanner in this process, which is so the hand at its panel.
class LocalScanner {
public:
    LocalScanner()
        : tree_(root_.path(), web::startup_content()),
          engine_(tree_.root(), web::program_directory() / "varn-engine") {
        std::signal(SIGPIPE, SIG_IGN);
        VARN_SetRoot(tree_.root().c_str());
        VARN_Init(static_cast<std::uint32_t>(engine_.link()));
        device_.emplace(tree_.root(), engine_.link());
        EXPECT_TRUE(engine_.start([this] { device_->jobs().engine_lost(); }));
        web::ServerOptions options;
        options.port = 0;
        server_.emplace(*device_, options);
    }
    ~LocalScanner() {
        device_->jobs().shut_down();
        device_->usb_channel().shut_down();
        server_->stop();
        engine_.stop();
        VARN_SetRoot(nullptr);
    }
    LocalScanner(const LocalScanner &) = delete;
    LocalScanner &operator=(const LocalScanner &) = delete;

    std::string url(web::Interface interface = web::Interface::eth0) const {
        return "http://127.0.0.1:" + std::to_string(server_->port(interface));
    }
    void ctl(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {VARNCTL_PROGRAM, "--root", tree_.root()});
        const ProgramResult result = run_program(arguments);
        EXPECT_EQ(result.status, 0) << result.output;
    }

private:
    TemporaryDirectory root_;
    web::DeviceTree tree_;
    web::EngineProcess engine_;
    std::optional<web::Device> device_;
    std::optional<web::Server> server_;
};

class WalkupHost : public ::testing::Test {
protected:
    std::vector<std::string> command(const std::string &url,
                                     const std::vector<std::string> &more = {}) const {
        std::vector<std::string> words = {PYTHON_PROGRAM, WALKUP_HOST,    url,  "--name",
                                          "Desk <1>",     "--resolution", "75", "--interval",
                                          "0.02",         "--out",        out()};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    std::string out() const { return directory_.path() / "pages"; }
    std::string begin_of(const std::string &name) const {
        std::ifstream file(fs::path(out()) / name, std::ios::binary);
        std::string begin(4, '\0');
        file.read(begin.data(), 4);
        return begin;
    }
    std::string get(const std::string &path) {
        return client::HttpClient().get(scanner_.url() + path).body;
    }
    /// UUID of the host, once it waits.
    static std::string uuid_of(Program &host, const std::string &path) {
        const std::string line = host.read_line().value_or("");
        const std::string begin = "waiting as Desk <1>: " + path;
        EXPECT_TRUE(line.starts_with(begin)) << line;
        return line.size() > begin.size() ? line.substr(begin.size()) : "";
    }
    static void expect_lines(Program &host, const std::vector<std::string> &lines) {
        for (const std::string &line : lines)
            EXPECT_EQ(host.read_line().value_or("nothing"), line);
    }

    LocalScanner scanner_;
    TemporaryDirectory directory_;
};

const std::string subscriptions = "/eSCL/WalkupSubscriptions/";
const std::string destinations = "/WalkupScanToComp/WalkupScanToCompDestinations/";

void pick_subscription(const std::string &uuid, std::uint32_t slot, int times) {
    varn_pc_record record = {};
    strcpy(record.szPCNameUTF8, "Desk <1>");
    strcpy(record.szShortcut[1], "Receipts as pdf");
    record.dwLinkType = 1;
    EXPECT_EQ(eSCL_SetWalkupScanDest_NetworkScan(&record, 0, slot, 1, uuid.c_str(), times), 0);
}

TEST_F(WalkupHost, ScansWhatThePanelAskedForOverTheNetwork) {
    scanner_.ctl({"feeder", "load", "2"});
    Program host(
        command(scanner_.url(), {"--shortcut", "Photos", "--shortcut", "Receipts as pdf"}));
    const std::string uuid = uuid_of(host, subscriptions);
    EXPECT_NE(get(subscriptions + uuid).find(">Receipts as pdf<"), std::string::npos);
    pick_subscription(uuid, 0, 0);
    expect_lines(host, {"ScanRequested - duplex", "saved " + out() + "/page-001.jpg",
                        "saved " + out() + "/page-002.jpg", "saved " + out() + "/page-003.jpg",
                        "saved " + out() + "/page-004.jpg", "done, 4 documents"});
    EXPECT_EQ(begin_of("page-004.jpg").substr(0, 2), "\xFF\xD8");
    pick_subscription(uuid, 0, 32767);
    expect_lines(host, {"ScanPagesComplete - duplex"});
    pick_subscription(uuid, 1, 0);
    expect_lines(host, {"ScanRequested Receipts as pdf duplex", "saved " + out() + "/page-001.pdf",
                        "done, 1 documents"});
    EXPECT_EQ(begin_of("page-001.pdf"), "%PDF");
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(), 0);
    EXPECT_EQ(get(subscriptions + uuid).find("Receipts"), std::string::npos);
}

TEST_F(WalkupHost, WaitsForTheInterruptOverUsb) {
    scanner_.ctl({"usb", "in"});
    scanner_.ctl({"feeder", "load", "1"});
    Program host(command(scanner_.url(web::Interface::usb), {"--usb", "--once"}));
    const std::string uuid = uuid_of(host, destinations);
    EXPECT_EQ(VARN_SetWalkupScanDest(0, 0, 2, 0, uuid.c_str()), 0);
    expect_lines(host, {"ScanRequested SaveJPEG simplex", "saved " + out() + "/page-001.jpg",
                        "done, 1 documents"});
    EXPECT_EQ(host.wait(), 0);
    EXPECT_EQ(get("/WalkupScanToComp/WalkupScanToCompDestinations").find(uuid), std::string::npos);
}

TEST_F(WalkupHost, SaysWhyItCannotWait) {
    const ProgramResult unplugged =
        run_program(command(scanner_.url(web::Interface::usb), {"--usb"}));
    EXPECT_EQ(unplugged.status, 1);
    EXPECT_NE(unplugged.output.find("walkup_host: "), std::string::npos) << unplugged.output;
    for (int i = 0; i < 10; ++i) {
        varn_pc_record record = {};
        snprintf(record.szPCUUID, sizeof record.szPCUUID, "0000000%d-0000-0000-0000-000000000000",
                 i);
        record.dwLinkType = 1;
        ASSERT_EQ(mvtc_write_H1_PCList(static_cast<std::uint32_t>(varn_mvt_fd), &record, 1), 0);
    }
    const ProgramResult full = run_program(command(scanner_.url()));
    EXPECT_EQ(full.status, 1);
    EXPECT_NE(full.output.find("HTTP status 409"), std::string::npos) << full.output;
}

} // namespace
} // namespace varn::testing
