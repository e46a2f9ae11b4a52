// The two passwords, and the document that sets that of the web pages.
#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "tests/support/engine_double.h"
#include "varn/frame.h"
#include "varn/security.h"

#include <cstring>
#include <filesystem>
#include <sys/stat.h>

using namespace varn::test;

namespace {

std::string web_block; ///< parameter block 4
int32_t read_result = 0;
int32_t write_result = 0;
int block_writes = 0;

} // namespace

extern "C" int32_t mvtc_read_h1_parameter(uint32_t, void *block, uint32_t size, uint32_t id) {
    if (read_result < 0 || id != 4 || size != web_block.size())
        return std::min(read_result, -1);
    memcpy(block, web_block.data(), size);
    return 0;
}

extern "C" int32_t mvtc_write_h1_parameter(uint32_t, const void *block, uint32_t size, uint32_t) {
    ++block_writes;
    web_block.assign(static_cast<const char *>(block), size);
    return write_result;
}

namespace {

class Security : public DeviceTest {
protected:
    Security() {
        web_block.assign(212, '\x5A');
        set_web_password("");
        read_result = write_result = block_writes = 0;
        // A line that shows every argument as it came.
        put_tool("for word; do printf '<%s>' \"$word\"; done >\"$2\"; echo >>\"$2\"\n");
    }
    void put_tool(const std::string &body) {
        std::filesystem::create_directories(tree / "usr/bin");
        tree.put("usr/bin/mongoose", "#!/bin/sh\n" + body);
        std::filesystem::permissions(tree / "usr/bin/mongoose", std::filesystem::perms::owner_all);
    }
    std::string scratch() const { return (tree / "tmp/panelcheck.txt").string(); }
    std::string line_of(const std::string &password) const {
        return "<-A><" + scratch() + "><" VARN_ADMIN_REALM "><admin><" + password + ">\n";
    }
    int32_t check(const std::string &password) {
        int32_t result = -2;
        log_of([&] { result = VARN_CheckPassword(password.c_str()); });
        return result;
    }
    static void set_web_password(const std::string &password) {
        web_block.replace(172, 40, password + std::string(40 - password.size(), '\0'));
    }
};

TEST_F(Security, the_candidate_is_one_argument_of_the_digest_tool) {
    const std::string marked = "x; touch " + (tree / "tmp/ran").string() + " $(id) '\"`";
    for (const std::string &password : {std::string("secret"), std::string("-A"), marked}) {
        SCOPED_TRACE(password);
        tree.put("etc/user.txt", line_of(password) + "a second line\n");
        EXPECT_EQ(check(password), 1);
        EXPECT_EQ(check(password + "x"), 0);
        EXPECT_EQ(check(""), 0);
    }
    EXPECT_FALSE(tree.has("tmp/ran"));
    struct stat info {};
    ASSERT_EQ(stat(scratch().c_str(), &info), 0) << "is left behind";
    EXPECT_EQ(info.st_mode & 0777, 0600U);
}

TEST_F(Security, what_cannot_be_compared_does_not_match) {
    const std::string longest(
        271 - strlen("mongoose -A /tmp/panelcheck.txt " VARN_ADMIN_REALM " admin "), 'p');
    // The first line of either file ends at 255 characters.
    put_tool("printf '%s' \"$5\" | cut -c 1-40 >\"$2\"\n");
    tree.put("etc/user.txt", std::string(40, 'p') + "\n");
    EXPECT_EQ(check(longest), 1);
    EXPECT_EQ(check(longest + "p"), 0) << "longer than the line";
    EXPECT_EQ(VARN_CheckPassword(nullptr), 0);
    put_tool("exit 1\n");
    EXPECT_EQ(check(longest), 0) << "an earlier candidate's line does not count";
    tree.remove("usr/bin/mongoose");
    EXPECT_EQ(check(longest), 0);
}

TEST_F(Security, without_an_administrator_everything_matches) {
    put_tool("touch " + (tree / "tmp/ran").string() + "\n");
    const struct {
        const char *content; ///< null: no file
        int32_t has_password;
        int32_t match;
        const char *log;
    } rows[] = {
        {nullptr, 0, 0, ": error,open /etc/user.txt fail !\n"},
        {"", 0, 1, ": admin not set password\n"},
    };
    for (const auto &row : rows) {
        tree.remove("etc/user.txt");
        if (row.content != nullptr)
            tree.put("etc/user.txt", row.content);
        const std::string log = log_of([&] {
            EXPECT_EQ(VARN_AdminHasSetPassword(), row.has_password);
            EXPECT_EQ(VARN_CheckPassword("any"), row.match);
        });
        EXPECT_NE(log.find(row.log), log.npos) << log;
    }
    EXPECT_FALSE(tree.has("tmp/ran"));
    tree.put("etc/user.txt", "line");
    EXPECT_EQ(VARN_AdminHasSetPassword(), 1);
}

TEST_F(Security, password_of_the_web_pages) {
    const std::string full(40, 'f'); // no room for its end
    const struct {
        std::string stored;
        std::string candidate;
        int32_t result;
    } rows[] = {
        {"", "any", 1},        {"secret", "secret", 1},  {"secret", "secre", 0},
        {"secret", "", 0},     {"secret", "secretx", 0}, {full, full, 1},
        {full, full + "f", 0},
    };
    for (const auto &row : rows) {
        set_web_password(row.stored);
        EXPECT_EQ(VARN_CheckEWSPassword(row.candidate.c_str()), row.result)
            << row.stored << ' ' << row.candidate;
    }
    EXPECT_EQ(VARN_CheckEWSPassword(nullptr), 0);
    read_result = -1;
    EXPECT_EQ(VARN_CheckEWSPassword("secret"), 0);
}

std::string request(const std::string &children) {
    return with_schema_hosts(
        "<?xml version=\"1.0\"?><secdyn:SecurityDyn"
        " xmlns:secdyn=\"http://schemas.varn.example/schemas/imaging/con/varn/securitydyn/"
        "2008/02/01\""
        " xmlns:dd=\"http://schemas.varn.example/schemas/imaging/con/dictionaries/1.0/\">" +
        children + "</secdyn:SecurityDyn>");
}

std::string password(const std::string &text) {
    return request("<dd:Password>" + text + "</dd:Password>");
}

TEST_F(Security, a_document_sets_the_password_of_the_web_pages) {
    const std::string p39(39, 'p');
    const struct {
        std::string document;
        int32_t result;
        std::string stored;
        int writes;
    } rows[] = {
        {password("new&amp;"), 0, "new&", 1},
        {password(p39), 0, p39, 1},
        {password(p39 + "q"), 0, p39, 1},
        {password("gr\u00fcn"), 0, "gr\u00fcn", 1},
        {password(""), 0, "", 1},
        {request(""), 0, "old", 1},
        {request("<secdyn:ServicePIN>1</secdyn:ServicePIN>"), 0, "old", 1},
        {"<secdyn:", -1, "old", 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.document);
        set_web_password("old");
        block_writes = 0;
        const std::string log =
            log_of([&] { EXPECT_EQ(VARN_PutSecurityDyn(row.document.c_str()), row.result); });
        EXPECT_TRUE(log.starts_with("VARN_PutSecurityDyn\n")) << log;
        if (row.writes > 0) {
            EXPECT_NE(log.find("set_kob_security_dyn_param: Before = old\n"
                               "set_kob_security_dyn_param: After = " +
                               row.stored + "\n"),
                      log.npos)
                << log;
        }
        EXPECT_EQ(web_block.substr(172).c_str(), row.stored);
        EXPECT_EQ(web_block.substr(0, 172), std::string(172, '\x5A'));
        EXPECT_EQ(block_writes, row.writes);
    }
    log_of([&] {
        EXPECT_EQ(VARN_PutSecurityDyn(nullptr), -1);
        write_result = -5;
        EXPECT_EQ(VARN_PutSecurityDyn(password("x").c_str()), -5);
        read_result = -3;
        EXPECT_EQ(VARN_PutSecurityDyn(password("x").c_str()), -3);
    });
}

TEST_F(Security, the_document_shows_a_password_that_is_set) {
    const struct {
        std::string stored;
        std::vector<std::string> shown;
    } rows[] = {{"", {}},
                {"a<b", {"a&lt;b"}},
                {"gr\u00fcn", {"gr\u00fcn"}},
                {"cut \xC3", {"cut ?"}}, // in the middle of a character
                {"\x01", {"?"}},
                {std::string(40, 'f'), {std::string(40, 'f')}}};
    for (const auto &row : rows) {
        set_web_password(row.stored);
        char *text = nullptr;
        uint32_t length = 0;
        ASSERT_EQ(VARN_GetSecurityDyn(&text, &length), 0);
        const std::string document(text, length);
        free(text);
        EXPECT_EQ(schema_fault(document), "");
        EXPECT_EQ(texts(document, "dd:Password"), row.shown);
        EXPECT_EQ(document.find("Version>"), document.npos);
    }
}

} // namespace
