/// Sender, subject, body and mail server: a few fields of one profile.

#include "tests/digitalsend/engine_store.h"

using namespace varn::test;

namespace {

class Email : public StoreTest {
protected:
    static int32_t put(const std::string &elements) {
        return VARN_PutEmailDyn(request("emaildyn:EmailSettings", elements).c_str());
    }
    static int32_t put_server(const std::string &elements) {
        return VARN_PutEmailServiceDyn(request("emaildyn:CommonEmailServerDyn", elements).c_str());
    }
    static std::string &profile() { return store.profiles[0]; }
};

std::string element(const std::string &name, const std::string &text) {
    return "<" + name + ">" + text + "</" + name + ">";
}

TEST_F(Email, EachElementHasItsFieldAndLeavesTheOthersAlone) {
    const std::string e_acute = "\xC3\xA9";
    const struct {
        bool server;
        std::string elements;
        size_t offset;
        size_t width;
        std::string stored;
    } rows[] = {
        {false, element("emaildyn:FromAddress", element("dd:EmailAddress", "a&amp;b@c.example")),
         5052, 128, "a&b@c.example"},
        {false, element("emaildyn:EmailSubject", "Caf" + e_acute), 5708, 256, "Caf" + e_acute},
        {false, element("emaildyn:EmailBodyText", "one\ntwo"), 5452, 256, "one\ntwo"},
        {false, element("emaildyn:EmailSubject", std::string(300, 's')), 5708, 256,
         std::string(255, 's')},
        {false, element("emaildyn:EmailSubject", std::string(254, 's') + e_acute), 5708, 256,
         std::string(254, 's')},
        {true,
         element("dsd2:SMTPServerSettings",
                 element("dd3:NetworkID", std::string(200, 'n')) + element("dd:UseSSL", "true")),
         5180, 136, std::string(135, 'n')},
        {true, element("dsd2:SMTPServerSettings", element("dd:Port", "25")), 5316, 2, "\x19"},
    };
    for (const auto &row : rows) {
        profile() = std::string(5984, '\x5A');
        std::string expected = profile();
        EXPECT_EQ((row.server ? put_server : put)(row.elements), 0) << row.elements;
        expected.replace(row.offset, row.width, row.width, '\0');
        expected.replace(row.offset, row.stored.size(), row.stored);
        EXPECT_EQ(profile(), expected) << row.elements;
    }
}

TEST_F(Email, OnlyTheMappedElementsAreShown) {
    EXPECT_EQ(put(element("emaildyn:EmailSigning", "enabled") +
                  element("emaildyn:FromAddress", element("dd:EmailAddress", "a@b.example") +
                                                      element("dd:DisplayName", "Ann")) +
                  element("emaildyn:EmailSubject", "&lt;S&gt;")),
              0);
    const std::string settings = document(VARN_GetEmailDyn);
    EXPECT_EQ(text_of(settings, "dd:EmailAddress"), "a@b.example");
    EXPECT_EQ(text_of(settings, "emaildyn:EmailSubject"), "&lt;S&gt;");
    EXPECT_EQ(text_of(settings, "emaildyn:EmailBodyText"), "");
    EXPECT_EQ(text_of(settings, "dd:DisplayName"), "absent");
    EXPECT_EQ(text_of(settings, "emaildyn:EmailSigning"), "absent");

    EXPECT_EQ(
        put_server(element("dsd2:SMTPServerSettings", element("dd3:NetworkID", "mail.example") +
                                                          element("dd:Port", "40000") +
                                                          element("dd:MaxAttachmentSize", "9"))),
        0);
    const std::string server = document(VARN_GetEmailServiceDyn);
    EXPECT_EQ(text_of(server, "dd3:NetworkID"), "mail.example");
    EXPECT_EQ(text_of(server, "dd:Port"), "40000");
    EXPECT_EQ(text_of(server, "dd:MaxAttachmentSize"), "absent");
    EXPECT_EQ(text_of(document(VARN_GetEmailDyn), "dd:EmailAddress"), "a@b.example");
}

TEST_F(Email, WhatCannotBeReadChangesNothing) {
    for (const std::string &xml : {std::string(), std::string("text"),
                                   request("emaildyn:EmailSettings", "<emaildyn:EmailSubject>"),
                                   request("x", "<stranger/>")}) {
        EXPECT_EQ(VARN_PutEmailDyn(xml.c_str()), -1) << xml;
        EXPECT_EQ(VARN_PutEmailServiceDyn(xml.c_str()), -1) << xml;
    }
    EXPECT_EQ(VARN_PutEmailDyn(nullptr), -1);
    EXPECT_EQ(VARN_PutEmailServiceDyn(nullptr), -1);
    store.profiles.erase(0);
    EXPECT_EQ(put(element("emaildyn:EmailSubject", "s")), 0);
    EXPECT_TRUE(store.writes.empty());
    EXPECT_EQ(text_of(document(VARN_GetEmailServiceDyn), "dd:Port"), "0");
}

/// The record is the engine's: nothing in it may spoil the document.
TEST_F(Email, BytesThatNoDocumentHoldsAreMarked) {
    const std::string bytes = "a\x01\xFF\xC3(\xED\xA0\x80z\xC3\xA9\xF0\x9F\x93\xA0\xE2\x82";
    profile().replace(5052, bytes.size(), bytes);
    profile().replace(5708, 256, 256, 's'); // no end
    const std::string settings = document(VARN_GetEmailDyn);
    EXPECT_EQ(text_of(settings, "dd:EmailAddress"), "a\?\?\?(\?\?\?z\xC3\xA9\xF0\x9F\x93\xA0\?\?");
    EXPECT_EQ(text_of(settings, "emaildyn:EmailSubject"), std::string(256, 's'));
}

} // namespace
