// Entry, allocators, shared reader, the root of the device tree, and the frame's first document.
#include "tests/support/device_tree.h"
#include "varn/varn.h"

#include "soapH.h"

#include <cstring>

using namespace varn::test;

namespace {

uint8_t *told_data = nullptr;
uint32_t told_length = 0;

void remember(uint8_t *data, uint32_t length) {
    told_data = data;
    told_length = length;
}

TEST(Frame, usb_callback_is_called_only_while_registered) {
    uint8_t data[3] = {1, 2, 3};
    EXPECT_EQ(VARN_USBIntr(data, 3), 0);
    EXPECT_EQ(log_of([] { EXPECT_EQ(VARN_ValidUSBIntrCB(), 0); }), "Get USBIntr as (nil)\n");
    char expected[64];
    snprintf(expected, sizeof expected, "Set USBIntr as %p\nGet USBIntr as %p\n",
             reinterpret_cast<void *>(remember), reinterpret_cast<void *>(remember));
    EXPECT_EQ(log_of([] {
                  EXPECT_EQ(VARN_SetUSBIntrCB(reinterpret_cast<void *>(remember)), 0);
                  EXPECT_EQ(VARN_ValidUSBIntrCB(), 1);
              }),
              expected);
    EXPECT_EQ(VARN_USBIntr(data, 3), 0);
    EXPECT_EQ(told_data, data);
    EXPECT_EQ(told_length, 3U);
    VARN_SetUSBIntrCB(nullptr);
    EXPECT_EQ(VARN_USBIntr(nullptr, 9), 0);
    EXPECT_EQ(told_length, 3U);
}

TEST(Frame, allocators_give_zeroed_memory_of_the_context) {
    EXPECT_EQ(MyMalloc(8), nullptr) << "before any context";
    soap *context = soap_new();
    varn_InitializeMyMalloc(context);
    EXPECT_EQ(gSoap, context);
    EXPECT_EQ(MyMalloc(0), nullptr);
    EXPECT_EQ(MyMalloc(-1), nullptr);
    const auto *block = static_cast<const char *>(MyMalloc(64));
    EXPECT_EQ(std::string(block, 64), std::string(64, '\0'));
    EXPECT_EQ(memcmp(CopyNumbers(0x01020304), "\4\3\2\1\0", 5), 0);
    EXPECT_EQ(CopyString(nullptr), nullptr);
    EXPECT_STREQ(CopyString(""), "");
    const char *word = "word";
    EXPECT_STREQ(CopyString(word), word);
    EXPECT_NE(CopyString(word), word);
    soap_end(context);
    soap_free(context);
}

TEST(Frame, shared_reader_gives_what_is_left) {
    char dst[8] = "unused!";
    EXPECT_EQ(varn_recv(nullptr, dst, 8), 0U);
    varn_clearXmlBuffer();
    _vXmlBufferMaxLen = 7;
    EXPECT_EQ(log_of([] { varn_setXmlBuffer("abcdefg"); }), "_vXmlBufferMaxLen3=7\n");
    const struct {
        size_t asked, given;
        const char *text;
    } reads[] = {{3, 3, "abc"}, {0, 0, ""}, {8, 4, "defg"}, {8, 0, ""}};
    for (const auto &read : reads) {
        EXPECT_EQ(varn_recv(nullptr, dst, read.asked), read.given);
        EXPECT_EQ(std::string(dst, read.given), read.text);
    }
    varn_clearXmlBuffer();
    EXPECT_EQ(_vXmlBufferMaxLen, 0U);
    EXPECT_NE(_pXmlBuffer, nullptr);
    EXPECT_EQ(varn_recv(nullptr, dst, 8), 0U);
    _vXmlBufferOffset = 5; // beyond the length: nothing is left, whatever the subtraction gives
    EXPECT_EQ(varn_recv(nullptr, dst, 8), 0U);
}

TEST_F(DeviceTest, root_is_refused_when_it_is_no_directory) {
    EXPECT_EQ(VARN_SetRoot((tree / "tmp/fw_ver.txt").c_str()), -1);
    EXPECT_EQ(VARN_SetRoot((tree / "nowhere").c_str()), -1);
    char version[128] = {};
    EXPECT_EQ(read_FW_version(version), 0) << "the root stays as it was";
    EXPECT_STREQ(version, tree.get("tmp/fw_ver.txt").c_str());
    EXPECT_EQ(VARN_SetRoot(""), 0);
    EXPECT_EQ(read_nvram(version), -1) << "this machine has no device file of its own";
}

std::string get_discovery(int32_t expected) {
    char *block = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(VARN_GetDiscoveryTree(&block, &length), expected);
    std::string document(block != nullptr ? block : "", length);
    free(block);
    return document;
}

TEST_F(DeviceTest, discovery_is_the_same_at_each_call_and_cuts_what_was_there) {
    std::string first;
    EXPECT_EQ(log_of([&] { first = get_discovery(0); }),
              "gsoap_write_DiscoveryTree, open =/tmp/xml_tickets/DevMgmt/DiscoveryTree.xml\n"
              "gsoap_write_DiscoveryTree fname=/tmp/xml_tickets/DevMgmt/DiscoveryTree.xml "
              "num_manifest=5\n");
    tree.put("tmp/xml_tickets/DevMgmt/DiscoveryTree.xml", std::string(100000, 'x'));
    EXPECT_EQ(get_discovery(0), first);
    tree.remove("tmp/xml_tickets/DevMgmt");
    EXPECT_EQ(get_discovery(-1), "");
}

} // namespace
