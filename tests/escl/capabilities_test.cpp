// The capabilities file: what is edited in it, and when.
#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "varn/escl_capabilities.h"

using namespace varn::test;

namespace {

using Capabilities = DeviceTest;
constexpr char file[] = "web/eSCL/ScannerCapabilities";

std::string get_capabilities(int32_t connection) {
    char *block = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(eSCL_GetScanCapa(&block, &length, connection), 0);
    std::string document(block != nullptr ? block : "", length);
    free(block);
    return document;
}

int count(const std::string &text, const std::string &part) {
    int n = 0;
    for (size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1))
        ++n;
    return n;
}

TEST_F(Capabilities, usb_and_http_differ_in_one_value_and_additions_come_once) {
    tree.put("datafs/nvram.bin", NvramBytes::sample().bytes);
    std::string usb;
    std::string log = log_of([&] { usb = get_capabilities(-1); });
    EXPECT_TRUE(log.starts_with("is_https==============>-1\n")) << log;
    for (const char *line :
         {"Find AdfOptions...\n>>>>>>>>>>>>>>>>Add SelectSinglePage\n"
          ">>>>>>>>>>>>>>>>Add MultipickDetection\n",
          "Find MultipickDetectionActionSupport...\nAdd stop job support...\n",
          "Find GammaSupport...\n", "Find BrightnessSupport...\n", "Find ContrastSupport...\n",
          "Find HighlightSupport...\n", "Find ShadowSupport...\n", "Find Duplex MaxHeight...\n",
          "Modify Flatbed MaxHeight...\n", "Find CarrierSheetSupport...\n",
          "Find CompressionFactorSupport.scan:Normal...USB\n",
          "Update AdminURI host=ravelin is_https=-1\n", "Find Simplex MaxHeight...\n",
          "Find PINSupport...\n", "Update IconURI is_https=-1\n", "Update MakeAndModel.........\n"})
        EXPECT_EQ(count(log, line), 1) << line << log;
    EXPECT_EQ(schema_fault(usb), "");
    EXPECT_EQ(tree.get(file), usb);

    std::string http;
    log = log_of([&] { http = get_capabilities(0); });
    EXPECT_EQ(count(log, "Find AdfOptions...\n"), 1);
    EXPECT_EQ(count(log, "Add"), 0) << log;
    EXPECT_EQ(count(log, "Find CompressionFactorSupport.scan:Normal...NET\n"), 1);
    const std::string support = "<scan:CompressionFactorSupport>";
    const size_t normal = usb.find("<scan:Normal>2<", usb.find(support));
    ASSERT_NE(normal, usb.npos);
    EXPECT_EQ(http, usb.replace(normal, 15, "<scan:Normal>4<"));
}

TEST_F(Capabilities, memory_decides_two_heights_and_the_table_is_read_once) {
    tree.put("datafs/nvram.bin", NvramBytes::sample().bytes);
    const std::string pristine = tree.get(file);
    for (const auto &[memory, flatbed, duplex] :
         {std::tuple{"256", "3510", "4200"}, {"", "3510", "4200"}, {"257", "4200", "36600"}}) {
        tree.put(file, pristine);
        tree.put("tmp/ftdram.txt", memory);
        EXPECT_EQ(texts(get_capabilities(0), "scan:MaxHeight"),
                  (std::vector<std::string>{flatbed, "63300", duplex}))
            << memory;
    }
    tree.put(file, pristine);
    tree.remove("tmp/ftdram.txt");
    tree.put("datafs/nvram.bin", NvramBytes::sample().text(25, "NEW0000000").bytes);
    std::string document;
    const std::string log = log_of([&] { document = get_capabilities(0); });
    EXPECT_EQ(count(log, "read_FW_dram_size,fd <0\n"), 1);
    EXPECT_EQ(texts(document, "scan:MaxHeight").at(0), "3510");
    EXPECT_EQ(text_of(document, "pwg:SerialNumber"), "CN12345678");
}

TEST_F(Capabilities, file_that_stays_the_same_follows_every_change) {
    const auto request = [](int32_t connection) {
        std::string document;
        std::string log = log_of([&] { document = get_capabilities(connection); });
        return std::pair{document, log};
    };
    tree.put("tmp/ftdram.txt", "256");
    request(0); // adds what is added once
    const auto settled = request(0);
    EXPECT_EQ(request(0), settled);
    EXPECT_EQ(request(0), settled) << "the log is that of a request that edits";
    EXPECT_EQ(tree.get(file), settled.first);

    tree.replace(file, "<scan:PINSupport>true<", "<scan:PINSupport>false<"); // from outside
    EXPECT_EQ(request(0), settled);
    const auto usb = request(-1);
    EXPECT_NE(usb.first, settled.first);
    EXPECT_EQ(request(-1), usb);
    EXPECT_EQ(request(-1), usb);
    EXPECT_EQ(request(0), settled);
    tree.put("tmp/ftdram.txt", "257");
    EXPECT_EQ(texts(request(0).first, "scan:MaxHeight").at(0), "4200");
}

TEST_F(Capabilities, edit_without_read_back_and_without_a_file) {
    EXPECT_EQ(eSCL_GetScanCapa2(nullptr, nullptr, 0), 0);
    EXPECT_EQ(texts(tree.get(file), "scan:AdfOption").size(), 4U);
    tree.remove(file);
    char *block = nullptr;
    uint32_t length = 77;
    EXPECT_EQ(eSCL_GetScanCapa2(&block, &length, 0), -1);
    EXPECT_EQ(eSCL_GetScanCapa(&block, &length, 0), 0);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(block, nullptr);
    // A template without the edited elements is served as it is.
    const std::string bare = "<?xml version=\"1.0\"?>\n<scan:ScannerCapabilities><scan:Odd/>"
                             "</scan:ScannerCapabilities>\n";
    tree.put(file, bare);
    EXPECT_EQ(get_capabilities(0), bare);
}

} // namespace
