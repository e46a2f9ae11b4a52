/// Configuration of the scan service, with the engine's parameter blocks kept by the test.

#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "varn/varn.h"

#include <cstring>
#include <map>
#include <string>

using namespace varn::test;

namespace {

/// Parameter blocks by number; one that is not there cannot be read.
std::map<uint32_t, std::string> blocks;
int writes = 0;

} // namespace

extern "C" int32_t mvtc_read_h1_parameter(uint32_t, void *block, uint32_t size, uint32_t id) {
    if (!blocks.contains(id) || blocks[id].size() != size)
        return -1;
    memcpy(block, blocks[id].data(), size);
    return 0;
}

extern "C" int32_t mvtc_write_h1_parameter(uint32_t, const void *block, uint32_t size,
                                           uint32_t id) {
    ++writes;
    blocks[id].assign(static_cast<const char *>(block), size);
    return 0;
}

namespace {

class EsclConfig : public DeviceTest {
protected:
    EsclConfig() {
        blocks = {{4, std::string(212, '\x5A')}, {9, std::string(128, '\0')}};
        blocks[4][27] = '\0';
        writes = 0;
    }

    static int32_t put(const std::string &elements) {
        const std::string document =
            "<?xml version=\"1.0\"?><scan:eSCLConfig "
            "xmlns:scan=\"http://schemas.escl.example/imaging/escl/2011/05/03\">" +
            elements + "</scan:eSCLConfig>";
        return eSCL_PuteSCLConfig(document.c_str());
    }

    static std::string get() {
        char *buffer = nullptr;
        uint32_t length = 0;
        EXPECT_EQ(eSCL_GeteSCLConfig(&buffer, &length), 0);
        std::string document(buffer, length);
        free(buffer);
        EXPECT_EQ(schema_fault(document), "");
        return document;
    }

    static std::string credentials(const std::string &name, const std::string &password) {
        return "<scan:State>enabled</scan:State><scan:ScannerAdminCredentials><scan:UserName>" +
               name + "</scan:UserName><scan:Password>" + password +
               "</scan:Password></scan:ScannerAdminCredentials>";
    }
};

TEST_F(EsclConfig, StateIsOneByteOfItsBlock) {
    const struct {
        const char *word;
        char byte;
        const char *shown;
    } rows[] = {{"enabled", 1, "enabled"}, {"disabled", 0, "disabled"}, {"removed", 0, "disabled"}};
    for (const auto &row : rows) {
        std::string expected = blocks[4];
        expected[27] = row.byte;
        EXPECT_EQ(put("<scan:State>" + std::string(row.word) + "</scan:State>"), 0);
        EXPECT_EQ(blocks[4], expected) << row.word;
        EXPECT_EQ(text_of(get(), "scan:State"), row.shown);
    }
}

TEST_F(EsclConfig, DocumentsThatAreNotAcceptableChangeNothing) {
    for (const char *document : {"", "POST / HTTP/1.1\r\n\r\n", "<scan:eSCLConfig><scan:State>",
                                 "<scan:eSCLConfig><scan:State>maybe</scan:State>"})
        EXPECT_EQ(eSCL_PuteSCLConfig(document), -1) << document;
    EXPECT_EQ(eSCL_PuteSCLConfig(nullptr), -1);
    EXPECT_EQ(put(""), -1) << "no state";
    EXPECT_EQ(writes, 0);
}

TEST_F(EsclConfig, CredentialsGoIntoTheirBlockOrAreSilentlyPassedOver) {
    const std::string longest(32, 'n');
    const std::string too_long(33, 'n');
    EXPECT_EQ(put(credentials(longest, "secret")), 0);
    EXPECT_STREQ(blocks[9].c_str() + 1, longest.c_str());
    EXPECT_STREQ(blocks[9].c_str() + 41, "secret");
    EXPECT_EQ(blocks[9][0], '\0') << "the flag is not ours";

    const std::string kept = blocks[9];
    const std::string rows[] = {credentials(too_long, "x"), credentials("x", too_long),
                                "<scan:State>disabled</scan:State><scan:ScannerAdminCredentials>"
                                "<scan:UserName>x</scan:UserName></scan:ScannerAdminCredentials>"};
    for (const std::string &row : rows) {
        blocks[4][27] = '\x77';
        EXPECT_EQ(put(row), 0) << row;
        EXPECT_EQ(blocks[9], kept) << row;
        EXPECT_NE(blocks[4][27], '\x77') << "the state is set all the same";
    }
}

TEST_F(EsclConfig, TheNameIsToldOnceTheFlagIsSetAndThePasswordNever) {
    ASSERT_EQ(put(credentials("operator", "secret")), 0);
    EXPECT_EQ(text_of(get(), "scan:UserName"), "absent");
    blocks[9][0] = 1;
    const std::string document = get();
    EXPECT_EQ(text_of(document, "scan:UserName"), "operator");
    EXPECT_EQ(document.find("secret"), std::string::npos);
}

TEST_F(EsclConfig, ABlockThatCannotBeReadIsNotWrittenBack) {
    blocks.clear();
    EXPECT_EQ(put(credentials("a", "b")), 0);
    EXPECT_EQ(writes, 0);
}

TEST_F(EsclConfig, TheManifestIsItsTicket) {
    char *buffer = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(eSCL_GetManifest(&buffer, &length), 0);
    EXPECT_EQ(std::string(buffer, length), tree.get("tmp/xml_tickets/eSCL/eSclManifest.xml"));
    free(buffer);
    tree.put("tmp/xml_tickets/eSCL/eSclManifest.xml", "");
    EXPECT_EQ(eSCL_GetManifest(&buffer, &length), -1);
}

} // namespace
