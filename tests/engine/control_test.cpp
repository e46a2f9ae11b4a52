/// varnctl against a running engine.
#include "tests/engine/engine_fixture.h"

#include "platform/mvtc.h"

#include <csignal>
#include <fstream>

namespace varn::test {
namespace {

using Words = std::vector<std::string>;
using ControlTest = EngineTest;

TEST_F(ControlTest, what_the_person_does_shows_in_the_state) {
    const std::string red = paint("red.png", 100, 100, 0xFF0000);
    const std::string plus = paint("a+b.png", 100, 100, 0x00FF00);
    struct Case {
        Words words;
        const char *pointer;
        nlohmann::json expected;
    };
    const Case cases[] = {
        {{"feeder", "load", "4"}, "/feeder/3/front", "chart"},
        {{"feeder", "load", red, plus}, "/feeder/5/front", "a+b.png"},
        {{"feeder", "load", red + "+text"}, "/feeder/6/back", "text"},
        {{"feeder", "load", "ramp", "blank"}, "/feeder/8/number", 9},
        {{"feeder", "empty"}, "/feeder", nlohmann::json::array()},
        {{"feeder", "load", "blank"}, "/feeder/0/number", 1},
        {{"glass", "put", red}, "/glass", "red.png"},
        {{"glass", "put", "chart"}, "/glass", "chart"},
        {{"glass", "clear"}, "/glass", nullptr},
        {{"hatch", "open"}, "/hatch", "open"},
        {{"hatch", "close"}, "/hatch", "closed"},
        {{"tray", "close"}, "/tray", "closed"},
        {{"tray", "open"}, "/tray", "open"},
        {{"fault", "jam", "2"}, "/faults", {{{"kind", "jam"}, {"sheet", 2}, {"at", "middle"}}}},
        {{"fault", "mispick"}, "/faults/1/at", "start"},
        {{"fault", "tooshort", "3", "end"}, "/faults/2/at", "end"},
        {{"fault", "clear"}, "/faults", nlohmann::json::array()},
        {{"feeder", "load", "long:12", "text*2"}, "/feeder/1/front", "long:12"},
        {{"feeder", "list"}, "/feeder/2/double", true},
        {{"feeder", "list"}, "/feeder/1/double", false},
        {{"fault", "refuse"}, "/faults/0/kind", "refuse"},
        {{"panel", "takeover"}, "/takeover", true},
        {{"panel", "release"}, "/takeover", false},
        {{"power", "down"}, "/power", "down"},
        {{"power", "up"}, "/power", "up"},
        {{"slow", "strip", "7"}, "/pace", {{"msPerStrip", 7}, {"msPerBlock", 0}}},
        {{"slow", "block", "9"}, "/pace", {{"msPerStrip", 0}, {"msPerBlock", 9}}},
        {{"slow", "off"}, "/pace", {{"msPerStrip", 0}, {"msPerBlock", 0}}},
        {{"wear", "clean", "3"}, "/wear/clean", {{"interval", 3}, {"pages", 0}}},
        {{"wear", "rollers", "70000"}, "/wear/rollers", {{"interval", 70000}, {"pages", 0}}},
        {{"wear", "pad", "5"}, "/wear/pad/interval", 5},
        {{"wear", "off"}, "/wear/rollers/interval", 100000},
        {{"sharepoint", "no-folder"}, "/sharePoint/nextTest", "no-folder"},
        {{"sharepoint", "success", "0"}, "/sharePoint/msPerTest", 0},
        {{"time", "unreachable"}, "/time/server", "unreachable"},
        {{"time", "reachable"}, "/time/server", "reachable"},
        {{"usb", "in"}, "/usb", "in"},
        {{"usb", "out"}, "/usb", "out"},
        {{"net", "carrier", "wlan0", "up"}, "/carriers/wlan0", "up"},
        {{"net", "carrier", "eth0", "down"}, "/carriers/eth0", "down"},
        {{"net", "carrier", "eth0", "up"}, "/carriers/eth0", "up"},
    };
    for (const Case &step : cases) {
        ctl(step.words);
        const nlohmann::json now = state();
        const nlohmann::json::json_pointer pointer(step.pointer);
        EXPECT_EQ(now.contains(pointer) ? now.at(pointer) : "nothing", step.expected)
            << testing::PrintToString(step.words);
    }
}

TEST_F(ControlTest, stored_jobs_show_without_their_pins) {
    wire::StoredJob job;
    std::string_view("<i>Job").copy(job.szJobName, 20);
    std::string_view("8642").copy(job.szPIN, 5);
    std::string_view("uuid").copy(job.szJobUUID, 5);
    job.dwSetTime = 77;
    job.byFlatbed = 1;
    const Link link(root());
    ASSERT_EQ(mvtc_write_H1_RJList(link, &job, 1), 0);
    const nlohmann::json shown = {{"name", "<i>Job"},
                                  {"uuid", "uuid"},
                                  {"hasPin", true},
                                  {"setTime", 77},
                                  {"source", "glass"}};
    EXPECT_EQ(state().at("storedJobs"), nlohmann::json::array({shown}));
    EXPECT_EQ(state().at("startedJob"), nullptr);
    ctl({"stored", "start", "uuid"});
    EXPECT_EQ(state().at("startedJob"), "uuid");
    ctl({"stored", "clear"});
    EXPECT_EQ(state().at("startedJob"), nullptr);
    EXPECT_EQ(ctl({"stored", "list"}), "uuid  <i>Job\n");
}

TEST_F(ControlTest, refusals_say_why_and_change_nothing) {
    const std::string red = paint("red.png", 100, 100, 0xFF0000);
    std::ofstream(root() + "/notes.txt") << "no picture";
    const std::string cut = paint("cut.png", 900, 900, 0x123456);
    std::filesystem::resize_file(cut, std::filesystem::file_size(cut) - 40);
    struct Case {
        Words words;
        int status;
        const char *says;
    };
    const Case cases[] = {
        {{}, 2, "nothing to do"},
        {{"feeder"}, 2, "feeder"},
        {{"feeder", "fold"}, 2, "feeder fold"},
        {{"feeder", "load"}, 2, "a number or sheets"},
        {{"hatch", "open", "wide"}, 2, "arguments"},
        {{"feeder", "load", "0"}, 1, "1 to 500"},
        {{"feeder", "load", "501"}, 1, "1 to 500"},
        {{"feeder", "load", "499"}, 1, "at most 500"},
        {{"feeder", "load", "/nonexistent.png"}, 1, "No such file"},
        {{"feeder", "load", red, root() + "/notes.txt"}, 1, "neither a PNG nor a JPEG"},
        {{"feeder", "load", red, cut}, 1, "damaged"},
        {{"glass", "put", root()}, 1, "not a file"},
        {{"fault", "fire"}, 1, "no such fault: fire"},
        {{"fault", "jam", "0"}, 1, "from 1"},
        {{"fault", "jam", "2", "later"}, 1, "start, middle or end"},
        {{"fault", "jam", "now"}, 1, "no scan is running"},
        {{"fault", "drop", "now"}, 1, "no scan is running"},
        {{"fault", "refuse", "now"}, 1, "next time"},
        {{"feeder", "load", "long"}, 1, "No such file"},
        {{"feeder", "load", "long:0"}, 1, "No such file"},
        {{"feeder", "load", "long:212"}, 1, "No such file"},
        {{"feeder", "load", "chart*3"}, 1, "No such file"},
        {{"net", "carrier", "eth1", "up"}, 1, "eth0, wlan0 and wlan1"},
        {{"net", "carrier", "../eth0", "up"}, 1, "eth0, wlan0 and wlan1"},
        {{"net", "carrier", "eth0", "loose"}, 2, "up or down"},
        {{"usb", "halfway"}, 2, "usb halfway"},
        {{"wear", "belt", "3"}, 1, "no such part: belt"},
        {{"wear", "pad", "0"}, 1, "1 to 65535"},
        {{"wear", "clean", "65536"}, 1, "1 to 65535"},
        {{"wear", "clean", "soon"}, 2, "count of pages"},
        {{"wear", "pad", "now"}, 1, "with the rollers"},
        {{"fault", "slowpick", "now"}, 1, "when it is picked"},
        {{"sharepoint", "fire"}, 1, "wrong-credentials"},
        {{"sharepoint", "success", "600001"}, 1, "at most 600000"},
        {{"slow", "strip", "-1"}, 2, "milliseconds"},
        {{"slow", "strip", "60001"}, 1, "at most 60000"},
        {{"stored", "start"}, 2, "arguments"},
        {{"stored", "start", ""}, 1, "no such stored job"},
        {{"stored", "start", "nobody"}, 1, "no such stored job: nobody"},
    };
    ctl({"feeder", "load", "2"});
    const nlohmann::json before = state();
    for (const Case &wrong : cases) {
        const Finished finished = run_ctl(root(), wrong.words);
        EXPECT_EQ(finished.status, wrong.status) << testing::PrintToString(wrong.words);
        EXPECT_NE(finished.output.find(wrong.says), std::string::npos) << finished.output;
    }
    EXPECT_EQ(state(), before);
    for (const char *dir : {"/var/varn/incoming", "/var/varn/sheets"})
        EXPECT_TRUE(std::filesystem::is_empty(root() + dir)) << dir;
}

TEST_F(ControlTest, requests_that_varnctl_would_not_send_are_refused) {
    const Words requests = {
        "",
        "[]",
        "{}",
        R"({"do": 5})",
        R"({"do": "feeder load"})",
        R"({"do": "feeder load", "sheets": [{"front": {"file": "../../datafs/nvram.bin"}}]})",
        R"({"do": "feeder load", "sheets": [{"front": {"file": "absent"}}]})",
        R"({"do": "fault add", "kind": "jam", "sheet": "x"})",
        std::string(5000, '['),
    };
    const wire::Descriptor fd = wire::connect_local(root(), "/run/varn/control.sock");
    for (const std::string &request : requests) {
        const std::string line = request + "\n";
        wire::send_all(fd.get(), line.data(), line.size(), wire::now_ms() + 1000);
        std::string answer;
        char byte = 0;
        while (byte != '\n' &&
               wire::receive_all(fd.get(), &byte, 1, wire::now_ms() + 5000) == wire::Transfer::done)
            answer.push_back(byte);
        EXPECT_EQ(answer.rfind("{\"error\":", 0), 0U) << request << answer;
    }
}

TEST_F(ControlTest, the_paper_survives_a_restart) {
    const std::string red = paint("red.png", 100, 100, 0xFF0000);
    ctl({"feeder", "load", red, "text"});
    ctl({"glass", "put", red});
    ctl({"hatch", "open"});
    ctl({"fault", "jam", "3"});
    const nlohmann::json before = state();
    EXPECT_EQ(engine.end(SIGTERM), 0);
    std::ofstream(root() + "/var/varn/sheets/999") << "left by a sheet that was moving";
    const EngineProcess again(root());
    EXPECT_EQ(state(), before);
    EXPECT_FALSE(std::filesystem::exists(root() + "/var/varn/sheets/999"));
}

TEST_F(ControlTest, a_damaged_state_file_starts_with_an_empty_feeder) {
    ctl({"feeder", "load", "2"});
    EXPECT_EQ(engine.end(SIGTERM), 0);
    for (const char *text : {"", "{", "{\"feeder\": 3}", "[1, 2]"}) {
        std::ofstream(root() + "/var/varn/paper.json") << text;
        const EngineProcess again(root());
        EXPECT_EQ(state().at("feeder").size(), 0U) << text;
    }
}

} // namespace
} // namespace varn::test
