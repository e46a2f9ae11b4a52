/// Send-to-USB: default job, its path, and the jobs that are only documents.

#include "tests/digitalsend/engine_store.h"

#include <set>

using namespace varn::test;

namespace {

std::string element(const std::string &name, const std::string &text) {
    return "<" + name + ">" + text + "</" + name + ">";
}

class SendUsb : public StoreTest {
protected:
    static std::string &profile() { return store.profiles[1]; }
    static int32_t put(const std::string &elements) {
        return VARN_PutSendUSBServiceDyn(request("susb:SendUSBServiceDyn", elements).c_str());
    }
    static int32_t put_job(const std::string &elements) {
        return put(element("susb:DefaultJob", elements));
    }
    static int32_t put_scan(const std::string &elements) {
        return put_job(element("dsd:ScanSettings", elements));
    }
    static int32_t put_attachment(const std::string &elements) {
        return put_job(element("dsd:AttachmentSettings", elements));
    }
    static int32_t put_path(const std::string &path) {
        return put_job(element("susb:Destination", element("susb:Path", path)));
    }
    static int byte(size_t offset) { return static_cast<unsigned char>(profile()[offset]); }
    static std::string get() { return document(VARN_GetSendUSBServiceDyn); }
};

TEST_F(SendUsb, ExposureLevels) {
    const uint32_t exposures[] = {2000, 1750, 1500, 1250, 1003, 750, 500, 250, 0};
    for (uint32_t level = 1; level <= 9; ++level) {
        EXPECT_EQ(map_exposure2MVT(level), exposures[level - 1]);
        EXPECT_EQ(map_exposure2VARN(exposures[level - 1]), level);
    }
    for (const uint32_t other : {0U, 10U, 0xFFFFFFFFU})
        EXPECT_EQ(map_exposure2MVT(other), 1003U);
    for (const uint32_t other : {1U, 999U, 2001U})
        EXPECT_EQ(map_exposure2VARN(other), 5U);
    EXPECT_NE(log_of([] { map_exposure2VARN(999); }).find(" cant find 999, map to 5\n"),
              std::string::npos);
}

TEST_F(SendUsb, DefaultJobIsShownFromItsBytes) {
    const struct {
        size_t offset;
        uint16_t value;
        const char *tag;
        const char *shown;
    } rows[] = {
        {986, 2000, "dd:Exposure", "1"},
        {986, 999, "dd:Exposure", "5"},
        {962, 1, "dd:ScanMediaSize", "letter"},
        {962, 2, "dd:ScanMediaSize", "legal"},
        {962, 25, "dd:ScanMediaSize", "any"},
        {962, 3, "dd:ScanMediaSize", "a4"},
        {976, 1, "dsd:AutoStraighten", "on"},
        {976, 2, "dsd:AutoStraighten", "off"},
        {978, 1, "dd:ScanPlexMode", "Duplex"},
        {978, 2, "dd:ScanPlexMode", "Simplex"},
        {956, 3, "dd:DSColorPreference", "autoDetect"},
        {956, 2, "dd:DSColorPreference", "color"},
        {956, 4, "dd:DSColorPreference", "absent"},
        {957, 1, "dd:DSFileType", "pdf"},
        {957, 2, "dd:DSFileType", "tiff"},
        {957, 3, "dd:DSFileType", "absent"},
        {958, 5, "dd:DSAttachmentSize", "large"},
        {958, 7, "dd:DSAttachmentSize", "standard"},
        {958, 8, "dd:DSAttachmentSize", "small"},
        {960, 600, "dd:DSImageResolution", "600dpi"},
        {960, 100, "dd:DSImageResolution", "absent"},
        {983, 1, "dd:MonochromeTiffCompression", "G4"},
        {983, 2, "dd:MonochromeTiffCompression", "G3"},
    };
    for (const auto &row : rows) {
        profile().assign(5984, '\0');
        if (row.offset == 960 || row.offset == 986)
            put_number(profile(), row.offset, row.value);
        else
            profile()[row.offset] = static_cast<char>(row.value);
        EXPECT_EQ(text_of(get(), row.tag), row.shown) << row.offset << " " << row.value;
    }
    profile()[957] = 1;
    profile()[982] = 1;
    EXPECT_EQ(text_of(get(), "dd:DSFileType"), "pdfa");
    profile()[957] = 2;
    profile()[981] = 1;
    profile().replace(696, 4, "scan");
    profile().replace(4664, 260, 260, 'p');
    const std::string shown = get();
    EXPECT_EQ(text_of(shown, "dd:DSFileType"), "mtiff");
    EXPECT_EQ(text_of(shown, "dd:FileName"), "scan");
    EXPECT_EQ(text_of(shown, "susb:Path"), std::string(260, 'p'));
    EXPECT_EQ(text_of(shown, "dd:ColorGrayscaleTiffCompression"), "TiffPost6");
}

TEST_F(SendUsb, TheSwitchIsShownAndNeverSet) {
    EXPECT_EQ(text_of(get(), "susb:SendUSBServiceEnabled"), "disabled");
    EXPECT_EQ(put(element("susb:SendUSBServiceEnabled", "enabled")), 0);
    EXPECT_EQ(text_of(get(), "susb:SendUSBServiceEnabled"), "disabled");
    store.blocks[3][1684] = 1;
    EXPECT_EQ(text_of(get(), "susb:SendUSBServiceEnabled"), "enabled");
    EXPECT_EQ(store.writes, std::vector<std::string>{"profile 1 5984"});
}

TEST_F(SendUsb, ScanSettings) {
    const struct {
        uint8_t media_before;
        std::string elements;
        int media, straighten;
    } rows[] = {
        {25, element("dd:ScanMediaSize", "letter"), 1, 0},
        {0, element("dd:ScanMediaSize", "any"), 25, 1},
        {25, element("dd:ScanMediaSize", "foolscap"), 0, 0},
        {25, "", 25, 1},
        {2, "", 2, 0},
    };
    for (const auto &row : rows) {
        profile()[962] = static_cast<char>(row.media_before);
        profile()[976] = 7;
        EXPECT_EQ(put_scan(row.elements), 0);
        EXPECT_EQ(byte(962), row.media) << row.elements;
        EXPECT_EQ(byte(976), row.straighten) << row.elements;
        EXPECT_EQ(byte(991), 0);
    }
    EXPECT_EQ(put_scan(element("dd:Exposure", "9") + element("dd:ScanPlexMode", "Duplex")), 0);
    EXPECT_EQ(number_at<uint16_t>(profile(), 986), 0);
    EXPECT_EQ(byte(978), 1);
    EXPECT_EQ(put_scan(element("dd:Exposure", "77") + element("dd:ScanPlexMode", "Simplex")), 0);
    EXPECT_EQ(number_at<uint16_t>(profile(), 986), 1003);
    EXPECT_EQ(byte(978), 0);
}

TEST_F(SendUsb, AttachmentSettings) {
    // Bytes 956 colour, 957 type, 958 class, 981 multi-page, 982 PDF/A, 983 TIFF option.
    using Bytes = std::vector<int>;
    const struct {
        Bytes before;
        std::string elements;
        Bytes after;
    } rows[] = {
        {{2, 1, 6, 1, 1, 1}, element("dd:DSFileType", "jpeg"), {2, 0, 6, 0, 1, 1}},
        {{2, 0, 6, 0, 1, 1}, element("dd:DSFileType", "pdf"), {2, 1, 6, 1, 0, 1}},
        {{2, 0, 6, 0, 0, 1}, element("dd:DSFileType", "pdfa"), {2, 1, 6, 1, 1, 1}},
        {{0, 0, 6, 1, 1, 1}, element("dd:DSFileType", "tiff"), {0, 2, 6, 0, 1, 1}},
        {{2, 0, 6, 0, 1, 1}, element("dd:DSFileType", "mtiff"), {2, 2, 6, 1, 1, 1}},
        {{2, 1, 6, 1, 1, 1}, element("dd:DSFileType", "text"), {2, 1, 6, 1, 1, 1}},
        {{0, 0, 6, 0, 0, 0}, "", {1, 0, 6, 0, 0, 0}},
        {{2, 0, 6, 0, 0, 0}, element("dd:DSColorPreference", "monochrome"), {1, 0, 6, 0, 0, 0}},
        {{2, 1, 6, 0, 1, 0}, element("dd:DSColorPreference", "monochrome"), {0, 1, 6, 0, 1, 0}},
        {{0, 2, 6, 0, 1, 0}, element("dd:DSColorPreference", "grayscale"), {1, 2, 6, 0, 1, 0}},
        {{2, 1, 6, 0, 1, 0}, element("dd:DSColorPreference", "autoDetect"), {3, 1, 6, 1, 0, 0}},
        {{2, 2, 6, 0, 1, 0}, element("dd:DSColorPreference", "autoDetect"), {3, 2, 6, 0, 0, 0}},
        {{2, 0, 6, 0, 1, 0}, element("dd:DSColorPreference", "autoDetect"), {3, 0, 6, 0, 1, 0}},
        {{2, 0, 7, 0, 0, 0}, element("dd:DSAttachmentSize", "standard"), {2, 0, 7, 0, 0, 0}},
        {{2, 0, 8, 0, 0, 0}, element("dd:DSAttachmentSize", "standard"), {2, 0, 6, 0, 0, 0}},
        {{2, 0, 5, 0, 0, 0}, element("dd:DSAttachmentSize", "standard"), {2, 0, 6, 0, 0, 0}},
        {{2, 0, 9, 0, 0, 0}, element("dd:DSAttachmentSize", "small"), {2, 0, 9, 0, 0, 0}},
        {{2, 0, 7, 0, 0, 0}, element("dd:DSAttachmentSize", "small"), {2, 0, 8, 0, 0, 0}},
        {{2, 0, 5, 0, 0, 0}, element("dd:DSAttachmentSize", "large"), {2, 0, 5, 0, 0, 0}},
        {{2, 0, 6, 0, 0, 0}, element("dd:DSAttachmentSize", "large"), {2, 0, 3, 0, 0, 0}},
        {{2, 0, 6, 0, 0, 0}, element("dd:MonochromeTiffCompression", "G4"), {2, 0, 6, 0, 0, 1}},
        {{2, 0, 6, 0, 0, 1}, element("dd:MonochromeTiffCompression", "Lzw"), {2, 0, 6, 0, 0, 0}},
    };
    constexpr size_t offsets[] = {956, 957, 958, 981, 982, 983};
    for (const auto &row : rows) {
        for (size_t i = 0; i < row.before.size(); ++i)
            profile()[offsets[i]] = static_cast<char>(row.before[i]);
        profile()[991] = 0;
        EXPECT_EQ(put_attachment(row.elements), 0) << row.elements;
        Bytes after;
        for (const size_t offset : offsets)
            after.push_back(byte(offset));
        EXPECT_EQ(after, row.after) << row.elements;
        EXPECT_EQ(byte(991), 2);
    }
    const std::pair<const char *, int> resolutions[] = {
        {"150dpi", 150}, {"200dpi", 200}, {"600dpi", 600}, {"75dpi", 300}, {"300dpi", 300}};
    for (const auto &[word, number] : resolutions) {
        EXPECT_EQ(put_attachment(element("dd:DSImageResolution", word)), 0);
        EXPECT_EQ(number_at<uint16_t>(profile(), 960), number) << word;
    }
    EXPECT_EQ(put_attachment(element("dd:FileName", std::string(300, 'f'))), 0);
    EXPECT_EQ(text_at(profile(), 696), std::string(259, 'f'));
}

TEST_F(SendUsb, PathsThatNoDriveTakesChangeNothing) {
    const std::string kept = profile();
    for (const char *path : {"scans.2024", "\\ZQSCANS", "a*", "a?", "c:", "&quot;", "&lt;", "&gt;",
                             "a|b", "B\xC3\xBCro", "\xE2\x82\xAC", "&#x141;", "&#321;a"}) {
        EXPECT_EQ(put_path(path), -1) << path;
        EXPECT_EQ(profile(), kept) << path;
    }
    for (const char *path : {"", "scans/2024 July", "a&#10;b"})
        EXPECT_EQ(put_path(path), 0) << path;
    EXPECT_EQ(text_at(profile(), 4664), "a\nb");
    EXPECT_EQ(put_path(std::string(300, 'p')), 0);
    EXPECT_EQ(text_at(profile(), 4664), std::string(259, 'p'));

    // What was stored before counts as well, behind its end only for bytes that are not ASCII.
    profile().replace(4664, 7, "p\0.\0:\0*", 7);
    EXPECT_EQ(put_scan(""), 0);
    profile()[4664 + 259] = '\x80';
    EXPECT_EQ(put_scan(""), -1);
}

TEST_F(SendUsb, WhatCannotBeReadChangesNothing) {
    EXPECT_EQ(VARN_PutSendUSBServiceDyn(nullptr), -1);
    EXPECT_EQ(VARN_PutSendUSBServiceDyn(""), -1);
    EXPECT_EQ(put("<susb:Stranger/>"), -1);
    EXPECT_EQ(put("<susb:DefaultJob>"), -1);
    EXPECT_TRUE(store.writes.empty());
    store.takes = false;
    EXPECT_EQ(put_path("a"), -1);
    store.profiles.erase(1);
    store.writes.clear();
    EXPECT_EQ(put_path("a"), -1);
    EXPECT_TRUE(store.writes.empty());
}

TEST_F(SendUsb, PostedJobsGetAnIdentifierAndAreKeptNowhere) {
    const std::string before = document(VARN_GetSendUSBServicePredefinedJobs);
    tree.remove("tmp/xml_tickets/DevMgmt/SendUSB/PredefinedJobs.xml");
    const std::string job = request("susb:PredefinedJob",
                                    element("dsd:ScanSettings", element("dd:Exposure", "3")) +
                                        element("susb:Destination", element("susb:Path", "here")) +
                                        element("dsd:DisplaySettings", element("dd:Name", "N")));
    std::set<std::string> identifiers;
    for (int i = 0; i < 3; ++i) {
        char uuid[64];
        memset(uuid, 'x', sizeof uuid);
        EXPECT_EQ(VARN_PostSendUSBServicePredefinedJobs(job.c_str(), uuid), 0);
        EXPECT_EQ(strnlen(uuid, sizeof uuid), 36U);
        identifiers.insert(uuid);
    }
    EXPECT_EQ(identifiers.size(), 3U);
    EXPECT_TRUE(tree.has("tmp/xml_tickets/DevMgmt/SendUSB/PredefinedJobs.xml"));
    EXPECT_EQ(document(VARN_GetSendUSBServicePredefinedJobs), before);
    EXPECT_EQ(texts(before, "susb:Path"), (std::vector<std::string>{"\\ZQSCANS", "\\ZQSCANS"}));
    EXPECT_TRUE(store.writes.empty());
    char uuid[64] = "as before";
    EXPECT_EQ(VARN_PostSendUSBServicePredefinedJobs("<a>", uuid), -1);
    EXPECT_EQ(VARN_PostSendUSBServicePredefinedJobs(nullptr, uuid), -1);
    EXPECT_STREQ(uuid, "as before");
}

TEST_F(SendUsb, StaticDocumentsAreTheirTickets) {
    const struct {
        int32_t (*get)(char **, uint32_t *);
        const char *name;
    } rows[] = {{VARN_GetSendUSBServiceCap, "SendUSB/SendUSBServiceCap.xml"},
                {VARN_GetSendUSBServiceManifest, "SendUSB/SendUSBServiceManifest.xml"},
                {VARN_GetSharePointCap, "SharePoint/SharePointServiceCap.xml"},
                {VARN_GetSharePointManifest, "SharePoint/SharePointServiceManifest.xml"}};
    for (const auto &row : rows) {
        char *text = nullptr;
        uint32_t length = 0;
        ASSERT_EQ(row.get(&text, &length), 0) << row.name;
        EXPECT_EQ(std::string(text, length),
                  tree.get(std::string("tmp/xml_tickets/DevMgmt/") + row.name));
        free(text);
    }
}

} // namespace
