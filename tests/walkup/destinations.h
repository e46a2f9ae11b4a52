/// Destinations as the tests post and read them.
#pragma once

#include "tests/walkup/walkup_fixture.h"

namespace varn::test {

inline const std::string tickets = "tmp/xml_tickets/WalkupScanToComp/";
inline const std::string destinations_path = "/WalkupScanToComp/WalkupScanToCompDestinations/";

inline std::string escaped(const std::string &text) {
    std::string result;
    for (const char c : text)
        result += c == '&' ? "&amp;" : c == '<' ? "&lt;" : std::string(1, c);
    return result;
}

/// A document to be posted; an empty text leaves its element out.
inline std::string destination(const std::string &name, const std::string &hostname,
                               const std::string &link, const std::vector<std::string> &custom = {},
                               const std::string &pin = "") {
    const auto element = [](const char *tag, const std::string &text) {
        return text.empty() ? "" : std::string("<") + tag + ">" + escaped(text) + "</" + tag + ">";
    };
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><wus:WalkupScanToCompDestination";
    const std::string base = "=\"http://schemas.varn.example/schemas/imaging/con/";
    xml += " xmlns:wus" + base + "varn/walkupscan/2010/09/28\"";
    xml += " xmlns:dd" + base + "dictionaries/1.0/\"";
    xml += " xmlns:dd3" + base + "dictionaries/2009/04/06\">";
    xml += element("dd:Name", name) + element("dd3:Hostname", hostname);
    xml += element("wus:LinkType", link);
    if (!custom.empty()) {
        xml += "<wus:CustomShortcuts>";
        for (const std::string &each : custom)
            xml += element("wus:CustomShortcut", each);
        xml += "</wus:CustomShortcuts>";
    }
    xml += element("wus:PIN", pin) + "</wus:WalkupScanToCompDestination>";
    return with_schema_hosts(xml);
}

class DestinationTest : public WalkupTest {
protected:
    int32_t create(const std::string &xml, int32_t check_limit = 1) {
        char *uuid = nullptr;
        const int32_t result = VARN_CreateWalkupScanDestination(xml.c_str(), &uuid, check_limit);
        uuid_ = uuid != nullptr ? uuid : "";
        return result;
    }
    std::string get(const char *uri) {
        const std::string xml = document([&](char **out, uint32_t *length) {
            return VARN_GetWalkupScanDestination(uri, out, length);
        });
        if (!xml.empty()) {
            EXPECT_EQ(schema_fault(xml), "");
        }
        return xml;
    }
    std::string get_list() { return get(nullptr); }
    std::string event() {
        return text_of(tree.get(tickets + "WalkupScanToCompEvent.xml"),
                       "wus:WalkupScanToCompEventType");
    }
    std::string uuid_; ///< of the last create
};

} // namespace varn::test
