/// The documents beside the scan, over HTTP.

#include "tests/e2e/e2e_fixture.h"

#include <algorithm>
#include <libxml/parser.h>
#include <regex>
#include <sstream>

namespace varn::testing {
namespace {

class Documents : public ScannerTest {};

std::size_t count(const std::string &text, const std::string &word) {
    std::size_t found = 0;
    for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
        ++found;
    return found;
}

bool is_well_formed(const std::string &xml) {
    xmlDoc *document = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "document.xml",
                                     nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR);
    xmlFreeDoc(document);
    return document != nullptr;
}

TEST_F(Documents, AreServedAsXml) {
    const struct {
        const char *path;
        const char *holds;
    } rows[] = {
        {"/DevMgmt/DiscoveryTree.xml", "<varn:DiscoveryTree"},
        {"/DevMgmt/ProductConfigDyn.xml", "<prdcfgdyn2:ProductConfigDyn"},
        {"/DevMgmt/ProductConfigCap.xml", "ProductConfigCap"},
        {"/eSCL/ScannerCapabilities", "<scan:ScannerCapabilities"},
        {"/eSCL/ScannerStatus", "<scan:ScannerStatus"},
    };
    for (const auto &row : rows) {
        const client::HttpAnswer answer = get(row.path);
        EXPECT_EQ(answer.status, 200) << row.path;
        EXPECT_EQ(answer.content_type, "text/xml; charset=utf-8") << row.path;
        EXPECT_TRUE(is_well_formed(answer.body)) << row.path;
        EXPECT_NE(answer.body.find(row.holds), std::string::npos) << row.path;
        EXPECT_NE(get("/resources").body.find(row.path), std::string::npos) << row.path;
    }
}

/// The discovery document leads a host to everything else; what comes with later resources is
/// named here.
TEST_F(Documents, WhatDiscoveryNamesIsThere) {
    const std::string tree = get("/DevMgmt/DiscoveryTree.xml").body;
    int named = 0;
    for (const std::string tag : {"<dd:ResourceURI>", "<varn:ManifestURI>"}) {
        for (auto at = tree.find(tag); at != std::string::npos; at = tree.find(tag, at + 1)) {
            const auto begin = at + tag.size();
            const std::string path = tree.substr(begin, tree.find('<', begin) - begin);
            EXPECT_EQ(get(path).status, 200) << path;
            ++named;
        }
    }
    EXPECT_EQ(named, 15);
}

/// Each method that a manifest names is one that its resource has.
TEST_F(Documents, WhatTheManifestsNameIsThere) {
    int named = 0;
    for (const char *manifest : {"/IoMgmt/IoMgmtManifest.xml", "/DevMgmt/NetAppsSecureManifest.xml",
                                 "/DevMgmt/SendUSB/SendUSBServiceManifest.xml",
                                 "/DevMgmt/SharePoint/SharePointServiceManifest.xml"}) {
        const std::string text = get(manifest).body;
        const std::regex node(R"(<dd:ResourceURI>([^<]+)<|<map:Verb>(\w+)<)");
        std::string path;
        for (std::sregex_iterator word(text.begin(), text.end(), node), end; word != end; ++word) {
            if ((*word)[1].matched) {
                path = (*word)[1];
                continue;
            }
            std::string verb = (*word)[2];
            std::transform(verb.begin(), verb.end(), verb.begin(),
                           [](char c) { return static_cast<char>(std::toupper(c)); });
            const std::string allowed = field_of(ask_raw("OPTIONS", path), "Allow");
            EXPECT_NE((allowed + ",").find(" " + verb + ","), std::string::npos) << path << verb;
            ++named;
        }
    }
    EXPECT_EQ(named, 21);
}

/// The list of resources names the root element of each document.
TEST_F(Documents, AreWhatTheListOfResourcesSays) {
    std::istringstream list(testing::run_program({VARND_PROGRAM, "--resources"}).output);
    int compared = 0;
    for (std::string line; std::getline(list, line);) {
        std::smatch row;
        if (!std::regex_match(line, row,
                              std::regex(R"(\| `(/[^{`]+)` \| GET \| .* \| (\w+:\w+) \| .*)")))
            continue;
        EXPECT_NE(get(row[1]).body.find("<" + row[2].str()), std::string::npos) << line;
        ++compared;
    }
    EXPECT_GT(compared, 15);
}

TEST_F(Documents, CapabilitiesAreOfThisDeviceAndStayAsTheyAre) {
    const std::string first = get("/eSCL/ScannerCapabilities").body;
    EXPECT_EQ(count(first, ">SelectSinglePage<"), 1U);
    EXPECT_NE(first.find(">http://"), std::string::npos);
    EXPECT_EQ(get("/eSCL/ScannerCapabilities").body, first);
    ASSERT_EQ(scanner_.stop(), 0);
    scanner_.start();
    ASSERT_TRUE(scanner_.ready());
    EXPECT_EQ(get("/eSCL/ScannerCapabilities").body, first);
}

TEST_F(Documents, AConfigurationThatWasPutIsThereAfterARestart) {
    const std::string path = "/DevMgmt/ProductConfigDyn.xml";
    EXPECT_EQ(put(path, asset_number("Desk 42")), 200);
    EXPECT_NE(get(path).body.find(">Desk 42<"), std::string::npos);
    ASSERT_EQ(scanner_.stop(), 0);
    scanner_.start();
    ASSERT_TRUE(scanner_.ready());
    EXPECT_NE(get(path).body.find(">Desk 42<"), std::string::npos);
}

/// Without the free memory of the machine, which changes by itself.
std::string settings_part(const std::string &configuration) {
    return configuration.substr(0, configuration.find("<prdcfgdyn:Memory>"));
}

TEST_F(Documents, ARefusedConfigurationChangesNothing) {
    const std::string path = "/DevMgmt/ProductConfigDyn.xml";
    ASSERT_EQ(put(path, asset_number("before")), 200);
    const std::string before = settings_part(get(path).body);
    ASSERT_NE(before.find(">before<"), std::string::npos);
    EXPECT_EQ(put(path, "no document"), 400);
    EXPECT_EQ(put(path, asset_number(std::string(64, 'x'))), 400);
    EXPECT_EQ(put(path, asset_number("x").substr(0, 300)), 400);
    EXPECT_EQ(settings_part(get(path).body), before);
}

TEST_F(Documents, AReadOnlyElementIsNotAllowed) {
    std::string xml = asset_number("x");
    xml.insert(xml.find("<prdcfgdyn2:ProductSettings>"),
               "<prdcfgdyn:ProductInformation xmlns:prdcfgdyn=\"http://schemas.varn.example/"
               "schemas/imaging/con/varn/productconfigdyn/2007/11/05\">"
               "<dd:SerialNumber>1</dd:SerialNumber></prdcfgdyn:ProductInformation>");
    const std::string answer = ask_raw("PUT", "/DevMgmt/ProductConfigDyn.xml", xml);
    EXPECT_EQ(testing::status_of(answer), 405);
    EXPECT_EQ(field_of(answer, "Allow"), "OPTIONS, GET, HEAD, PUT");
}

} // namespace
} // namespace varn::testing
