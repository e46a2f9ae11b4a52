// Files of the engine side, their words in documents, and the plain engine operations.
#include "tests/support/device_tree.h"
#include "tests/support/engine_double.h"
#include "varn/engine.h"

#include <cstring>

using namespace varn::test;

namespace {

using EngineFiles = DeviceTest;

TEST_F(EngineFiles, table_is_read_and_written_whole) {
    std::string table(288, 'x');
    EXPECT_EQ(read_nvram(table.data()), -1);
    EXPECT_EQ(table, std::string(288, 'x')) << "left as it stood";
    tree.put("datafs/nvram.bin", NvramBytes::sample().bytes + "beyond");
    EXPECT_EQ(read_nvram(table.data()), 0);
    EXPECT_EQ(table, NvramBytes::sample().bytes);
    table[100] = 'y';
    EXPECT_EQ(write_nvram(table.data()), 0);
    EXPECT_EQ(tree.get("datafs/nvram.bin"), table + "beyond");
    tree.put("datafs/nvram.bin", "short");
    EXPECT_EQ(read_nvram(table.data()), 0);
    EXPECT_TRUE(table.starts_with("short"));
}

TEST_F(EngineFiles, auto_off_word_is_moved) {
    uint32_t word = 7;
    EXPECT_EQ(read_AutoOffInfo(&word), -1);
    tree.put_power(13, 60);
    EXPECT_EQ(read_AutoOffInfo(&word), 0);
    EXPECT_EQ(word, 0x11223344U);
    word = 5;
    EXPECT_EQ(write_AutoOffInfo(&word), 0);
    EXPECT_EQ(tree.get("datafs/kobnvram.bin").substr(0, 12),
              std::string("\5\0\0\0\0\0\0\0\x0d\0\0\0", 12));
    EXPECT_EQ(read_AutoOffInfo(nullptr), -1);
    EXPECT_EQ(write_AutoOffInfo(nullptr), -1);
}

TEST_F(EngineFiles, identity_texts_stay_within_their_buffers) {
    const struct {
        const char *path;
        int32_t (*read)(char *);
        const char *name;
        size_t size;
    } rows[] = {
        {"tmp/fw_ver.txt", read_FW_version, "read_FW_version", 128},
        {"tmp/fw_verdate.txt", read_FW_date, "read_FW_date", 128},
        {"tmp/ftdram.txt", read_FW_dram_size, "read_FW_dram_size", 16},
    };
    for (const auto &row : rows) {
        std::string buffer(row.size + 1, '#');
        tree.put(row.path, std::string(500, 'v'));
        EXPECT_EQ(row.read(buffer.data()), 0);
        EXPECT_EQ(buffer, std::string(row.size - 1, 'v') + '\0' + '#') << row.name;
        tree.put(row.path, "12 a\n");
        EXPECT_EQ(row.read(buffer.data()), 0);
        EXPECT_STREQ(buffer.c_str(), "12 a\n");
        tree.remove(row.path);
        EXPECT_EQ(log_of([&] { EXPECT_EQ(row.read(buffer.data()), -1); }),
                  std::string(row.name) + ",fd <0\n");
    }
}

TEST(ServiceIdentifier, comes_from_the_date_of_manufacture) {
    const struct {
        uint8_t year, month, day;
        const char *expected;
    } rows[] = {{14, 3, 5, "24065"}, {0, 0, 31, "00030"},  {0, 1, 1, "00001"},
                {14, 0, 5, "24005"}, {3, 12, 31, "13360"}, {89, 12, 30, "99360"}};
    for (const auto &row : rows) {
        const NvramBytes table =
            NvramBytes().number(12, row.month, 1).number(13, row.day, 1).number(14, row.year, 1);
        char id[8] = {};
        const std::string log = log_of([&] {
            EXPECT_EQ(read_service_id(id, reinterpret_cast<const uint8_t *>(table.bytes.data())),
                      0);
        });
        EXPECT_STREQ(id, row.expected);
        const std::string expected = row.expected;
        EXPECT_EQ(log, "Get nvramtable.MTDY=" + std::to_string(row.year) +
                           "\nGet nvramtable.MTDM=" + std::to_string(row.month) +
                           "\nGet nvramtable.MTDD=" + std::to_string(row.day) +
                           "\nGet srv_id_first2digits=" + expected.substr(0, 2) +
                           "\nGet srv_id_last3digits=" + expected.substr(2) +
                           "\nSet Service ID to " + expected + "\n");
    }
    char id[8];
    EXPECT_EQ(read_service_id(id, nullptr), -1);
    const std::string wild(288, '\xFF'); // no date at all: the text stays within five characters
    EXPECT_EQ(read_service_id(id, reinterpret_cast<const uint8_t *>(wild.data())), 0);
    EXPECT_EQ(strlen(id), 5U);
}

TEST_F(EngineFiles, times_are_not_shown_as_they_are_set) {
    char word[16] = "unset";
    uint32_t code = 99;
    EXPECT_EQ(set_str_powersavetime(word), -1);
    EXPECT_EQ(set_enum_autoofftime(&code), -1);
    const struct {
        uint32_t sleep;
        const char *word;
        uint32_t off, code;
    } shown[] = {{0, "never", 0, 0},     {13, "15minutes", 20, 5}, {15, "15minutes", 60, 7},
                 {60, "1hour", 120, 8},  {240, "4hours", 240, 10}, {280, "4hours", 480, 14},
                 {120, "4hours", 61, 14}}; // of no word and no code: left alone
    std::string log;
    for (const auto &row : shown) {
        tree.put_power(row.sleep, row.off);
        log = log_of([&] {
            EXPECT_EQ(set_str_powersavetime(word), 0);
            EXPECT_EQ(set_enum_autoofftime(&code), 0);
        });
        EXPECT_STREQ(word, row.word) << row.sleep;
        EXPECT_EQ(code, row.code) << row.off;
    }
    EXPECT_EQ(log, "set_str_powersavetime: Can't case 120\nset_enum_autoofftime can not case 61\n");

    uint32_t minutes = 0;
    for (const auto &[text, expected] :
         {std::pair{"1minute", 1U}, {"15minutes", 13U}, {"4hours", 240U}, {"soon", UINT32_MAX}}) {
        log = log_of([&] { EXPECT_EQ(map_powersavetime2kobnvram(text, &minutes), 0); });
        EXPECT_EQ(minutes, expected) << text;
    }
    EXPECT_EQ(log, "map_powersavetime2kobnvram, str=soon has no define map\n");
    for (int32_t c = 0; c <= 47; ++c) {
        const bool settable = c == 0 || c == 5 || c == 8 || c == 10 || c == 14;
        minutes = 99;
        log = log_of([&] {
            EXPECT_EQ(is_xmlenum_valid_autoofftime(static_cast<uint32_t>(c)), settable ? 0 : -1);
            EXPECT_EQ(map_autoofftime2kobnvram(c, &minutes), settable ? 0 : -1);
        });
        EXPECT_EQ(minutes == 99, !settable) << c;
        const std::string text = " can't switch enumvalue=" + std::to_string(c) + "\n";
        EXPECT_EQ(log, settable ? ""
                                : "is_xmlenum_valid_autoofftime" + text +
                                      "map_autoofftime2kobnvram" + text);
    }
}

TEST_F(EngineFiles, direct_operations_pass_the_engine_s_result_on) {
    EXPECT_EQ(log_of([] { EXPECT_EQ(KOB_UpdateFWPackage(7, 11, 12, 13), 0); }),
              "KOB_UpdateFWPackage....\n");
    engine.results = {{"write_fwpackage", -9}, {"factorydefault", 3}};
    EXPECT_EQ(KOB_UpdateFWPackage(7, 0, 0, 0), -9);
    EXPECT_EQ(KOB_FactoryDefault(7), 3);
    engine.results["factorydefault"] = -2;
    EXPECT_EQ(KOB_FactoryDefault(7), 500);
    EXPECT_EQ(engine.take_calls(),
              (std::vector<std::string>{"write_fwpackage 7 11 12 13", "write_fwpackage 7 0 0 0",
                                        "factorydefault 7", "factorydefault 7"}));
}

TEST_F(EngineFiles, table_goes_to_a_document_and_back) {
    engine.nvram = NvramBytes::sample().bytes;
    char *block = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(KOB_GetNVRamXML(7, &block, &length), 0);
    const std::string document(block, length);
    free(block);
    EXPECT_EQ(tree.get("tmp/scanner_nvram.xml"), document);

    engine.nvram.assign(288, '\0');
    EXPECT_EQ(KOB_PostNVRamXML(7, document.c_str()), 0);
    EXPECT_EQ(engine.nvram, NvramBytes::sample().bytes);
    EXPECT_EQ(engine.take_calls(),
              (std::vector<std::string>{"read_nvram 7 0 288", "write_nvram 7 0 288"}));
    EXPECT_EQ(KOB_PostNVRamXML(7, "<other/>"), 400);
    EXPECT_EQ(engine.take_calls(), std::vector<std::string>{});
    engine.results = {{"write_nvram", -1}, {"read_nvram", -1}};
    EXPECT_EQ(KOB_PostNVRamXML(7, document.c_str()), 500);
    EXPECT_EQ(KOB_GetNVRamXML(7, &block, &length), 500);
}

} // namespace
