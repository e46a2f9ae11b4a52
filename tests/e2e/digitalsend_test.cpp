/// Mail, SharePoint and send-to-USB over HTTP: what is sent is stored, shown and kept.

#include "tests/e2e/e2e_fixture.h"

#include <set>

namespace varn::testing {
namespace {

const std::string jobs = "/DevMgmt/SharePoint/PredefinedJobs";

std::string element(const std::string &name, const std::string &text) {
    return "<" + name + ">" + text + "</" + name + ">";
}

std::string document(const std::string &root, const std::string &elements) {
    const struct {
        const char *prefix;
        const char *path;
    } schemas[] = {{"dd", "dictionaries/1.0/"},
                   {"dd3", "dictionaries/2009/04/06"},
                   {"dsd", "digitalsending/2009/02/11"},
                   {"dsd2", "digitalsending/2010/11/22"},
                   {"emaildyn", "varn/emailservicedyn/2010/11/22"},
                   {"folder", "service/folder/2009/02/11"},
                   {"security", "security/2009/02/11"},
                   {"spts", "varn/sharepointservice/2015/01/22"},
                   {"susb", "varn/sendusbservice/2016/07/13"}};
    std::string xml = "<?xml version=\"1.0\"?><" + root;
    for (const auto &schema : schemas)
        xml.append(" xmlns:")
            .append(schema.prefix)
            .append("=\"http://schemas.varn.example/schemas/imaging/con/")
            .append(schema.path)
            .append("\"");
    return xml + ">" + elements + "</" + root + ">";
}

std::string job(const std::string &name, const std::string &elements = {}) {
    return document("folder:PredefinedJob",
                    elements + element("dsd:DisplaySettings", element("dd:Name", name)));
}

std::string credentials(const std::string &password) {
    return element(
        "folder:SendFolderDestinations",
        element("folder:SendSharePointDestination",
                element("folder:SharePointPath", "https://share.example/scans") +
                    element("security:AuthenticationSettings",
                            element("security:CredentialType", "zq_windowsNegotiated_v1") +
                                element("security:WindowsAuthenticationSettings",
                                        element("dd:Password", password)))));
}

class DigitalSend : public ScannerTest {
protected:
    /// As a program on the scanner's own machine asks.
    std::string ask_here(const std::string &method, const std::string &path,
                         const std::string &body = {}) {
        RawConnection connection(scanner_.port());
        connection.send(method + " " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                        std::to_string(body.size()) + "\r\n\r\n" + body);
        return connection.receive();
    }
    int ask(const std::string &method, const std::string &path, const std::string &body = {}) {
        return status_of(ask_here(method, path, body));
    }
    /// Path of what a POST made; empty when it made nothing.
    std::string made(const std::string &path, const std::string &body) {
        const std::string answer = ask_here("POST", path, body);
        const std::string location = field_of(answer, "Location");
        if (status_of(answer) != 201)
            return {};
        return location.substr(std::min(location.find('/', 8), location.size()));
    }
    bool shows(const std::string &path, const std::string &text) {
        return ask_here("GET", path).find(text) != std::string::npos;
    }
    /// Names of the jobs, in their order.
    std::vector<std::string> names() {
        const std::string list = ask_here("GET", jobs);
        const std::string tag = "<dd:Name>";
        std::vector<std::string> found;
        for (auto at = list.find(tag); at != std::string::npos; at = list.find(tag, at + 1))
            found.push_back(list.substr(at + tag.size(), list.find('<', at + 1) - at - tag.size()));
        return found;
    }
    void restart() {
        ASSERT_EQ(scanner_.stop(), 0);
        scanner_.start();
        ASSERT_TRUE(scanner_.ready());
    }
};

TEST_F(DigitalSend, TwentyJobsAreStoredClonedTestedAndDeleted) {
    std::vector<std::string> paths;
    std::vector<std::string> expected;
    for (int i = 0; i < 20; ++i) {
        expected.push_back("job " + std::to_string(i));
        // Every second one is a copy of the one before, under a name of its own.
        paths.push_back(i % 2 == 0 ? made(jobs, job(expected.back(), credentials("word")))
                                   : made(paths.back() + "/Clone", job(expected.back())));
        ASSERT_NE(paths.back(), "") << i;
    }
    EXPECT_EQ((std::set<std::string>(paths.begin(), paths.end()).size()), 20U);
    EXPECT_EQ(names(), expected);
    EXPECT_EQ(ask("POST", jobs, job("one more")), 413);
    EXPECT_EQ(ask("POST", paths[3] + "/Clone", job("one more")), 413);

    restart();
    EXPECT_EQ(names(), expected);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        EXPECT_TRUE(shows(paths[i], element("dd:Name", expected[i])));
        EXPECT_TRUE(shows(paths[i], element("dd:Password", "word"))) << "of the copies, too";
        EXPECT_EQ(ask("POST", paths[i] + "/Test"), 200);
    }
    EXPECT_EQ(ask("PUT", paths[7], job("renamed")), 200);
    expected[7] = "renamed";
    EXPECT_EQ(names(), expected);
    while (!paths.empty()) {
        const std::size_t which = paths.size() / 2;
        EXPECT_EQ(ask("DELETE", paths[which]), 200);
        EXPECT_EQ(ask("GET", paths[which]), 404);
        paths.erase(paths.begin() + static_cast<std::ptrdiff_t>(which));
        expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(which));
        EXPECT_EQ(names(), expected);
    }
    EXPECT_NE(made(jobs, job("again")), "");
}

TEST_F(DigitalSend, AConnectionTestComesToWhatTheServerSays) {
    const std::string path = made(jobs, job("a"));
    const auto result = [&](const std::string &code) {
        return eventually(
            [&] { return shows(path + "/TestResult", element("dsdyn:TestStatusCode", code)); });
    };
    EXPECT_TRUE(result("ErrorSettingNotTested"));
    const std::pair<const char *, const char *> outcomes[] = {
        {"not-found", "ErrorServerNotFound"},
        {"no-folder", "ErrorInvalidFileOrDirectory"},
        {"wrong-credentials", "ErrorWrongCredentials"},
        {"success", "Success"}};
    for (const auto &[outcome, code] : outcomes) {
        ASSERT_TRUE(scanner_.ctl({"sharepoint", outcome, "100"})) << outcome;
        EXPECT_EQ(ask("POST", path + "/Test"), 200);
        EXPECT_TRUE(result(code)) << outcome;
    }
    ASSERT_TRUE(scanner_.ctl({"sharepoint", "success", "600000"}));
    EXPECT_EQ(ask("POST", path + "/Test"), 200);
    EXPECT_TRUE(result("ErrorTestInProgress"));
}

TEST_F(DigitalSend, WhatIsNoDocumentOfAResourceChangesNothing) {
    const std::string path = made(jobs, job("kept", credentials("word")));
    ASSERT_NE(path, "");
    const std::string unknown = jobs + "/00000000-0000-0000-0000-000000000000";
    const std::string mail = "/DevMgmt/Email/ScanToEmailDyn.xml";
    const std::string server = "/DevMgmt/Email/CommonEmailServerDyn.xml";
    const std::string service = "/DevMgmt/SharePoint/SharePointService.xml";
    const std::string usb = "/DevMgmt/SendUSB/SendUSBServiceDyn.xml";
    const std::vector<std::string> shown = {jobs, mail, server, service, usb};
    const auto all = [&] {
        std::string bodies;
        for (const std::string &each : shown)
            bodies += get(each).body;
        return bodies;
    };
    const std::string before = all();
    const std::string good = job("other");
    const std::string bodies[] = {"",
                                  "no document",
                                  good.substr(0, good.size() / 2),
                                  good.substr(0, good.size() - 5),
                                  document("dsd:Foreign", element("dsd:Stranger", "1")),
                                  job("other", "<folder:Stranger/>"),
                                  std::string(1 << 20, ' ')};
    for (const std::string &body : bodies) {
        EXPECT_GE(ask("POST", jobs, body), 400) << body.substr(0, 300);
        EXPECT_GE(ask("POST", path + "/Clone", body), 400) << body.substr(0, 300);
        for (const std::string &each : {path, mail, server, service, usb})
            EXPECT_GE(ask("PUT", each, body), 400) << each << body.substr(0, 300);
        EXPECT_GE(ask("POST", "/DevMgmt/SendUSB/PredefinedJobs", body), 400);
    }
    EXPECT_EQ(ask("PUT", unknown, good), 404);
    EXPECT_EQ(ask("POST", unknown + "/Clone", good), 404);
    EXPECT_EQ(ask("POST", unknown + "/Test"), 404);
    EXPECT_EQ(ask("DELETE", unknown), 404);
    EXPECT_EQ(all(), before);
}

TEST_F(DigitalSend, MailAndDefaultsAreKept) {
    const std::string mail = "/DevMgmt/Email/ScanToEmailDyn.xml";
    const std::string server = "/DevMgmt/Email/CommonEmailServerDyn.xml";
    const std::string service = "/DevMgmt/SharePoint/SharePointService.xml";
    const std::string usb = "/DevMgmt/SendUSB/SendUSBServiceDyn.xml";
    const std::string subject = element("emaildyn:EmailSubject", "B\xC3\xBCro &amp; more");
    const std::string port = element("dd:Port", "587");
    const std::string on = element("spts:SharePointServiceEnabled", "enabled");
    const std::string pdf = element("dd:DSFileType", "pdfa");
    const std::string folder = element("susb:Path", "scans");
    const auto attachment = [](const std::string &elements) {
        return element("dsd:AttachmentSettings", elements);
    };
    EXPECT_EQ(ask("PUT", mail, document("emaildyn:EmailSettings", subject)), 200);
    EXPECT_EQ(
        ask("PUT", server,
            document("emaildyn:CommonEmailServerDyn", element("dsd2:SMTPServerSettings", port))),
        200);
    EXPECT_EQ(
        ask("PUT", service,
            document("spts:SharePointService", on + element("spts:DefaultJob", attachment(pdf)))),
        200);
    EXPECT_EQ(ask("PUT", usb,
                  document("susb:SendUSBServiceDyn",
                           element("susb:DefaultJob",
                                   attachment(pdf) + element("susb:Destination", folder)))),
              200);
    EXPECT_EQ(
        ask("PUT", usb,
            document("susb:SendUSBServiceDyn",
                     element("susb:DefaultJob",
                             element("susb:Destination", element("susb:Path", "scans.2024"))))),
        400);
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(shows(mail, subject));
        EXPECT_TRUE(shows(server, port));
        EXPECT_TRUE(shows(service, on));
        EXPECT_TRUE(shows(service, pdf));
        EXPECT_TRUE(shows(usb, pdf));
        EXPECT_TRUE(shows(usb, folder));
        if (i == 0)
            restart();
    }
}

TEST_F(DigitalSend, APostedUsbJobHasAPlaceAndNoContent) {
    const std::string path = made("/DevMgmt/SendUSB/PredefinedJobs",
                                  document("susb:PredefinedJob", element("dd:ResourceURI", "/a")));
    ASSERT_NE(path, "");
    EXPECT_EQ(ask("GET", path), 204);
    EXPECT_EQ(ask("PUT", path, "any"), 204);
    EXPECT_EQ(ask("POST", path + "/Clone"), 204);
    EXPECT_EQ(ask("DELETE", path), 204);
    EXPECT_TRUE(shows("/DevMgmt/SendUSB/PredefinedJobs", "\\ZQSCANS"));
}

} // namespace
} // namespace varn::testing
