// Ticket files and stored XML values.
#include "tests/support/device_tree.h"
#include "varn/frame.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace varn::test;

namespace {

using Common = DeviceTest;

constexpr char stored[] = "/datafs/stored.xml";
constexpr char stored_content[] = "<?xml version=\"1.0\"?>\n"
                                  "<cap:Top>\n  <cap:Name>old</cap:Name>\n"
                                  "  <cap:Group><cap:Name>inner</cap:Name></cap:Group>\n"
                                  "  <cap:Kept>kept</cap:Kept>\n</cap:Top>\n";

TEST_F(Common, file_is_read_whole_and_terminated) {
    tree.put("datafs/file", std::string("ab\0cd", 5));
    char *block = nullptr;
    uint32_t length = 99;
    ASSERT_EQ(common_read_file_data("/datafs/file", &block, &length), 0);
    EXPECT_EQ(std::string(block, length + 1), std::string("ab\0cd\0", 6));
    free(block);

    tree.put("datafs/empty", "");
    for (const char *path : {"/datafs/empty", "/datafs/missing", "/nowhere/file"}) {
        block = nullptr;
        length = 99;
        EXPECT_EQ(common_read_file_data(path, &block, &length), -1) << path;
        EXPECT_EQ(block, nullptr) << path;
        EXPECT_EQ(length, 99U) << path;
    }
    EXPECT_EQ(common_read_file_data("/datafs/file", nullptr, &length), -1);
}

TEST_F(Common, file_lock_logs_what_fails) {
    EXPECT_EQ(log_of([] { EXPECT_EQ(common_lock_file(-1, "READ", LOCK_EX, "somebody"), -1); }),
              "common_lock_file, fd<0! by somebody\n");
    tree.put("datafs/file", "x");
    const int fd = open((tree / "datafs/file").c_str(), O_RDWR);
    const int other = open((tree / "datafs/file").c_str(), O_RDWR);
    EXPECT_EQ(common_lock_file(fd, "READ", LOCK_EX, "somebody"), 0);
    EXPECT_NE(flock(other, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(common_lock_file(fd, "READ", LOCK_UN, "somebody"), 0);
    EXPECT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
    close(other);
    close(fd);
    constexpr int closed = 900;
    const struct {
        int32_t operation;
        const char *word;
    } rows[] = {{LOCK_EX, "Lock"}, {LOCK_UN, "unLock"}, {LOCK_SH, "unKonwn"}};
    for (const auto &row : rows)
        EXPECT_EQ(
            log_of([&] { EXPECT_EQ(common_lock_file(closed, "READ", row.operation, "me"), -1); }),
            std::string("READ ") + row.word +
                " NG! Bad file descriptor by me fd=" + std::to_string(closed) + "\n");
}

TEST_F(Common, stored_value_is_set_and_read) {
    tree.put("datafs/stored.xml", stored_content);
    char value[2048] = {};
    EXPECT_EQ(common_get_tag_value(stored, "cap:Top", "cap:Group.cap:Name", value), 0);
    EXPECT_STREQ(value, "inner");
    EXPECT_EQ(common_set_tag_value(stored, "cap:Top", "cap:Name", "a <new> one"), 0);
    EXPECT_EQ(common_get_tag_value(stored, "cap:Top", "cap:Name", value), 0);
    EXPECT_STREQ(value, "a <new> one");
    EXPECT_NE(tree.get("datafs/stored.xml").find("<cap:Kept>kept</cap:Kept>"), std::string::npos);

    const std::string before = tree.get("datafs/stored.xml");
    const struct {
        const char *file, *root, *tag, *log;
    } refused[] = {
        {"/datafs/none.xml", "cap:Top", "cap:Name", "#Error: unable to open /datafs/none.xml \n"},
        {stored, "cap:Other", "cap:Name", "#Error: unable to find root cap:Other\n"},
        {stored, "cap:Top", "cap:New", "#Error: unable to find tag cap:New\n"},
    };
    for (const auto &row : refused) {
        std::string log =
            log_of([&] { EXPECT_EQ(common_set_tag_value(row.file, row.root, row.tag, "x"), -1); });
        EXPECT_TRUE(log.ends_with(row.log)) << log;
        log = log_of(
            [&] { EXPECT_EQ(common_get_tag_value(row.file, row.root, row.tag, value), -1); });
        EXPECT_TRUE(log.ends_with(row.log)) << log;
    }
    EXPECT_EQ(tree.get("datafs/stored.xml"), before);
}

TEST_F(Common, fragment_is_merged_by_path) {
    tree.put("datafs/stored.xml", stored_content);
    const std::string log = log_of([] {
        EXPECT_EQ(common_find_and_update_xmlfile("<x><cap:Top>\n <cap:Unknown>1</cap:Unknown>"
                                                 "<cap:Group>\n <cap:Name>  two \n\t words here "
                                                 "</cap:Name></cap:Group></cap:Top></x>",
                                                 "cap:Top", stored),
                  0);
    });
    // The fragment's own top is part of the path, so nothing below it is found in the file.
    EXPECT_NE(log.find("Found cap:Name = two words here\n"), log.npos) << log;
    EXPECT_NE(log.find("unable to find tag x.cap:Top.cap:Unknown\n"), log.npos) << log;
    EXPECT_EQ(tree.get("datafs/stored.xml"), stored_content);

    EXPECT_EQ(common_find_and_update_xmlfile(
                  "<?xml version=\"1.0\"?>\n<cap:Top><cap:Group><cap:Name>two\n words</cap:Name>"
                  "</cap:Group><cap:Name>one</cap:Name><cap:Empty/></cap:Top>",
                  "cap:Top", stored),
              0);
    const std::string merged = tree.get("datafs/stored.xml");
    EXPECT_NE(merged.find("<cap:Name>one</cap:Name>"), merged.npos) << merged;
    EXPECT_NE(merged.find("<cap:Name>two words</cap:Name>"), merged.npos) << merged;
    EXPECT_NE(merged.find("<cap:Kept>kept</cap:Kept>"), merged.npos) << merged;
}

TEST_F(Common, merge_of_values_beyond_its_buffers_is_cut) {
    tree.put("datafs/stored.xml", stored_content);
    std::string words;
    for (int i = 0; i < 200; ++i)
        words += "word" + std::to_string(i) + " ";
    EXPECT_EQ(common_find_and_update_xmlfile(
                  ("<?xml version=\"1.0\"?><cap:Top><cap:Name>" + words + "</cap:Name></cap:Top>")
                      .c_str(),
                  "cap:Top", stored),
              0);
    char value[2048] = {};
    EXPECT_EQ(common_get_tag_value(stored, "cap:Top", "cap:Name", value), 0);
    EXPECT_EQ(value, words.substr(0, 511));
}

TEST_F(Common, merge_refuses_what_it_cannot_use) {
    tree.put("datafs/stored.xml", stored_content);
    const struct {
        const char *xml, *root, *file, *log;
    } rows[] = {
        {nullptr, "cap:Top", stored, "common_find_and_update_xmlfile...function para error \n"},
        {"<cap:Top/>", "cap:Top", "/datafs/none", "#Error: unable to open /datafs/none \n"},
        {"<cap:Top/>", "cap:No", stored, "#Error: unable to find root cap:No\n"},
        {"", "cap:Top", stored, "common_find_and_update_xmlfile...tree error \n"},
        {"<other/>", "cap:Top", stored, "common_find_and_update_xmlfile...find node error\n"},
        // The search begins below the fragment's top.
        {"<cap:Top/>", "cap:Top", stored, "common_find_and_update_xmlfile...find node error\n"},
    };
    for (const auto &row : rows) {
        const std::string log = log_of(
            [&] { EXPECT_EQ(common_find_and_update_xmlfile(row.xml, row.root, row.file), -1); });
        EXPECT_TRUE(log.ends_with(row.log)) << log;
    }
    EXPECT_EQ(tree.get("datafs/stored.xml"), stored_content);
}

TEST(RequestText, must_begin_with_a_declaration) {
    for (const char *good : {"<?xml version=\"1.0\"?>", "<?XML", "<?xmlanything"})
        EXPECT_EQ(check_xmlstr_valid(good), 0) << good;
    for (const char *bad : {"<?Xml", " <?xml", "\xEF\xBB\xBF<?xml", "<?xm", "", "<a/>"})
        EXPECT_EQ(check_xmlstr_valid(bad), -1) << bad;
    EXPECT_EQ(check_xmlstr_valid(nullptr), -1);
}

} // namespace
