#include "platform/nvram_xml.h"

#include "tests/platform/scratch.h"

#include <array>
#include <cstring>
#include <random>

namespace {

using Table = std::array<unsigned char, 288>;

class NvramXml : public Scratch {
protected:
    std::string document(const Table &table) {
        EXPECT_EQ(wrapper_nvram2xmlformat(table.data(), file("t.xml").c_str()), 0);
        return content_of(file("t.xml"));
    }
};

Table sample() {
    Table table = {};
    table[0] = 0x15, table[1] = 0xCD, table[2] = 0x5B, table[3] = 0x07; // 123456789
    table[5] = 0xAB;
    std::memcpy(&table[25], "SN12<&>345", 10);
    table[60] = table[61] = table[62] = table[63] = 0xFF; // -1
    std::memcpy(&table[176], "desk 7", 6);
    std::memset(&table[241], 0xFF, 36); // as erased flash reads
    return table;
}

TEST_F(NvramXml, fields_stand_under_their_names) {
    std::string text = document(sample());
    for (const char *line :
         {"<ScanCount>123456789</ScanCount>", "<Bytes offset=\"4\">00ab0000<",
          "<SerialNumber>SN12&lt;&amp;&gt;345</SerialNumber>",
          "<RollerReplaceInterval>-1</RollerReplaceInterval>", "<AssetNumber>desk 7</AssetNumber>",
          "<MTDM>0</MTDM>", "<UUID encoding=\"hex\">ffff"})
        EXPECT_NE(text.find(line), text.npos) << line << "\n" << text;
}

TEST_F(NvramXml, every_table_comes_back_whole) {
    std::mt19937 random(20240603);
    for (int round = 0; round < 60; ++round) {
        Table table = round == 0 ? sample() : Table{};
        // From all printable to all random, so that both forms of a text occur.
        for (unsigned char &byte : table)
            if (round > 0)
                byte = static_cast<unsigned char>(round % 2 ? random() : 'a' + random() % 26);
        Table back = {};
        ASSERT_EQ(wrapper_xml2nvramformat(document(table).c_str(), back.data()), 0) << round;
        ASSERT_EQ(back, table) << round;
    }
}

TEST_F(NvramXml, what_a_document_leaves_out_keeps_its_value) {
    Table table = sample(), expected = sample();
    expected[80] = 0x02, expected[81] = 0x01;
    std::memset(&expected[176], 0, 64);
    std::memset(&expected[176], 'x', 63);
    expected[287] = 0x7F;
    std::string text = "<NvramTable><JamEvents> 258\n</JamEvents><!-- c --><AssetNumber>" +
                       std::string(63, 'x') +
                       "</AssetNumber><Bytes offset=\"287\">7F</Bytes></NvramTable>";
    EXPECT_EQ(wrapper_xml2nvramformat(text.c_str(), table.data()), 0);
    EXPECT_EQ(table, expected);
    EXPECT_EQ(wrapper_xml2nvramformat("<NvramTable/>", table.data()), 0);
    EXPECT_EQ(table, expected);
}

TEST_F(NvramXml, a_bad_document_changes_nothing) {
    const std::string bodies[] = {
        "<ScanCount>4294967296</ScanCount>",
        "<ScanCount>-1</ScanCount>",
        "<ScanCount></ScanCount>",
        "<ScanCount>0x10</ScanCount>",
        "<ScanCount>7 7</ScanCount>",
        "<MTDM>256</MTDM>",
        "<JamEvents>65536</JamEvents>",
        "<RollerReplaceInterval>2147483648</RollerReplaceInterval>",
        "<RollerReplaceInterval>-2147483649</RollerReplaceInterval>",
        "<SerialNumber>12345678901</SerialNumber>",
        "<AssetNumber>" + std::string(64, 'x') + "</AssetNumber>",
        "<UUID encoding=\"hex\">00</UUID>",
        "<UUID encoding=\"base64\">AAAA</UUID>",
        "<Unknown>1</Unknown>",
        "<MTDD>1</MTDD><MTDD>1</MTDD>",
        "<Bytes>00</Bytes>",
        "<Bytes offset=\"4\">0</Bytes>",
        "<Bytes offset=\"4\">zz</Bytes>",
        "<Bytes offset=\"7\">0000</Bytes>",
        "<Bytes offset=\"288\">00</Bytes>",
        "<Bytes offset=\"18446744073709551615\">0000</Bytes>",
    };
    for (const std::string &body : bodies) {
        // A good field in front: it must not stay half done.
        std::string text = "<NvramTable><MTDY>9</MTDY>" + body + "</NvramTable>";
        Table table = sample();
        EXPECT_EQ(wrapper_xml2nvramformat(text.c_str(), table.data()), -1) << body;
        EXPECT_EQ(table, sample()) << body;
    }
    Table table = sample();
    for (const char *text : {"", "text", "<Other/>", "<NvramTable>", "<?xml version=\"1.0\"?>"})
        EXPECT_EQ(wrapper_xml2nvramformat(text, table.data()), -1) << text;
    EXPECT_EQ(wrapper_xml2nvramformat(nullptr, table.data()), -1);
    EXPECT_EQ(wrapper_xml2nvramformat("<NvramTable/>", nullptr), -1);
    EXPECT_EQ(wrapper_nvram2xmlformat(table.data(), file("no/dir").c_str()), -1);
    EXPECT_EQ(table, sample());
}

} // namespace
