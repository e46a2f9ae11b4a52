/// The twenty SharePoint jobs and their records.

#include "tests/digitalsend/engine_store.h"

using namespace varn::test;

namespace {

constexpr size_t record_size = 5984;
const std::string uri = "/DevMgmt/SharePoint/PredefinedJobs/";

std::string element(const std::string &name, const std::string &text) {
    return "<" + name + ">" + text + "</" + name + ">";
}

std::string named(const std::string &name) {
    return element("dsd:DisplaySettings", element("dd:Name", name));
}

std::string destination(const std::string &elements) {
    return element("folder:SendFolderDestinations",
                   element("folder:SendSharePointDestination", elements));
}

class SharePointJobs : public StoreTest {
protected:
    static std::string job(const std::string &elements) {
        return request("folder:PredefinedJob", elements);
    }
    static int32_t post(const std::string &elements) {
        return VARN_PostSharePointDynPredefinedjobs(job(elements).c_str());
    }
    /// The identifier of a new job with that name.
    static std::string create(const std::string &name) {
        EXPECT_EQ(post(named(name)), 0);
        char text[40] = {};
        VARN_SP_GetPredefinedjobUUID(text);
        return text;
    }
    static void create_many(int count) {
        for (int i = 0; i < count; ++i)
            create("job " + std::to_string(i));
    }
    static int32_t put(const std::string &id, const std::string &elements) {
        return VARN_PutSharePointPredefinedJobs_id(id.c_str(), job(elements).c_str());
    }
    static std::string get(const std::string &id) {
        return document([&](char **out, uint32_t *length) {
            return VARN_GetSharePointPredefinedJobs_id(id.c_str(), out, length);
        });
    }
    static std::string list() { return document(VARN_GetSharePointPredefinedjobs); }
    static std::vector<std::string> names() { return texts(list(), "dd:Name"); }

    static std::string slot(size_t index) {
        return store.profiles[25].substr(index * record_size, record_size);
    }
    static void set_slot(size_t index, const std::string &record) {
        store.profiles[25].replace(index * record_size, record_size, record);
    }
};

TEST_F(SharePointJobs, ANewJobStandsInItsSlot) {
    const std::string log = log_of([&] {
        EXPECT_EQ(post(named("Minutes &amp; more") + element("dd:ResourceURI", "/else") +
                       destination(element("folder:SharePointPath", "https://s.example/\xC3\xA9") +
                                   element("security:AuthenticationSettings",
                                           element("security:CredentialType", "zq_simple_v1") +
                                               element("security:WindowsAuthenticationSettings",
                                                       element("dd:UserName", "u") +
                                                           element("dd:Password", "&lt;p&gt;") +
                                                           element("dd3:DomainName", "d"))))),
                  0);
    });
    EXPECT_NE(log.find("find empty slot! at 25\n"), std::string::npos) << log;
    const std::string record = slot(0);
    EXPECT_EQ(number_at<uint32_t>(record, 4), 7U);
    EXPECT_EQ(text_at(record, 8), "Minutes & more");
    EXPECT_EQ(text_at(record, 3088), "d");
    EXPECT_EQ(text_at(record, 3600), "https://s.example/\xC3\xA9");
    EXPECT_EQ(text_at(record, 4112), "u");
    EXPECT_EQ(text_at(record, 4240), "<p>");
    EXPECT_EQ(text_at(record, 4368), uri + varn_SP_predefindjob_uuid);
    EXPECT_EQ(number_at<uint32_t>(record, 4624), 3U);
    EXPECT_EQ(store.profiles[25].find_first_not_of('\0', record_size), std::string::npos);

    const std::string shown = get(varn_SP_predefindjob_uuid);
    const std::pair<const char *, std::string> expected[] = {
        {"dd:OriginalContentOrientation", "Portrait"},
        {"dd:FileNameIsEditable", "false"},
        {"dsd:DSFileTypeIsEditable", "true"},
        {"folder:IgnoreServerCertificates", "true"},
        {"folder:SharePointPath", "https://s.example/\xC3\xA9"},
        {"security:CredentialType", "zq_simple_v1"},
        {"dd:UserName", "u"},
        {"dd:Password", "&lt;p&gt;"},
        {"dd3:DomainName", "d"},
        {"dd:Name", "Minutes &amp; more"},
        {"dd:ResourceURI", uri + varn_SP_predefindjob_uuid}};
    for (const auto &[tag, text] : expected)
        EXPECT_EQ(text_of(shown, tag), text) << tag;
}

TEST_F(SharePointJobs, ElementsAndTheirBytes) {
    const std::string scan = "dsd:ScanSettings";
    const std::string attachment = "dsd:AttachmentSettings";
    const struct {
        std::string part, tag, text;
        size_t offset;
        uint32_t stored;
        std::string shown;
    } rows[] = {
        {scan, "dd:Contrast", "1500", 988, 1500, "1500"},
        {scan, "dd:Exposure", "65535", 986, 65535, "65535"},
        {scan, "dd:ScanMediaSize", "letter", 962, 1, "letter"},
        {scan, "dd:ScanMediaSize", "legal", 962, 2, "legal"},
        {scan, "dd:ScanMediaSize", "any", 962, 0, "a4"},
        {scan, "dd:ScanPlexMode", "Duplex", 978, 1, "Duplex"},
        {scan, "dd:ScanPlexMode", "manualDuplex", 978, 0, "Simplex"},
        {attachment, "dd:DSAttachmentSize", "standard", 958, 6, "standard"},
        {attachment, "dd:DSAttachmentSize", "small", 958, 8, "small"},
        {attachment, "dd:DSAttachmentSize", "large", 958, 3, "large"},
        {attachment, "dd:DSColorPreference", "color", 956, 2, "color"},
        {attachment, "dd:DSColorPreference", "grayscale", 956, 1, "grayscale"},
        {attachment, "dd:DSColorPreference", "monochrome", 956, 0, "monochrome"},
        {attachment, "dd:DSColorPreference", "autoDetect", 956, 3, "autoDetect"},
        {attachment, "dd:DSFileType", "jpeg", 957, 0, "jpeg"},
        {attachment, "dd:DSFileType", "pdf", 957, 0, "jpeg"},
        {attachment, "dd:DSFileType", "pdfa", 957, 0, "jpeg"},
        {attachment, "dd:DSFileType", "tiff", 957, 2, "tiff"},
        {attachment, "dd:DSFileType", "mtiff", 957, 2, "mtiff"},
        {attachment, "dd:DSImageResolution", "150dpi", 960, 150, "150dpi"},
        {attachment, "dd:DSImageResolution", "600dpi", 960, 600, "600dpi"},
        {attachment, "dd:DSImageResolution", "75dpi", 960, 0xA5A5, "absent"},
        {attachment, "dd:MonochromeTiffCompression", "G3", 983, 0, "G3"},
        {attachment, "dd:MonochromeTiffCompression", "G4", 983, 1, "G4"},
        {attachment, "dd:MonochromeTiffCompression", "Lzw", 983, 0xA5, "G3"},
    };
    const std::string id = create("x");
    for (const auto &row : rows) {
        const bool wide = row.offset == 960 || row.offset > 983;
        std::string record = slot(0);
        for (const size_t offset : {956, 957, 958, 960, 961, 962, 978, 981, 982, 983, 986, 987})
            record[offset] = '\xA5';
        set_slot(0, record);
        EXPECT_EQ(put(id, element(row.part, element(row.tag, row.text))), 0);
        if (wide)
            put_number(record, row.offset, static_cast<uint16_t>(row.stored));
        else
            record[row.offset] = static_cast<char>(row.stored);
        if (row.stored == 2 && row.tag == "dd:DSFileType")
            record[981] = row.text == "mtiff" ? 1 : 0;
        EXPECT_EQ(slot(0), record) << row.tag << " " << row.text << " and nothing else";
        EXPECT_EQ(text_of(get(id), row.tag), row.shown) << row.tag << " " << row.text;
    }
}

TEST_F(SharePointJobs, RecordsThatNoDocumentWouldMake) {
    const std::string id = create("x");
    const struct {
        size_t offset;
        int value;
        const char *tag;
        const char *shown;
    } rows[] = {
        {960, 100, "dd:DSImageResolution", "absent"},
        {962, 25, "dd:ScanMediaSize", "a4"},
        {958, 7, "dd:DSAttachmentSize", "absent"},
        {956, 4, "dd:DSColorPreference", "absent"},
        {957, 1, "dd:DSFileType", "pdf"},
        {983, 2, "dd:MonochromeTiffCompression", "G3"},
        {4624, 0, "security:CredentialType", "zq_windowsNegotiated_v1"},
        {4624, 1, "security:CredentialType", "zq_windowsNegotiated_v1"},
    };
    for (const auto &row : rows) {
        std::string record = slot(0);
        record[row.offset] = static_cast<char>(row.value);
        set_slot(0, record);
        EXPECT_EQ(text_of(get(id), row.tag), row.shown) << row.offset;
    }
    std::string record = slot(0);
    record.replace(8, 168, 168, 'n');   // no end
    record.replace(4624, 4, 4, '\x02'); // no credential type
    record.replace(4240, 128, 128, 'p');
    set_slot(0, record);
    const std::string shown = get(id);
    EXPECT_EQ(text_of(shown, "dd:Name"), std::string(168, 'n'));
    EXPECT_EQ(text_of(shown, "dd:Password"), std::string(128, 'p'));
}

TEST_F(SharePointJobs, TextsAreCutToTheirFields) {
    const std::string id = create("x");
    const std::string before = slot(0);
    const std::string text(700, 't');
    EXPECT_EQ(put(id, element("dsd:AttachmentSettings", element("dd:FileNamePrefix", text)) +
                          destination(element("folder:SharePointPath", text) +
                                      element("security:AuthenticationSettings",
                                              element("security:CredentialType", "other") +
                                                  element("security:WindowsAuthenticationSettings",
                                                          element("dd:UserName", text) +
                                                              element("dd:Password", text) +
                                                              element("dd3:DomainName", text)))) +
                          named(text)),
              0);
    std::string expected = before;
    const std::pair<size_t, size_t> fields[] = {{8, 168},    {176, 520},  {3088, 512},
                                                {3600, 512}, {4112, 128}, {4240, 128}};
    for (const auto &[offset, width] : fields)
        expected.replace(offset, width, std::string(width - 1, 't') + '\0');
    EXPECT_EQ(slot(0), expected);
}

TEST_F(SharePointJobs, OnlyASharePointDestinationWithWindowsSettingsIsTaken) {
    const std::string id = create("x");
    const std::string before = slot(0);
    const std::string simple =
        element("security:SimpleAuthenticationSettings", element("dd:UserName", "u"));
    EXPECT_EQ(put(id, element("folder:SendFolderDestinations",
                              element("folder:SendFolderDestination", ""))),
              0);
    EXPECT_EQ(put(id, destination(element("security:AuthenticationSettings",
                                          element("security:CredentialType", "none") + simple))),
              0);
    EXPECT_EQ(slot(0), before);
}

TEST_F(SharePointJobs, TwentyAndNoMore) {
    create_many(20);
    EXPECT_EQ(names().size(), 20U);
    const std::string before = store.profiles[25];
    store.writes.clear();
    EXPECT_EQ(post(named("x")), -1);
    char uuid[64] = "as before";
    EXPECT_EQ(
        VARN_CloneSharePointPredefinedJobs_id(job("").c_str(), varn_SP_predefindjob_uuid, uuid),
        413);
    EXPECT_STREQ(uuid, "as before");
    EXPECT_EQ(store.profiles[25], before);
    EXPECT_TRUE(store.writes.empty());
}

TEST_F(SharePointJobs, DeletionClosesTheGap) {
    std::vector<std::string> ids;
    for (const char *name : {"a", "b", "c", "d"})
        ids.push_back(create(name));
    EXPECT_EQ(VARN_DeleteSharePointPredefinedJobs_id(ids[1].c_str()), 0);
    EXPECT_EQ(names(), (std::vector<std::string>{"a", "c", "d"}));
    EXPECT_EQ(slot(3), std::string(record_size, '\0'));
    EXPECT_EQ(VARN_DeleteSharePointPredefinedJobs_id(ids[3].c_str()), 0);
    EXPECT_EQ(names(), (std::vector<std::string>{"a", "c"}));
    EXPECT_EQ(VARN_DeleteSharePointPredefinedJobs_id(ids[0].c_str()), 0);
    EXPECT_EQ(VARN_DeleteSharePointPredefinedJobs_id(ids[2].c_str()), 0);
    EXPECT_EQ(list().find("folder:PredefinedJob>"), std::string::npos);
    EXPECT_EQ(store.profiles[25], std::string(119680, '\0'));
}

/// The engine's table need not be what deletions leave.
TEST_F(SharePointJobs, WhatStandsBehindAGapIsTakenOutThere) {
    const std::string id = create("a");
    for (const uint32_t type : {7U, 3U, 0U}) {
        std::string record = slot(0);
        put_number(record, 4, type);
        for (const size_t index : {0, 19}) {
            store.profiles[25].assign(119680, '\0');
            set_slot(index, record);
            EXPECT_EQ(VARN_DeleteSharePointPredefinedJobs_id(id.c_str()), 0);
            EXPECT_EQ(store.profiles[25], std::string(119680, '\0')) << type << " " << index;
        }
        set_slot(0, record);
    }
}

TEST_F(SharePointJobs, AnyPartOfAnIdentifierFindsAJob) {
    create("a");
    const std::string id = create("b");
    EXPECT_EQ(text_of(get(id.substr(9)), "dd:Name"), "b");
    EXPECT_EQ(put(id.substr(0, 30), named("c")), 0);
    EXPECT_EQ(names(), (std::vector<std::string>{"a", "c"}));
    EXPECT_EQ(VARN_PostTestSharePointPredefinedJobs_id(id.c_str()), 0);
    EXPECT_EQ(store.tested, std::vector<uint32_t>{1});
    EXPECT_EQ(VARN_DeleteSharePointPredefinedJobs_id(id.substr(20).c_str()), 0);
    EXPECT_EQ(names(), std::vector<std::string>{"a"});
}

TEST_F(SharePointJobs, UnknownIdentifiers) {
    create("a");
    const std::string before = store.profiles[25];
    store.writes.clear();
    char *out = nullptr;
    uint32_t length = 0;
    constexpr const char *unknown[] = {"00000000-0000-0000-0000-000000000000", nullptr};
    for (const char *id : unknown) {
        EXPECT_EQ(VARN_GetSharePointPredefinedJobs_id(id, &out, &length), 404);
        EXPECT_EQ(VARN_PutSharePointPredefinedJobs_id(id, job(named("x")).c_str()), 0);
        EXPECT_EQ(VARN_DeleteSharePointPredefinedJobs_id(id), 404);
        EXPECT_EQ(VARN_PostTestSharePointPredefinedJobs_id(id), 404);
    }
    char uuid[64];
    EXPECT_EQ(VARN_CloneSharePointPredefinedJobs_id(job("").c_str(), "00", uuid), 404);
    EXPECT_EQ(store.profiles[25], before);
    EXPECT_TRUE(store.writes.empty());
    EXPECT_TRUE(store.tested.empty());
}

TEST_F(SharePointJobs, ACloneIsACopyWithChanges) {
    const std::string id = create("original");
    EXPECT_EQ(put(id, destination(element("folder:SharePointPath", "https://s.example"))), 0);
    char uuid[64];
    memset(uuid, 'x', sizeof uuid);
    const std::string log = log_of([&] {
        EXPECT_EQ(
            VARN_CloneSharePointPredefinedJobs_id(job(named("copy")).c_str(), id.c_str(), uuid), 0);
    });
    for (const std::string &line :
         {std::string("Find it at 0\n"), std::string("Find empty slot at 1, Clone it!\n"),
          "Clone URI is " + uri + uuid + "\n"})
        EXPECT_NE(log.find(line), std::string::npos) << line;
    EXPECT_EQ(names(), (std::vector<std::string>{"original", "copy"}));
    EXPECT_EQ(text_of(get(uuid), "folder:SharePointPath"), "https://s.example");
    EXPECT_EQ(text_of(get(uuid), "dd:ResourceURI"), uri + uuid);
    EXPECT_EQ(VARN_CloneSharePointPredefinedJobs_id(job("").c_str(), id.substr(1).c_str(), uuid),
              404)
        << "a part is not enough";
}

TEST_F(SharePointJobs, ADocumentThatCannotBeReadIsAnEmptyOne) {
    const std::string id = create("a");
    const std::string before = store.profiles[25];
    for (const std::string &xml :
         {std::string("no document"), job(named("b") + "<folder:Stranger/>"),
          job(named("b") + element("dsd:ScanSettings", element("dd:Contrast", "much"))),
          job(named("b")).substr(0, 900)}) {
        EXPECT_EQ(VARN_CheckSharePointDocument("PredefinedJob", xml.c_str()), 400) << xml;
        EXPECT_EQ(VARN_PutSharePointPredefinedJobs_id(id.c_str(), xml.c_str()), 0);
        EXPECT_EQ(store.profiles[25], before) << xml;
    }
    EXPECT_EQ(VARN_PostSharePointDynPredefinedjobs("no document"), 0);
    EXPECT_EQ(names(), (std::vector<std::string>{"a", ""}));
    EXPECT_EQ(VARN_PostSharePointDynPredefinedjobs(nullptr), -1);
    EXPECT_EQ(VARN_PutSharePointPredefinedJobs_id(id.c_str(), nullptr), -1);
    EXPECT_EQ(VARN_CloneSharePointPredefinedJobs_id(nullptr, id.c_str(), nullptr), -1);
}

TEST_F(SharePointJobs, DocumentsAreToldByTheirRoot) {
    const std::string good = job(named("a"));
    const struct {
        const char *root;
        std::string xml;
        int32_t result;
    } rows[] = {
        {"PredefinedJob", good, 0},
        {"SharePointService", good, 400},
        {"PredefinedJob", "<PredefinedJob/>", 0},
        {"PredefinedJob", "<!-- c --><?p?><PredefinedJob/>", 0},
        {"PredefinedJob", "<foreign/>", 400},
        {"PredefinedJob", "", 400},
        {"SharePointService", request("spts:SharePointService", ""), 0},
        {"SharePointService", request("spts:SharePointService", named("a")), 400},
    };
    for (const auto &row : rows)
        EXPECT_EQ(VARN_CheckSharePointDocument(row.root, row.xml.c_str()), row.result) << row.xml;
    EXPECT_EQ(VARN_CheckSharePointDocument("PredefinedJob", nullptr), -1);
}

TEST_F(SharePointJobs, AnEngineThatGivesOrTakesNothing) {
    const std::string id = create("a");
    store.takes = false;
    EXPECT_EQ(post(named("x")), 500);
    EXPECT_EQ(put(id, named("x")), 500);
    EXPECT_EQ(VARN_DeleteSharePointPredefinedJobs_id(id.c_str()), 500);
    store.profiles.erase(25);
    store.writes.clear();
    EXPECT_EQ(names().size(), 0U);
    EXPECT_EQ(post(named("x")), -1);
    EXPECT_EQ(VARN_DeleteSharePointPredefinedJobs_id(id.c_str()), 404);
    EXPECT_TRUE(store.writes.empty());
}

TEST_F(SharePointJobs, CounterAndIdentifierText) {
    const uint32_t before = VARN_SP_GetPredefinedjobID();
    VARN_SP_SetPredefinedjobID();
    EXPECT_EQ(VARN_SP_GetPredefinedjobID(), before + 1);
    VARN_SP_SetPredefinedjobUUID(std::string(60, 'u').c_str());
    char text[40];
    VARN_SP_GetPredefinedjobUUID(text);
    EXPECT_EQ(text, std::string(39, 'u'));
}

} // namespace
