// Documents as a whole: each folder here holds a device state and the document that it gives.
//
// `state` has one step a line: `file PATH TEXT`, `nvram OFFSET TEXT`, `nvram OFFSET =NUMBER`,
// `power SLEEP OFF`, `job UUID STATUS COMPLETED TO_TRANSFER`, `flatbed`, `engine WORD=NUMBER ...`,
// `put` (the file `request`), `event BIT URI`, `begin-job|update-job CATEGORY STATE SOURCE`,
// `host LINK UUID PIN NAME SHORTCUT...` (of the engine's walk-up list), `register` (the file
// `request` as walk-up destination), `subscription-pick SLOT DUPLEX TIMES` and `destination-pick
// SHORTCUT TYPE TIMES` (of the first such host), and last `get discovery|configuration|status|
// job-list|subscriptions|destinations|destination-event|usb-jobs`, `get
// subscription|subscription-event| destination UUID`, `get capabilities CONNECTION`, `get panel-job
// SLOT` or `get events STAMP CATEGORY` with - for a filter that is not asked for. With
// UPDATE_GOLDEN=1 in the environment the expected documents are written instead of compared.
#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "tests/support/engine_double.h"
#include "tests/support/waits.h"
#include "varn/varn.h"

#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;
using namespace varn::test;

namespace {

std::vector<std::string> cases() {
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(VARN_GOLDEN_DIR))
        if (exists(entry.path() / "state"))
            names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

std::string read_file(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What depends on the machine and on the build's settings.
std::string masked(const std::string &document) {
    return std::regex_replace(without_schema_hosts(document), std::regex("Memory>[0-9]+MB<"),
                              "Memory>*MB<");
}

class Golden : public DeviceTest, public testing::WithParamInterface<std::string> {
protected:
    Golden() {
        VARN_Init(7);
        engine.action = &action_;
        engine.flash = &tree;
        engine.pc_list.clear();
        waits.now = 1000000;
        VARN_Init_jdescQ();
        g_job_id = 0;
        g_queue_jobidx = -1;
    }
    ~Golden() override {
        engine.action = nullptr;
        engine.flash = nullptr;
    }

    void job(std::istringstream &line) {
        varn_scan_job_info info = {};
        std::string uuid;
        line >> uuid >> info.status >> info.imagesCompleted >> info.imagesToTransfer;
        strncpy(info.uuid, uuid.c_str(), sizeof info.uuid - 1);
        eSCL_FWSetScanJobInfo(&info);
    }

    void answer(std::istringstream &line) {
        std::map<std::string, uint32_t> words;
        for (std::string word; line >> word;)
            words[word.substr(0, word.find('='))] =
                static_cast<uint32_t>(std::stoul(word.substr(word.find('=') + 1), nullptr, 0));
        StatusRecord status;
        status.last_err = words["last_err"];
        status.activity = static_cast<uint16_t>(words["activity"]);
        status.sensors = static_cast<uint16_t>(words["sensors"]);
        status.takeover = static_cast<uint8_t>(words["takeover"]);
        status.power_down = static_cast<uint8_t>(words["power_down"]);
        action_.answer(status.bytes());
    }

    void nvram(std::istringstream &line) {
        size_t offset = 0;
        std::string value;
        line >> offset >> std::ws;
        std::getline(line, value);
        if (value.starts_with('='))
            table_.number(offset, std::stoul(value.substr(1)), offset == 76 ? 4 : 1);
        else
            table_.text(offset, value);
        tree.put("datafs/nvram.bin", table_.bytes);
        engine.nvram = table_.bytes;
    }

    static void host(std::istringstream &line) {
        varn_pc_record record = {};
        std::string uuid;
        std::string pin;
        std::string name;
        line >> record.dwLinkType >> uuid >> pin >> name;
        strcpy(record.szPCUUID, uuid.c_str());
        strcpy(record.szPCPIN, pin == "-" ? "" : pin.c_str());
        strcpy(record.szPCNameUTF8, name.c_str());
        for (std::string shortcut; line >> shortcut;)
            strcpy(record.szShortcut[record.dwShortcutNum++], shortcut.c_str());
        engine.pc_list.emplace_back(reinterpret_cast<const char *>(&record), sizeof record);
    }

    void pick(std::istringstream &line, bool subscription) {
        uint32_t shortcut = 0;
        int32_t duplex = 0;
        int32_t times = 0;
        line >> shortcut >> duplex >> times;
        varn_pc_record pc;
        memcpy(&pc, engine.pc_list.at(0).data(), sizeof pc);
        if (subscription)
            EXPECT_EQ(
                eSCL_SetWalkupScanDest_NetworkScan(&pc, 0, shortcut, duplex, pc.szPCUUID, times),
                0);
        else
            EXPECT_EQ(VARN_SetWalkupScanDest_NetworkScan(0, 0, static_cast<int32_t>(shortcut),
                                                         static_cast<uint32_t>(duplex), pc.szPCUUID,
                                                         times),
                      0);
    }

    int32_t get_walkup(const std::string &name, std::istringstream &line) {
        std::string uuid;
        line >> uuid;
        if (name == "subscriptions")
            return eSCL_GetWalkupSubscription(nullptr, &block_, &length_);
        if (name == "subscription")
            return eSCL_GetWalkupSubscription(uuid.c_str(), &block_, &length_);
        if (name == "subscription-event")
            return eSCL_GetWalkupScanEvent(uuid.c_str(), &block_, &length_) == 1 ? 0 : -1;
        if (name == "destination-event")
            return VARN_GetWalkupScanEvent(&block_, &length_);
        const std::string uri = "/WalkupScanToComp/WalkupScanToCompDestinations/" + uuid;
        return VARN_GetWalkupScanDestination(name == "destination" ? uri.c_str() : nullptr, &block_,
                                             &length_);
    }

    int32_t get(std::istringstream &line) {
        std::string name;
        int32_t connection = 0;
        line >> name;
        if (name == "events")
            return get_events(line);
        if (name.starts_with("subscription") || name.starts_with("destination"))
            return get_walkup(name, line);
        line >> connection;
        if (name == "discovery")
            return VARN_GetDiscoveryTree(&block_, &length_);
        if (name == "configuration")
            return VARN_GetProductConfigDyn(&block_, &length_);
        if (name == "job-list")
            return get_without_schema(VARN_GetJobList(&block_, &length_));
        if (name == "usb-jobs")
            return VARN_GetSendUSBServicePredefinedJobs(&block_, &length_);
        if (name == "panel-job")
            return get_without_schema(VARN_Get_SpecificJobXML(&block_, &length_, connection));
        if (name == "capabilities")
            return eSCL_GetScanCapa(&block_, &length_, connection);
        EXPECT_EQ(name, "status");
        return escl_get_scanner_status(action_.library_fd(), &block_, &length_);
    }

    int32_t get_events(std::istringstream &line) {
        std::string stamp;
        std::string category;
        line >> stamp >> category;
        varn_event_filter filter = {};
        if (stamp != "-") {
            filter.flags |= VARN_EVENT_FILTER_STAMP;
            memcpy(filter.stamp, stamp.data(), std::min(stamp.size(), sizeof filter.stamp));
        }
        if (category != "-") {
            filter.flags |= VARN_EVENT_FILTER_CATEGORY;
            memcpy(filter.category, category.data(),
                   std::min(category.size(), sizeof filter.category));
        }
        return VARN_GetEventTable(&filter, &block_, &length_, nullptr);
    }

    int32_t get_without_schema(int32_t result) {
        has_schema = false;
        return result;
    }

    void panel_job(std::istringstream &line, bool begins) {
        int32_t category = 0;
        int32_t state = 0;
        int32_t source = 0;
        line >> category >> state >> source;
        EXPECT_EQ((begins ? VARN_Set_Job : VARN_Update_Job)(category, state, source), 0);
    }

    void step(const std::string &text) {
        std::istringstream line(text);
        std::string verb;
        line >> verb >> std::ws;
        if (verb == "file") {
            std::string path;
            std::string content;
            line >> path >> std::ws;
            std::getline(line, content);
            tree.put(path, content);
        } else if (verb == "nvram") {
            nvram(line);
        } else if (verb == "power") {
            uint32_t sleep = 0;
            uint32_t off = 0;
            line >> sleep >> off;
            tree.put_power(sleep, off);
        } else if (verb == "job") {
            job(line);
        } else if (verb == "event") {
            int32_t bit = 0;
            std::string uri;
            line >> bit >> uri;
            EXPECT_EQ(VARN_SetEventTable(bit, uri.c_str()), 0);
        } else if (verb == "begin-job" || verb == "update-job") {
            panel_job(line, verb == "begin-job");
        } else if (verb == "flatbed") {
            FBorADF = 1;
        } else if (verb == "engine") {
            answer(line);
        } else if (verb == "put") {
            std::string request = with_schema_hosts(read_file(folder / "request"));
            EXPECT_EQ(VARN_PutProductConfigDyn(7, request.data()), 0);
        } else if (verb == "host") {
            host(line);
        } else if (verb == "register") {
            char *uuid = nullptr;
            const std::string request = with_schema_hosts(read_file(folder / "request"));
            EXPECT_EQ(VARN_CreateWalkupScanDestination(request.c_str(), &uuid, 1), 0);
        } else if (verb == "subscription-pick" || verb == "destination-pick") {
            pick(line, verb == "subscription-pick");
        } else {
            EXPECT_EQ(verb, "get");
            EXPECT_EQ(get(line), 0);
        }
    }

    std::string document() {
        std::ifstream state(folder / "state");
        for (std::string line; std::getline(state, line);)
            if (!line.empty())
                step(line);
        std::string text(block_ != nullptr ? block_ : "", length_);
        free(block_);
        return text;
    }

    bool has_schema = true; ///< of the document; the job list is not the binding's
    const fs::path folder = fs::path(VARN_GOLDEN_DIR) / GetParam();

private:
    EngineEnd action_;
    NvramBytes table_;
    char *block_ = nullptr;
    uint32_t length_ = 0;
};

TEST_P(Golden, document) {
    const std::string got = document();
    if (has_schema) {
        EXPECT_EQ(schema_fault(got), "");
    }
    const fs::path expected = folder / "expected.xml";
    if (const char *update = getenv("UPDATE_GOLDEN"); update != nullptr && *update == '1')
        std::ofstream(expected, std::ios::binary) << masked(got);
    EXPECT_EQ(masked(got), read_file(expected));
}

TEST(GoldenCases, are_found) { EXPECT_GE(cases().size(), 12U); }

INSTANTIATE_TEST_SUITE_P(Case, Golden, testing::ValuesIn(cases()), [](const auto &info) {
    return std::regex_replace(info.param, std::regex("[^a-zA-Z0-9]"), "_");
});

} // namespace
