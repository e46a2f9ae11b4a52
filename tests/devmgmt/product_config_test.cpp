// Product configuration: the document, and what a PUT makes of the device.
#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "tests/support/engine_double.h"
#include "varn/product.h"

using namespace varn::test;

namespace {

using ProductConfig = DeviceTest;
using Calls = std::vector<std::string>;

std::string request(const std::string &children) {
    return with_schema_hosts(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
        "<prdcfgdyn2:ProductConfigDyn"
        " xmlns:prdcfgdyn2=\"http://schemas.varn.example/schemas/imaging/con/varn/"
        "productconfigdyn/2009/03/16\""
        " xmlns:prdcfgdyn=\"http://schemas.varn.example/schemas/imaging/con/varn/"
        "productconfigdyn/2007/11/05\""
        " xmlns:dd=\"http://schemas.varn.example/schemas/imaging/con/dictionaries/1.0/\">" +
        children + "</prdcfgdyn2:ProductConfigDyn>");
}

std::string settings(const std::string &children) {
    return request("<prdcfgdyn2:ProductSettings>" + children + "</prdcfgdyn2:ProductSettings>");
}

std::string information(const std::string &children) {
    return request("<prdcfgdyn:ProductInformation>" + children + "</prdcfgdyn:ProductInformation>");
}

std::string asset(size_t length) {
    return "<dd:AssetNumber>" + std::string(length, 'a') + "</dd:AssetNumber>";
}

const std::string nothing = "<dd:PowerSaveTimeout>1minute</dd:PowerSaveTimeout>";
const std::string sleep_15 = "<dd:PowerSaveTimeout>15minutes</dd:PowerSaveTimeout>";
const std::string off_20 = "<dd:AutoOffTime>20_minutes</dd:AutoOffTime>";

std::string language(const std::string &word) {
    return "<prdcfgdyn:ProductLanguage><dd:DeviceLanguage>" + word +
           "</dd:DeviceLanguage></prdcfgdyn:ProductLanguage>";
}

struct Put {
    std::string document;
    int32_t result;
    Calls calls;     ///< after the table was read
    const char *log; ///< a line of it
};

TEST_F(ProductConfig, put_acts_element_by_element) {
    const std::string write_table = "write_nvram 7 0 288";
    const Put rows[] = {
        {settings(asset(63)), 0, {write_table}, "Set dd__AssetNumber aaa"},
        {settings(asset(64)), 400, {}, "Set dd__AssetNumber aaa"},
        {settings("<dd:AssetNumber></dd:AssetNumber>"), 0, {write_table}, "Set dd__AssetNumber \n"},
        {settings(sleep_15),
         0,
         {"write_sleeptime 7 13"},
         "======>Map dd__PowerSaveTimeout_ from 15minutes to 13\n"},
        {settings(nothing),
         400,
         {},
         "DevMgmt_AdjustPlatSleepRange,Can't find 1minute in "
         "/tmp/xml_tickets/DevMgmt/ProductConfigCap.xml\n"},
        // Any text of the capability file passes, and one without a meaning is all ones.
        {settings("<dd:PowerSaveTimeout>minutes</dd:PowerSaveTimeout>"),
         0,
         {"write_sleeptime 7 4294967295"},
         "map_powersavetime2kobnvram, str=minutes has no define map\n"},
        {settings(off_20), 0, {"write_autoofftime 7 20"}, "===>Map dd__AutoOffTime from 5 to 20\n"},
        {settings("<dd:AutoOffTime>14</dd:AutoOffTime>"),
         0,
         {"write_autoofftime 7 480"},
         "===>Map dd__AutoOffTime from 14 to 480\n"},
        {settings("<dd:AutoOffTime>1hour</dd:AutoOffTime>"),
         400,
         {},
         "is_xmlenum_valid_autoofftime can't switch enumvalue=7\n"},
        {settings("<dd:AutoOffTime>31</dd:AutoOffTime>"), 400, {}, "enumvalue=31\n"},
        {settings(language("de")), 0, {"write_lcdc 7 4 4 4"}, "Set dd__DeviceLanguage 4\n"},
        {settings(language("xx")),
         0,
         {"write_lcdc 7 0 4 0"},
         "DevMgmt_GetPlatDevLang, str=xx has no define map\n"},
        {settings("<prdcfgdyn:ProductLanguage/>"), 400, {}, ""},
        // What comes before a refusal stays; what comes after it is not looked at.
        {settings(language("fr") + off_20 + sleep_15 + asset(3)),
         0,
         {write_table, "write_sleeptime 7 13", "write_autoofftime 7 20", "write_lcdc 7 1 4 1"},
         ""},
        {settings(asset(3) + nothing + off_20), 400, {write_table}, ""},
        {settings(""), 0, {}, ""},
        {settings("<dd:Unknown><dd:AssetNumber>x</dd:AssetNumber></dd:Unknown>" + off_20),
         0,
         {"write_autoofftime 7 20"},
         ""},
        {request("<dd:Unknown/>"), 400, {}, "Can't find ProductInformation and ProductSettings\n"},
        {request("<prdcfgdyn:Memory/><prdcfgdyn2:ProductSettings/>"),
         400,
         {},
         "Client passes some items are not in CAP file!\n"},
        {request("<prdcfgdyn:EmailAlerts/><prdcfgdyn2:ProductSettings/>"),
         400,
         {},
         "Client passes some items are not in CAP file!\n"},
        {information("<dd:ServiceID>99999</dd:ServiceID>"), 0, {}, ""},
        {"<?xml version=\"1.0\"?><Other><ProductSettings/></Other>", 400, {}, "Can't find Product"},
        {"<?xml version=\"1.0\"?>", 400, {}, "Can't find ProductInformation"},
    };
    for (const Put &row : rows) {
        SCOPED_TRACE(row.document);
        std::string document = row.document;
        const std::string log =
            log_of([&] { EXPECT_EQ(VARN_PutProductConfigDyn(7, document.data()), row.result); });
        EXPECT_NE(log.find(row.log), log.npos) << log;
        Calls expected{"read_nvram 7 0 288"};
        expected.insert(expected.end(), row.calls.begin(), row.calls.end());
        EXPECT_EQ(engine.take_calls(), expected);
    }
}

TEST_F(ProductConfig, read_only_elements_are_refused) {
    for (const char *element :
         {"dd:Version", "dd:MakeAndModel", "dd:MakeAndModelBase", "dd:MakeAndModelFamily",
          "dd:UUID", "dd:SerialNumber", "dd:ProductNumber"}) {
        const std::string tag = element;
        std::string document = information("<" + tag + ">x</" + tag + ">");
        document.insert(document.rfind("</prdcfgdyn2:"),
                        "<prdcfgdyn2:ProductSettings>" + off_20 + "</prdcfgdyn2:ProductSettings>");
        const std::string log =
            log_of([&] { EXPECT_EQ(VARN_PutProductConfigDyn(7, document.data()), 405) << tag; });
        EXPECT_NE(log.find("Hey man, can't put a read only item!\n"), log.npos);
        EXPECT_EQ(engine.take_calls(), Calls{"read_nvram 7 0 288"});
    }
}

TEST_F(ProductConfig, put_of_what_is_no_document_changes_nothing) {
    EXPECT_EQ(VARN_PutProductConfigDyn(7, nullptr), -1);
    for (std::string text : {" <?xml version=\"1.0\"?><a/>", "<a/>", ""}) {
        const std::string expected =
            "gsoap_read_prdcfgdyn, xml_len=" + std::to_string(text.size()) +
            "\ngsoap_read_prdcfgdyn, xml string is not valid\n";
        EXPECT_EQ(log_of([&] { EXPECT_EQ(VARN_PutProductConfigDyn(7, text.data()), 400); }),
                  expected);
    }
    EXPECT_EQ(engine.take_calls(), Calls{});

    // Not well formed: every cut of a good document, and one that is longer than the reader's one
    // delivery.
    const std::string good = settings(asset(3) + off_20);
    for (size_t length = 5; length < good.size(); ++length) {
        std::string cut = good.substr(0, length);
        ASSERT_EQ(VARN_PutProductConfigDyn(7, cut.data()), 400) << cut;
        ASSERT_EQ(engine.take_calls(), Calls{"read_nvram 7 0 288"}) << cut;
    }
    std::string huge = settings(asset(200000));
    EXPECT_EQ(VARN_PutProductConfigDyn(7, huge.data()), 400);
    EXPECT_EQ(engine.take_calls(), Calls{"read_nvram 7 0 288"});
}

TEST_F(ProductConfig, table_of_the_engine_is_written_back_with_the_asset_number) {
    engine.nvram = NvramBytes::sample().bytes;
    std::string document = settings("<dd:AssetNumber>Desk &lt;8&gt;</dd:AssetNumber>");
    EXPECT_EQ(VARN_PutProductConfigDyn(7, document.data()), 0);
    std::string expected = NvramBytes::sample().text(176, "Desk <8>").bytes;
    EXPECT_EQ(engine.nvram, expected);

    // An engine that fails is not looked at.
    engine.results = {{"write_nvram", -1}, {"write_sleeptime", -1}};
    document = settings(asset(3) + sleep_15);
    EXPECT_EQ(VARN_PutProductConfigDyn(7, document.data()), 0);
    // Without the engine's table, that of its file: the rest of it must not be lost.
    tree.put("datafs/nvram.bin", NvramBytes::sample().bytes);
    engine.results = {{"read_nvram", -1}};
    document = settings("<dd:AssetNumber>Desk &lt;8&gt;</dd:AssetNumber>");
    EXPECT_EQ(VARN_PutProductConfigDyn(7, document.data()), 0);
    EXPECT_EQ(engine.nvram, expected);
}

TEST_F(ProductConfig, get_of_odd_values) {
    tree.put("datafs/nvram.bin", NvramBytes::sample().text(176, std::string(64, 'n')).bytes);
    tree.put_power(77, 99); // neither has a word
    char *block = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(VARN_GetProductConfigDyn(&block, &length), 0);
    const std::string document(block, length);
    free(block);
    EXPECT_EQ(schema_fault(document), "");
    EXPECT_EQ(text_of(document, "dd:SerialNumber"), "CN12345678");
    EXPECT_EQ(text_of(document, "dd:AssetNumber"), std::string(64, 'n'));
    EXPECT_EQ(text_of(document, "dd:PowerSaveTimeout"), "");
    EXPECT_EQ(text_of(document, "dd:AutoOffTime"), "never");
    EXPECT_EQ(engine.take_calls(), Calls{}) << "a GET reads the flash copy";
}

TEST_F(ProductConfig, capabilities_come_from_the_other_file) {
    tree.put("tmp/xml_tickets/DevMgmt/ProductConfigCap_RTC.xml", "<served/>");
    char *block = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(log_of([&] { EXPECT_EQ(VARN_GetProductConfigCap(&block, &length), 0); }),
              "VARN_GetProductConfigCap, open =/tmp/xml_tickets/DevMgmt/ProductConfigCap.xml\n");
    EXPECT_STREQ(block, "<served/>");
    free(block);
}

TEST_F(ProductConfig, language_codes) {
    const struct {
        uint32_t code;
        const char *word;
    } rows[] = {{0, "en"}, {16, "zh-TW"}, {4096, "th"}, {16384, "cs"}, {65536, "pl"}};
    for (const auto &row : rows) {
        uint32_t code = 99;
        char word[8] = {};
        const std::string number = std::to_string(row.code);
        EXPECT_EQ(log_of([&] { DevMgmt_GetPlatDevLang(&code, row.word); }),
                  "DevMgmt_GetPlatDevLang, Get LCDLang=" + number + " str=" + row.word + "\n");
        EXPECT_EQ(code, row.code);
        EXPECT_EQ(log_of([&] { DevMgmt_SetPlatDevLang(&row.code, word); }),
                  "DevMgmt_SetPlatDevLang, Set LCDLang=" + number + " str=" + row.word + "\n");
        EXPECT_STREQ(word, row.word);
    }
    const uint32_t unused = 8192;
    char word[8] = {};
    EXPECT_NE(log_of([&] {
                  DevMgmt_SetPlatDevLang(&unused, word);
              }).find("DevMgmt_SetPlatDevLang, out of case:8192\n"),
              std::string::npos);
    EXPECT_STREQ(word, "en");
}

TEST_F(ProductConfig, sleep_range_is_a_search_in_the_capability_file) {
    constexpr char name[] = "/tmp/xml_tickets/DevMgmt/ProductConfigCap.xml";
    tree.put(name + 1, "<a>15minutes</a>");
    EXPECT_EQ(DevMgmt_AdjustPlatSleepRange("5min"), 0);
    const std::string caller = "DevMgmt_AdjustPlatSleepRange";
    EXPECT_EQ(log_of([] { EXPECT_EQ(DevMgmt_AdjustPlatSleepRange("1hour"), -1); }),
              caller + ",Can't find 1hour in " + name + "\n");
    tree.put(name + 1, std::string("<a>\0 1hour", 10));
    EXPECT_EQ(DevMgmt_AdjustPlatSleepRange("1hour"), -1) << "beyond the end of the text";
    tree.remove(name + 1);
    EXPECT_EQ(log_of([] { EXPECT_LT(DevMgmt_AdjustPlatSleepRange("1hour"), 0); }),
              caller + ", Can't stat file " + name + "\n");
    std::filesystem::create_directory(tree / (name + 1));
    EXPECT_NE(log_of([] {
                  EXPECT_EQ(DevMgmt_AdjustPlatSleepRange("1hour"), -1);
              }).find(caller + ",Read size fail want to "),
              std::string::npos);
}

} // namespace
