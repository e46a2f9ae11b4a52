// Maintenance alerts, usage counters, and the service document that moves them on.
#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "tests/support/engine_double.h"
#include "varn/frame.h"
#include "varn/product_status.h"

#include <cstring>

using namespace varn::test;

namespace {

uint32_t walkup_pages = 0; ///< word 6 of the engine's counters block
int32_t counters_result = 0;

} // namespace

extern "C" int32_t mvtc_read_H1_Bigdata(uint32_t, void *block) {
    memset(block, 0x77, 64);
    memcpy(static_cast<char *>(block) + 24, &walkup_pages, sizeof walkup_pages);
    return counters_result;
}

namespace {

using Strings = std::vector<std::string>;

std::string got(int32_t (*get)(char **, uint32_t *)) {
    char *text = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(get(&text, &length), 0);
    std::string document(text != nullptr ? text : "", length);
    free(text);
    return document;
}

constexpr size_t scan_count = 0, flatbed_count = 8, multipicks = 54, mispicks = 56, slow_picks = 58,
                 roller_interval = 60, clean_mark = 64, roller_mark = 68, jams = 80, pad_count = 82,
                 roller_count = 84, clean_interval = 162, pad_interval = 164, clean_count = 166,
                 pad_mark = 168;

class Maintenance : public DeviceTest {
protected:
    Maintenance() {
        for (uint32_t *word : {&g_cleanroller_seq_num, &g_replaceroller_seq_num,
                               &g_replacepad_seq_num, &ModificationNumber, &AlertEvtCnt})
            *word = 0;
        for (int32_t *flag :
             {&ap_record_clean_roller, &ap_record_replace_roller, &ap_record_replace_pad})
            *flag = 0;
        walkup_pages = 0;
        counters_result = 0;
        // Nothing is due: 100 sheets of 1000, 2000 and 3000.
        nvram.number(scan_count, 100, 4).number(clean_interval, 1000, 2);
        nvram.number(roller_interval, 2000, 4).number(pad_interval, 3000, 2);
        put();
    }
    void put() { tree.put("datafs/nvram.bin", nvram.bytes); }
    void set(size_t offset, uint64_t value, size_t width) {
        nvram.number(offset, value, width);
        put();
    }
    /// The alerts of a GET as "number sequence sequence ...", and their names.
    Strings status() {
        document = got(VARN_GetProductStatDyn);
        EXPECT_EQ(schema_fault(document), "");
        Strings row = texts(document, "dd:ModificationNumber");
        const Strings numbers = texts(document, "dd:SequenceNumber");
        row.insert(row.end(), numbers.begin(), numbers.end());
        return row;
    }

    NvramBytes nvram;
    std::string document;
};

std::string status_request(const std::string &children) {
    return with_schema_hosts(
        "<?xml version=\"1.0\"?><psdyn:ProductStatusDyn"
        " xmlns:psdyn=\"http://schemas.varn.example/schemas/imaging/con/varn/"
        "productstatusdyn/2007/10/31\""
        " xmlns:ad=\"http://schemas.varn.example/schemas/imaging/con/varn/alertdetails/2007/10/31\""
        " xmlns:dd=\"http://schemas.varn.example/schemas/imaging/con/dictionaries/1.0/\">" +
        children + "</psdyn:ProductStatusDyn>");
}

const std::string version =
    "<dd:Version><dd:Revision>r</dd:Revision><dd:Date>2014-05-07</dd:Date></dd:Version>";

std::string alert(const std::string &need, const std::string &action) {
    return "<psdyn:Alert><ad:ProductStatusAlertID>scannerMaintenance" + need +
           "Needed</ad:ProductStatusAlertID><dd:SequenceNumber>1</dd:SequenceNumber>"
           "<ad:AlertDetails>" +
           (action.empty()
                ? ""
                : "<ad:AlertDetailsUserAction>" + action + "</ad:AlertDetailsUserAction>") +
           "</ad:AlertDetails></psdyn:Alert>";
}

std::string alerts(const std::string &rows) {
    return status_request(version +
                          "<psdyn:AlertTable><dd:ModificationNumber>1</dd:ModificationNumber>" +
                          rows + "</psdyn:AlertTable>");
}

const std::string clean = alert("CleanRollers", "pressOK");
const std::string rollers = alert("ReplaceRollers", "pressOK");
const std::string pad = alert("ReplacePad", "pressOK");

TEST_F(Maintenance, alerts_rise_by_their_counters) {
    const struct {
        size_t offset;
        uint64_t value;
        size_t width;
        const char *raised; ///< what the document names, "" for nothing
    } rows[] = {
        {scan_count, 999, 4, ""},
        {scan_count, 1000, 4, "scannerMaintenanceCleanRollersNeeded"},
        {clean_mark, 101, 4, ""}, // ahead of the count
        {clean_mark, 0xFFFFFFFF, 4, ""},
        {roller_interval, 100, 4, "scannerMaintenanceReplaceRollersNeeded"},
        {roller_mark, 0xFFFFF000, 4, "scannerMaintenanceReplaceRollersNeeded"},     // 4196 ago
        {roller_interval, 0xFFFFFFFF, 4, "scannerMaintenanceReplaceRollersNeeded"}, // -1
        {pad_interval, 100, 2, "scannerMaintenanceReplacePadNeeded"},
        {pad_mark, 0xFFFFF000, 4, "scannerMaintenanceReplacePadNeeded"},
        {pad_interval, 0xFFFF, 2, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.offset << ' ' << row.value);
        const NvramBytes calm = nvram;
        set(row.offset, row.value, row.width);
        status();
        const Strings names = texts(document, "ad:ProductStatusAlertID");
        EXPECT_EQ(names, *row.raised != '\0' ? Strings{row.raised} : Strings{});
        nvram = calm;
        put();
        EXPECT_EQ(status().size(), 1U);
    }
    tree.remove("datafs/nvram.bin");
    EXPECT_EQ(status().size(), 1U) << "no table calls for nothing";
}

TEST_F(Maintenance, each_rise_and_fall_takes_a_number) {
    EXPECT_EQ(status(), (Strings{"0"}));
    tree.put("tmp/replacer", ""); // rollers and pad
    EXPECT_EQ(status(), (Strings{"2", "1", "2"}));
    const std::string before = document;
    EXPECT_EQ(status(), (Strings{"2", "1", "2"}));
    EXPECT_EQ(document, before);
    tree.put("tmp/cleanp", "");
    EXPECT_EQ(status(), (Strings{"3", "3", "1", "2"}));
    EXPECT_EQ(texts(document, "ad:Severity"), Strings(3, "Warning"));
    EXPECT_EQ(texts(document, "ad:AlertDetailsUserAction"), Strings(3, "pressOK"));
    tree.remove("tmp/replacer");
    EXPECT_EQ(status(), (Strings{"5", "3"}));
    EXPECT_EQ(AlertEvtCnt, 1U);
    tree.put("tmp/replacer", "");
    EXPECT_EQ(status(), (Strings{"7", "3", "6", "7"}));
}

TEST_F(Maintenance, a_host_acknowledges_the_first_alert) {
    struct Row {
        std::string request;
        int32_t result;
        std::vector<int32_t> acknowledged; ///< clean, rollers, pad
        const char *left;                  ///< marker files
        const char *log;
    };
    const Row rows[] = {
        {alerts(clean),
         0,
         {1, 0, 0},
         "replacer",
         "Clean Roller! action=3\nAlertDetailsUserAction=p"},
        {alerts(rollers), 0, {0, 1, 0}, "cleanp", "Replace Roller! action=3\n"},
        {alerts(pad), 0, {0, 0, 1}, "cleanp replacer", "Replace PAD! action=3\n"},
        {alerts(clean + rollers), 0, {1, 0, 0}, "replacer", "__sizeAlert=2\n"},
        {alerts(alert("CleanRollers", "opened")), 400, {0, 0, 0}, "cleanp replacer", " error="},
        {alerts(alert("CleanRollers", "")), 0, {0, 0, 0}, "cleanp replacer", "Looking Alter0: \n"},
        {alerts("<psdyn:Alert><dd:SequenceNumber>1</dd:SequenceNumber></psdyn:Alert>" + clean),
         0,
         {0, 0, 0},
         "cleanp replacer",
         "Looking Alter1: \n"},
        {alerts(""), 0, {0, 0, 0}, "cleanp replacer", "Detected AlertTable...__sizeAlert=0\n"},
        {status_request(version), 400, {0, 0, 0}, "cleanp replacer", "Can not detect AlertTable"},
        {status_request(""), 400, {0, 0, 0}, "cleanp replacer", "!psdyn.dd__Version\n"},
        {"<psdyn:", 400, {0, 0, 0}, "cleanp replacer", "gsoap_read_psdyn error="},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.request);
        tree.put("tmp/cleanp", "");
        tree.put("tmp/replacer", "");
        ap_record_clean_roller = ap_record_replace_roller = ap_record_replace_pad = 0;
        std::string request = row.request;
        const std::string log =
            log_of([&] { EXPECT_EQ(VARN_PutProductStatDyn(7, request.data()), row.result); });
        EXPECT_NE(log.find(row.log), log.npos) << log;
        EXPECT_EQ((std::vector<int32_t>{ap_record_clean_roller, ap_record_replace_roller,
                                        ap_record_replace_pad}),
                  row.acknowledged);
        const std::string left = row.left;
        EXPECT_EQ(tree.has("tmp/cleanp"), left.find("cleanp") != left.npos);
        EXPECT_EQ(tree.has("tmp/replacer"), left.find("replacer") != left.npos);
    }
    EXPECT_EQ(VARN_PutProductStatDyn(7, nullptr), -1);
}

TEST_F(Maintenance, usage_adds_what_the_engine_counts) {
    nvram.number(scan_count, 70000, 4).number(flatbed_count, 12, 4).number(jams, 3, 2);
    nvram.number(mispicks, 4, 2).number(multipicks, 0xFFFF, 2).number(slow_picks, 6, 2);
    put();
    walkup_pages = 30;
    const char *const tags[] = {"dd:ScanImages",       "dd:AdfImages",     "dd:FlatbedImages",
                                "dd:JamEvents",        "dd:MispickEvents", "pudyn:MultipickEvents",
                                "pudyn:SlowPickEvents"};
    for (const char *images : {"42", "12"}) { // with the engine, without
        const std::string log = log_of([&] { document = got(VARN_GetProductUsageDyn); });
        EXPECT_EQ(log, "dd__ScanImages=70012\n");
        EXPECT_EQ(schema_fault(document), "");
        Strings values;
        for (const char *tag : tags)
            values.push_back(text_of(document, tag));
        EXPECT_EQ(values, (Strings{images, "70000", "12", "3", "4", "65535", "6"}));
        EXPECT_EQ(document.find("PrinterSubunit"), document.npos);
        counters_result = -1;
    }
}

std::string service_request(const std::string &children) {
    return with_schema_hosts(
        "<?xml version=\"1.0\"?><prdservicedyn:ProductServiceDyn"
        " xmlns:prdservicedyn=\"http://schemas.varn.example/schemas/imaging/con/varn/"
        "productservicedyn/2009/01/10\""
        " xmlns:dd=\"http://schemas.varn.example/schemas/imaging/con/dictionaries/1.0/\">" +
        children + "</prdservicedyn:ProductServiceDyn>");
}

std::string maintenance(const Strings &values) { // name, value, name, value ...
    std::string children;
    for (size_t i = 0; i + 1 < values.size(); i += 2)
        children += "<prdservicedyn:" + values[i] + ">" + values[i + 1] +
                    "</prdservicedyn:" + values[i] + ">";
    return service_request("<prdservicedyn:ScannerMaintenance>" + children +
                           "</prdservicedyn:ScannerMaintenance>");
}

TEST_F(Maintenance, a_service_tool_sets_the_counters) {
    const std::string huge = "99999999999999999999";
    struct Row {
        std::string request;
        int32_t result;
        std::vector<std::array<uint64_t, 3>> changed; ///< offset, value, width; empty: as before
        bool written;
        int rearmed; ///< 1 clean, 2 rollers, 4 pad
    };
    const Row rows[] = {
        {maintenance({}), 0, {}, true, 0},
        {maintenance({"RollerCleanCount", "5"}), 0, {{clean_count, 5, 2}}, true, 1},
        {maintenance({"RollerReplaceCount", "65537"}), 0, {{roller_count, 1, 2}}, true, 2},
        {maintenance({"PadReplaceCount", "-1"}), 0, {{pad_count, 0xFFFF, 2}}, true, 4},
        {maintenance({"PadReplaceCount", "many"}), 0, {{pad_count, 0, 2}}, true, 4},
        {maintenance({"ScanCountAtRollerClean", "4294967295"}),
         0,
         {{clean_mark, 0xFFFFFFFF, 4}},
         true,
         0},
        {maintenance({"ScanCountAtPadReplace", "70000", "RollerCleanCount", huge,
                      "RollerReplaceCount", "2"}),
         0,
         {{pad_mark, 70000, 4}, {roller_count, 2, 2}},
         true,
         2},
        {maintenance({"ScanCountAtRollerReplace", huge}), 0, {}, true, 0},
        {service_request(""), 400, {}, false, 0},
        {service_request("<prdservicedyn:FWVersion>1</prdservicedyn:FWVersion>"
                         "<prdservicedyn:ScannerMaintenance/>"),
         400,
         {},
         false,
         0},
        {maintenance({"RollerCleanCount", "5", "Unknown", "6"}), 400, {}, false, 0},
        {"<?xml version=\"1.0\"?>", 400, {}, false, 0},
    };
    nvram = NvramBytes::sample();
    nvram.number(pad_count, 9, 2).number(roller_count, 8, 2).number(clean_count, 7, 2);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.request);
        put();
        engine.take_calls();
        engine.nvram = std::string(288, 'x');
        ap_record_clean_roller = ap_record_replace_roller = ap_record_replace_pad = 1;
        std::string request = row.request;
        log_of([&] { EXPECT_EQ(VARN_PutProductServiceDyn(7, request.data()), row.result); });
        EXPECT_EQ(engine.take_calls(), row.written ? Strings{"write_nvram 7 0 288"} : Strings{});
        NvramBytes expected = nvram;
        for (const auto &[offset, value, width] : row.changed)
            expected.number(offset, value, width);
        EXPECT_EQ(engine.nvram, row.written ? expected.bytes : std::string(288, 'x'));
        EXPECT_EQ((1 - ap_record_clean_roller) + 2 * (1 - ap_record_replace_roller) +
                      4 * (1 - ap_record_replace_pad),
                  row.rearmed);
    }
    EXPECT_EQ(VARN_PutProductServiceDyn(7, nullptr), -1);
    tree.remove("datafs/nvram.bin");
    std::string request = maintenance({"RollerCleanCount", "5"});
    log_of([&] { EXPECT_EQ(VARN_PutProductServiceDyn(7, request.data()), 0); });
    EXPECT_EQ(engine.take_calls(), Strings{}) << "zeros would take the place of the table";
}

TEST_F(Maintenance, service_shows_four_counters) {
    nvram.number(clean_mark, 0xFFFFFFFF, 4).number(roller_mark, 12, 4).number(pad_mark, 99, 4);
    nvram.number(clean_count, 65535, 2).number(roller_count, 2, 2).number(pad_count, 98, 2);
    put();
    const std::string log = log_of([&] { document = got(VARN_GetProductServiceDyn); });
    EXPECT_EQ(log, "RollerCleanCount=65535 tag_value1=65535\nRollerRepCount=2 tag_value2=2\n"
                   "CountAtClean=-1 tag_value3=-1\nCountAtRoller=12 tag_value4=12\n");
    EXPECT_EQ(text_of(document, "prdservicedyn:ScanCountAtRollerClean"), "-1");
    EXPECT_EQ(text_of(document, "prdservicedyn:ScanCountAtRollerReplace"), "12");
    EXPECT_EQ(text_of(document, "prdservicedyn:RollerCleanCount"), "65535");
    EXPECT_EQ(text_of(document, "prdservicedyn:RollerReplaceCount"), "2");
    EXPECT_EQ(document.find("Pad"), document.npos);
}

TEST_F(Maintenance, an_acknowledged_alert_returns_with_a_new_count) {
    set(scan_count, 5000, 4);
    EXPECT_EQ(status().size(), 4U);
    std::string press_ok = alerts(rollers);
    log_of([&] { VARN_PutProductStatDyn(7, press_ok.data()); });
    EXPECT_EQ(status(), (Strings{"4", "1", "3"}));
    std::string count = maintenance({"RollerReplaceCount", "1"});
    log_of([&] { VARN_PutProductServiceDyn(7, count.data()); });
    EXPECT_EQ(status(), (Strings{"5", "1", "5", "3"})) << "the interval is still past";
}

} // namespace
