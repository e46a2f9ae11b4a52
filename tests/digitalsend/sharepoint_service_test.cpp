/// Defaults of the SharePoint service, and the result of the connection test.

#include "tests/digitalsend/engine_store.h"

using namespace varn::test;

namespace {

std::string element(const std::string &name, const std::string &text) {
    return "<" + name + ">" + text + "</" + name + ">";
}

class SharePointService : public StoreTest {
protected:
    static int32_t put(const std::string &elements) {
        return VARN_PutSharePointDyn(request("spts:SharePointService", elements).c_str());
    }
    static int32_t put_job(const std::string &part, const std::string &elements) {
        return put(element("spts:DefaultJob", element(part, elements)));
    }
    static std::string get() { return document(VARN_GetSharePointDyn); }
    static std::string &profile() { return store.profiles[4]; }
};

TEST_F(SharePointService, TheSwitchIsOneByteOfItsBlock) {
    store.blocks[4].assign(212, '\x5A');
    for (const auto &[word, byte] : {std::pair{"enabled", 1}, std::pair{"disabled", 0}}) {
        std::string expected = store.blocks[4];
        expected[17] = static_cast<char>(byte);
        EXPECT_EQ(put(element("spts:SharePointServiceEnabled", word)), 0);
        EXPECT_EQ(store.blocks[4], expected);
        EXPECT_EQ(text_of(get(), "spts:SharePointServiceEnabled"), word);
    }
    store.blocks[4][17] = 2;
    const std::string log =
        log_of([] { EXPECT_EQ(text_of(get(), "spts:SharePointServiceEnabled"), "disabled"); });
    EXPECT_NE(log.find("QQ sNetsetting.byEnableSharePoint ==2\n"), std::string::npos);
    EXPECT_EQ(put(""), 0);
    EXPECT_EQ(store.blocks[4][17], 2) << "absent";
}

TEST_F(SharePointService, DefaultsGoTheWayOfAParameter) {
    EXPECT_EQ(put_job("dsd:ScanSettings",
                      element("dd:Contrast", "7") + element("dd:ScanPlexMode", "Duplex")),
              0);
    EXPECT_EQ(store.writes, (std::vector<std::string>{"block 4 212", "block 4 5984"}));
    const std::string shown = get();
    EXPECT_EQ(text_of(shown, "dd:Contrast"), "7");
    EXPECT_EQ(text_of(shown, "dd:ScanPlexMode"), "Duplex");
    EXPECT_EQ(text_of(shown, "dd:OriginalContentOrientation"), "Portrait");
    EXPECT_EQ(text_of(shown, "folder:IgnoreServerCertificates"), "true");
    EXPECT_EQ(text_of(shown, "dd:Name"), "absent");
}

TEST_F(SharePointService, DefaultsThatDifferFromAJob) {
    const struct {
        std::string part, tag, text;
        size_t offset;
        int stored;
        std::string shown, logged;
    } rows[] = {
        {"dsd:AttachmentSettings", "dd:DSFileType", "pdf", 957, 1, "pdf", ""},
        {"dsd:AttachmentSettings", "dd:DSFileType", "pdfa", 982, 1, "pdfa", ""},
        {"dsd:AttachmentSettings", "dd:DSFileType", "pdf", 982, 0, "pdf", ""},
        {"dsd:AttachmentSettings", "dd:DSFileType", "mtiff", 981, 1, "mtiff", ""},
        {"dsd:AttachmentSettings", "dd:DSImageResolution", "400dpi", 960, 300 % 256, "300dpi",
         "detect unknown dd__DSImageResolution 4!! Use 300 as default\n"},
        {"dsd:AttachmentSettings", "dd:MonochromeTiffCompression", "G4", 983, 1, "G4", ""},
        {"dsd:AttachmentSettings", "dd:MonochromeTiffCompression", "Lzw", 983, 0, "G3",
         "detect unknown dd__MonochromeTiffCompression option 3!! Use G3 as default\n"},
        {"dsd:ScanSettings", "dd:ScanMediaSize", "legal", 962, 2, "legal", ""},
        {"dsd:ScanSettings", "dd:ScanMediaSize", "any", 962, 0, "a4",
         "TBD here for dd__ScanMediaSize any!! Use a4 as default\n"},
    };
    for (const auto &row : rows) {
        const std::string log =
            log_of([&] { EXPECT_EQ(put_job(row.part, element(row.tag, row.text)), 0); });
        EXPECT_EQ(static_cast<unsigned char>(profile()[row.offset]), row.stored) << row.text;
        EXPECT_EQ(text_of(get(), row.tag), row.shown);
        EXPECT_NE(log.find(row.logged), std::string::npos) << log;
    }
}

TEST_F(SharePointService, WhatCannotBeReadChangesNothing) {
    profile().assign(5984, '\x5A');
    const auto blocks = store.blocks;
    const auto profiles = store.profiles;
    EXPECT_EQ(VARN_PutSharePointDyn(nullptr), -1);
    EXPECT_EQ(VARN_PutSharePointDyn("text"), 0);
    EXPECT_EQ(put(element("spts:SharePointServiceEnabled", "enabled") + "<spts:Stranger/>"), 0);
    EXPECT_EQ(store.blocks, blocks);
    EXPECT_EQ(store.profiles, profiles);
    store.blocks.clear();
    store.profiles.clear();
    store.writes.clear();
    EXPECT_EQ(put(element("spts:SharePointServiceEnabled", "enabled")), 0);
    EXPECT_TRUE(store.writes.empty());
}

TEST_F(SharePointService, TestResults) {
    const std::pair<int32_t, const char *> rows[] = {{0, "Success"},
                                                     {-1, "ErrorSettingNotTested"},
                                                     {304, "ErrorServerNotFound"},
                                                     {305, "ErrorInvalidFileOrDirectory"},
                                                     {306, "ErrorWrongCredentials"},
                                                     {1, "ErrorTestInProgress"},
                                                     {-2, "ErrorTestInProgress"}};
    const auto result = [] {
        return text_of(document([](char **out, uint32_t *length) {
                           return VARN_GetTestResultSharePointPredefinedJobs_id("any", out, length);
                       }),
                       "dsdyn:TestStatusCode");
    };
    for (const auto &[word, code] : rows) {
        put_number(store.profiles[5566], 0, word);
        EXPECT_EQ(result(), code) << word;
    }
    store.profiles.erase(5566);
    EXPECT_EQ(result(), "ErrorSettingNotTested");
}

} // namespace
