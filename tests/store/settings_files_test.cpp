/// The XML files on flash.

#include "frame/guards.h"
#include "platform/cfg.h"
#include "tests/support/device_tree.h"
#include "varn/settings_files.h"

#include <functional>

using namespace varn::test;

namespace {

constexpr char declaration[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

/// A record of zeros with texts at their places.
std::string record(std::initializer_list<std::pair<size_t, std::string>> fields) {
    std::string bytes(3000, '\0');
    for (const auto &[offset, text] : fields)
        bytes.replace(offset, text.size(), text);
    return bytes;
}

class SettingsFiles : public DeviceTest {
protected:
    std::string file(const std::string &name) const { return tree.get("datafs/" + name); }
    /// Texts of all elements of that name, as cfg reads them.
    std::vector<std::string> values(const std::string &name, const std::string &element) const {
        const varn::ConfigTree handle((tree / ("datafs/" + name)).c_str());
        std::vector<std::string> texts;
        for (mxml_node_t *node = handle.get();
             (node = cfg_walk_next(node, handle.get(), 1)) != nullptr;) {
            char text[2100] = {};
            if (cfg_get_node_pathname(node, node, text, sizeof text) == 0 && text == element &&
                cfg_get_param_value(node, text, sizeof text) == 0)
                texts.emplace_back(text);
        }
        return texts;
    }
    std::string value(const std::string &name, const std::string &element) const {
        const auto texts = values(name, element);
        return texts.size() == 1 ? texts[0] : std::to_string(texts.size()) + " of them";
    }
    static void add_folder(const std::string &row, const std::string &name,
                           const char *pin = "1234") {
        Add_SMB_xml(row.c_str(), name.c_str(), "//host/share", "user", "word", pin);
    }
    static void add_address(const std::string &row, const std::string &address) {
        Add_AddressBook_xml(record({{0, row}, {20, address}}).data());
    }
};

TEST_F(SettingsFiles, FactoryContent) {
    const struct {
        void (*write)();
        const char *name;
        std::string content;
    } rows[] = {
        {Save_ESMTP_xml_Default, "ESMTP.xml",
         "<netESMTP><EmailAddress/><ServerName/><ServerPort/><Security>ON</Security><UserName/>"
         "<Password/></netESMTP>"},
        {Save_NTPServer_xml_Default, "NTPSetting.xml",
         "<netNTPSetting><NTP_Flag>Disable</NTP_Flag><NTPServer/></netNTPSetting>"},
        {Save_Advanced_xml_Default, "Advanced_setting.xml",
         "<Advanced><IPv4>Enable</IPv4><IPv6>Enable</IPv6><DHCP>Enable</DHCP>"
         "<DHCPv6>Enable</DHCPv6><Bonjour>Enable</Bonjour>"
         "<WS-Discovery>Enable</WS-Discovery><WS-Scan>Enable</WS-Scan>"
         "<Telnet>Enable</Telnet></Advanced>"},
        {Save_SecurityAdmin_xml_Default, "SecurityAdmin.xml", "<netSecuritySetting/>"},
        {Save_ScanSetting_xml_Default, "ScanSettings.xml",
         "<netScanSetting><EnableNetworkFolder>ON</EnableNetworkFolder>"
         "<EnableEmail>ON</EnableEmail><FolderPrefix>scan</FolderPrefix>"
         "<FolderFileType>Scan_PDF</FolderFileType><FolderResolution>DPI_200</FolderResolution>"
         "<FolderColor>SCAN_COLOR</FolderColor>"
         "<FolderStraightenContent>ON</FolderStraightenContent>"
         "<FolderDeleteBlankPage>OFF</FolderDeleteBlankPage>"
         "<FolderMisfeedDetection>ON</FolderMisfeedDetection>"
         "<FolderCombineDocument>ON</FolderCombineDocument>"
         "<EmailSubject>TlVMTA==</EmailSubject><EmailBodyText>TlVMTA==</EmailBodyText>"
         "<EmailPrefix>scan</EmailPrefix><EmaiFileType>Scan_PDF</EmaiFileType>"
         "<EmaiResolution>DPI_200</EmaiResolution><EmaiColor>SCAN_COLOR</EmaiColor>"
         "<EmaiStraightenContent>ON</EmaiStraightenContent>"
         "<EmaiDeleteBlankPage>OFF</EmaiDeleteBlankPage>"
         "<EmaiMisfeedDetection>ON</EmaiMisfeedDetection>"
         "<EmaiCombineDocument>ON</EmaiCombineDocument></netScanSetting>"},
        {Save_AddressBook_xml_Default, "AddressBook.xml", "<netAddressBook/>"},
        {Save_SMB_xml_Default, "Smb.xml", "<netShareFolder/>"},
    };
    for (const auto &row : rows) {
        // As a kill may have left it, and then once more over what is there.
        tree.put(std::string("datafs/") + row.name, "<?xml versi");
        for (int i = 0; i < 2; ++i) {
            const std::string log = log_of(row.write);
            EXPECT_EQ(file(row.name), declaration + row.content) << row.name;
            EXPECT_NE(log.find("_Default() line "), std::string::npos) << log;
        }
    }
}

TEST_F(SettingsFiles, ARecordReplacesItsFile) {
    const std::string body = "first & <second>\r\nthird \xC3\xA9";
    const struct {
        void (*update)(const void *);
        const char *name;
        std::string bytes;
        std::vector<std::pair<const char *, std::string>> expected;
    } rows[] = {
        {update_ESMTP,
         "ESMTP.xml",
         record({{0, "a@b.example"},
                 {128, std::string(256, 'h')}, // fills its field
                 {384, "587"},
                 {394, "OFF"},
                 {404, "<user> & \"co\""},
                 {660, "p<w>&amp;"}}),
         {{"EmailAddress", "a@b.example"},
          {"ServerName", std::string(256, 'h')},
          {"ServerPort", "587"},
          {"Security", "OFF"},
          {"UserName", "<user> & \"co\""},
          {"Password", "p<w>&amp;"}}},
        {update_NTPServer,
         "NTPSetting.xml",
         record({{0, "Enable"}, {10, "time.example"}}),
         {{"NTP_Flag", "Enable"}, {"NTPServer", "time.example"}}},
        {update_Advanced,
         "Advanced_setting.xml",
         record({{0, "a"}, {20, "c"}, {60, "g"}, {70, "h"}}),
         {{"IPv4", "a"}, {"IPv6", ""}, {"DHCP", "c"}, {"WS-Scan", "g"}, {"Telnet", "h"}}},
        {update_SecurityAdmin,
         "SecurityAdmin.xml",
         record({{0, "admin"}, {128, "secret"}}),
         {{"SecurityUser", "admin"}, {"SecurityPassword", "secret"}}},
        {update_ScanSetting,
         "ScanSettings.xml",
         record({{0, "OFF"}, {228, "c3Vi"}, {484, body}, {2532, "mail"}, {2730, "OFF"}}),
         {{"EnableNetworkFolder", "OFF"},
          {"EmailSubject", "c3Vi"},
          {"EmailBodyText", body},
          {"EmailPrefix", "mail"},
          {"EmaiFileType", ""},
          {"EmaiCombineDocument", "OFF"}}},
    };
    for (const auto &row : rows) {
        const std::string log = log_of([&] {
            for (int i = 0; i < 2; ++i)
                row.update(row.bytes.data());
        });
        for (const auto &[element, text] : row.expected)
            EXPECT_EQ(value(row.name, element), text) << element;
        EXPECT_EQ(log.find("secret"), std::string::npos);
        row.update(nullptr);
        EXPECT_EQ(value(row.name, row.expected[0].first), row.expected[0].second);
    }
    EXPECT_NE(file("Advanced_setting.xml").find("<WS-Scan >g</WS-Scan >"), std::string::npos);
    EXPECT_EQ(file("ESMTP.xml").find(declaration), 0U);
}

TEST_F(SettingsFiles, AFileThatIsNotThereOrHasNoParentStaysSo) {
    EXPECT_EQ(Save_xml_Set("", "top", "", "/datafs/none.xml"), 0);
    EXPECT_FALSE(tree.has("datafs/none.xml"));
    Save_NTPServer_xml_Default();
    const std::string before = file("NTPSetting.xml");
    EXPECT_EQ(Save_xml_Set("stranger", "a", "b", "/datafs/NTPSetting.xml"), 0);
    EXPECT_EQ(file("NTPSetting.xml"), before);
    EXPECT_EQ(Save_xml_Set("netNTPSetting", "a", "b", "/datafs/NTPSetting.xml"), 0);
    EXPECT_EQ(value("NTPSetting.xml", "a"), "b");

    for (const std::string &broken : {std::string(), std::string(declaration), std::string("<a")}) {
        tree.put("datafs/Smb.xml", broken);
        add_folder("1", "first");
        EXPECT_EQ(file("Smb.xml"), broken);
        EXPECT_EQ(Del_SMB_xml("1"), -1);
        EXPECT_EQ(Del_AddressBook_xml("1"), -1);
        EXPECT_EQ(Del_ESMTP_xml("a"), -1);
    }
}

TEST_F(SettingsFiles, FoldersAreAddedChangedAndNumberedDensely) {
    Save_SMB_xml_Default();
    for (const char *name : {"first", "se<c>&ond", "third\r"})
        add_folder("new", name, "");
    EXPECT_EQ(file("Smb.xml").find(declaration), 0U);
    EXPECT_EQ(values("Smb.xml", "Row"), (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_EQ(values("Smb.xml", "DisplayName"),
              (std::vector<std::string>{"first", "se<c>&ond", "third"}));
    EXPECT_EQ(values("Smb.xml", "PIN"), (std::vector<std::string>{"NULL", "NULL", "NULL"}));
    EXPECT_TRUE(tree.has("datafs/Smb_temp.xml"));

    const std::string log = log_of([] {
        update_ShareFolder(
            record({{0, "2"}, {20, "&changed"}, {148, "//n"}, {532, "key"}, {660, "99"}}).data());
    });
    EXPECT_NE(log.find("DisplayName=&changed\n"), std::string::npos) << log;
    EXPECT_EQ(log.find("key"), std::string::npos) << log;
    EXPECT_EQ(values("Smb.xml", "DisplayName"),
              (std::vector<std::string>{"first", "&changed", "third"}));
    EXPECT_EQ(values("Smb.xml", "NetworkPath"),
              (std::vector<std::string>{"//host/share", "//n", "//host/share"}));
    EXPECT_EQ(values("Smb.xml", "UserName"), (std::vector<std::string>{"user", "", "user"}));
    EXPECT_EQ(values("Smb.xml", "PIN"), (std::vector<std::string>{"NULL", "99", "NULL"}));
    add_folder("2", "again", "");
    EXPECT_EQ(values("Smb.xml", "PIN"), (std::vector<std::string>{"NULL", "NULL", "NULL"}));

    EXPECT_EQ(Del_SMB_xml("2"), 0);
    EXPECT_EQ(values("Smb.xml", "Row"), (std::vector<std::string>{"1", "2"}));
    EXPECT_EQ(values("Smb.xml", "DisplayName"), (std::vector<std::string>{"first", "third"}));
    EXPECT_EQ(Del_SMB_xml("7"), 0);
    EXPECT_EQ(Del_SMB_xml(nullptr), -1);
    EXPECT_EQ(values("Smb.xml", "Row"), (std::vector<std::string>{"1", "2"}));
}

TEST_F(SettingsFiles, AListTakesFiftyAndClosesEveryGap) {
    Save_AddressBook_xml_Default();
    for (int i = 1; i <= 51; ++i)
        add_address("+", "a" + std::to_string(i));
    std::vector<std::string> addresses = values("AddressBook.xml", "EmailAddress");
    ASSERT_EQ(addresses.size(), 50U);
    EXPECT_EQ(addresses.back(), "a50");
    for (const int row : {50, 1, 25, 25}) {
        EXPECT_EQ(Del_AddressBook_xml(std::to_string(row).c_str()), 0);
        addresses.erase(addresses.begin() + row - 1);
        EXPECT_EQ(values("AddressBook.xml", "EmailAddress"), addresses);
    }
    add_address("+", "last");
    addresses.emplace_back("last");
    EXPECT_EQ(values("AddressBook.xml", "EmailAddress"), addresses);
    const std::vector<std::string> numbers = values("AddressBook.xml", "Row");
    for (size_t i = 0; i < numbers.size(); ++i)
        EXPECT_EQ(numbers[i], std::to_string(i + 1));
}

/// What cannot be stored is not added, and no earlier entry in its place.
TEST_F(SettingsFiles, TextsThatXmlCannotHold) {
    Save_AddressBook_xml_Default();
    add_address("+", "good");
    for (const char *bad : {"\x01", "\xFF", "a\xC3"}) {
        const std::string log = log_of([&] { add_address("+", bad); });
        EXPECT_NE(log.find("unable to open /datafs/AddressBook_temp.xml"), std::string::npos);
        add_address("1", bad);
    }
    EXPECT_EQ(values("AddressBook.xml", "EmailAddress"), std::vector<std::string>{"good"});
    Add_NTPServer_xml(record({{0, "\x01"}, {10, "time"}}).data());
    EXPECT_EQ(value("NTPSetting.xml", "NTP_Flag"), "");
    EXPECT_EQ(value("NTPSetting.xml", "NTPServer"), "time");
}

/// An entry without all its elements must not give its values to the next one.
TEST_F(SettingsFiles, DamagedEntriesKeepTheirNeighbours) {
    const std::string entry = "<Host><Row>2</Row><DisplayName>b</DisplayName></Host>";
    tree.put("datafs/Smb.xml", declaration + ("<netShareFolder><Host><Row>1</Row></Host>" + entry) +
                                   "<Row>3</Row></netShareFolder>");
    add_folder("1", "a");
    EXPECT_NE(file("Smb.xml").find(entry), std::string::npos);
    EXPECT_EQ(Del_SMB_xml("3"), 0);
    EXPECT_NE(file("Smb.xml").find(entry), std::string::npos);
}

TEST_F(SettingsFiles, TheSenderIsTakenOutByItsAddress) {
    Add_ESMTP_xml(record({{0, "a@b.example"}, {128, "mail"}}).data());
    const std::string before = file("ESMTP.xml");
    EXPECT_EQ(Del_ESMTP_xml("other"), 0);
    EXPECT_EQ(file("ESMTP.xml"), before);
    EXPECT_EQ(Del_ESMTP_xml("a@b.example"), 0);
    EXPECT_EQ(values("ESMTP.xml", "EmailAddress").size(), 0U);
    EXPECT_EQ(value("ESMTP.xml", "ServerName"), "mail");
    EXPECT_EQ(Del_ESMTP_xml(nullptr), -1);
}

} // namespace
