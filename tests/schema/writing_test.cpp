#include "documents.h"

#include <gtest/gtest.h>

using namespace varn::test;

namespace {

char *text(const char *s) { return const_cast<char *>(s); }

TEST(Writing, DeclarationThenEveryNamespaceInOrder) {
    varn__DiscoveryTree root;
    for (const Variant variant : {Variant::Plain, Variant::Namespaced}) {
        const std::string document = write(root, "varn:DiscoveryTree", 0x83000, variant);
        std::string expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<varn:DiscoveryTree";
        for (int row = 2; row < 50; ++row)
            expected +=
                std::string(" xmlns:") + namespaces[row].id + "=\"" + namespaces[row].ns + "\"";
        expected += ">";
        EXPECT_EQ(document.substr(0, expected.size()), expected);
        EXPECT_EQ(document.find("SOAP-"), document.npos);
    }
}

TEST(Writing, LayoutByMode) {
    ev__EventTable root;
    dd__Version version;
    version.Revision = text("2.5");
    root.dd__Version = &version;
    const std::string flat =
        "<ev:EventTable><dd:Version><dd:Revision>2.5</dd:Revision></dd:Version></ev:EventTable>";
    for (const unsigned mode : {0x83000u, 0x82000u, 0x2082000u, 0x2087440u, 0x2083440u}) {
        const std::string document = write(root, "ev:EventTable", mode);
        EXPECT_NE(document.find("\n\t<dd:Version>\n\t\t<dd:Revision>"), document.npos) << mode;
        EXPECT_EQ(bare(document), flat) << mode;
    }
    const std::string document = write(root, "ev:EventTable", 0x85440);
    EXPECT_EQ(document.substr(document.find("><dd:") + 1), flat.substr(flat.find("><dd:") + 1));
}

TEST(Writing, RequiredNullIsNilAndOptionalNullIsAbsent) {
    varn__DiscoveryTree root;
    EXPECT_EQ(bare(write(root, "varn:DiscoveryTree")),
              "<varn:DiscoveryTree><dd:Version xsi:nil=\"true\"/></varn:DiscoveryTree>");

    dd__Version version;
    varn__SupportedTree trees[2];
    trees[1].dd__ResourceURI = text("/a");
    trees[1].dd__ResourceType_ = text("b");
    trees[1].dd__Revision_ = text("");
    root.dd__Version = &version;
    root.SupportedTree_ = trees;
    root.__sizeSupportedTree = 2;
    EXPECT_EQ(bare(write(root, "varn:DiscoveryTree")),
              "<varn:DiscoveryTree><dd:Version></dd:Version>"
              "<varn:SupportedTree><dd:ResourceURI xsi:nil=\"true\"/>"
              "<dd:ResourceType xsi:nil=\"true\"/><dd:Revision xsi:nil=\"true\"/>"
              "</varn:SupportedTree>"
              "<varn:SupportedTree><dd:ResourceURI>/a</dd:ResourceURI>"
              "<dd:ResourceType>b</dd:ResourceType><dd:Revision/>"
              "</varn:SupportedTree></varn:DiscoveryTree>");
}

TEST(Writing, ArrayNeedsCountAndPointer) {
    dd__Version version;
    varn__SupportedIfc ifc;
    varn__DiscoveryTree root;
    root.dd__Version = &version;
    const std::string empty = bare(write(root, "varn:DiscoveryTree"));
    root.__sizeSupportedIfc = 3;
    EXPECT_EQ(bare(write(root, "varn:DiscoveryTree")), empty);
    root.__sizeSupportedIfc = 0;
    root.SupportedIfc_ = &ifc;
    EXPECT_EQ(bare(write(root, "varn:DiscoveryTree")), empty);
}

TEST(Writing, SchemaOrderEnumerationsAndBooleans) {
    _pwg__InputSource source;
    source.__item = text("Feeder");
    scan__IntentType intent = static_cast<scan__IntentType>(2);
    scan__MultipickDetectionActionType action = static_cast<scan__MultipickDetectionActionType>(9);
    xsd__boolean yes = xsd__boolean__true_;
    xsd__boolean no = xsd__boolean__false_;
    int brightness = -12;
    scan__ScanSettingsType root;
    root.pwg__Version = text("2.9");
    root.Brightness = &brightness;
    root.MultipickDetectionAction = &action;
    root.Duplex = &yes;
    root.BlackBackground = &no;
    root.XResolution = text("300");
    root.pwg__InputSource = &source;
    root.Intent = &intent;
    EXPECT_EQ(bare(write(root, "scan:ScanSettingsType", 0x2082000)),
              "<scan:ScanSettingsType><pwg:Version>2.9</pwg:Version>"
              "<scan:Intent>Photo</scan:Intent><pwg:InputSource>Feeder</pwg:InputSource>"
              "<scan:XResolution>300</scan:XResolution>"
              "<scan:BlackBackground>false</scan:BlackBackground><scan:Duplex>true</scan:Duplex>"
              "<scan:MultipickDetectionAction>9</scan:MultipickDetectionAction>"
              "<scan:Brightness>-12</scan:Brightness></scan:ScanSettingsType>");
}

TEST(Writing, SharedObjectOnceOrInFull) {
    char model[] = "Model";
    prdcfgdyn__ProductInformation information;
    information.dd__MakeAndModel_ = model;
    information.dd__MakeAndModelBase = model;
    information.dd__MakeAndModelFamily = model;
    information.dd__MakeAndModelAppend = model; // a text of another type
    prdcfgdyn2__ProductConfigDyn root;
    root.prdcfgdyn__ProductInformation = &information;

    const char *tag = "prdcfgdyn2:ProductConfigDyn";
    for (const unsigned mode : {0x83000u, 0x82000u, 0x2082000u}) {
        const std::string shared = bare(write(root, tag, mode));
        const size_t id = shared.find(" id=\"");
        ASSERT_NE(id, shared.npos) << shared;
        const std::string name = shared.substr(id + 5, shared.find('"', id + 5) - id - 5);
        std::string expected = "<dd:MakeAndModel id=\"ID\">Model</dd:MakeAndModel>"
                               "<dd:MakeAndModelBase ref=\"ID\"/>"
                               "<dd:MakeAndModelFamily ref=\"ID\"/>"
                               "<dd:MakeAndModelAppend>Model</dd:MakeAndModelAppend>";
        for (size_t at; (at = expected.find("ID")) != expected.npos;)
            expected.replace(at, 2, name);
        EXPECT_NE(shared.find(expected), shared.npos) << shared;
    }
    EXPECT_NE(bare(write(root, tag, 0x2087440, Variant::Namespaced))
                  .find("<dd:MakeAndModel>Model</dd:MakeAndModel>"
                        "<dd:MakeAndModelBase>Model</dd:MakeAndModelBase>"
                        "<dd:MakeAndModelFamily>Model</dd:MakeAndModelFamily>"),
              std::string::npos);
}

TEST(Writing, TextBeyondAsciiByMode) {
    dd__Version version;
    version.Revision = text("caf\xc3\xa9 <&\">");
    ev__EventTable root;
    root.dd__Version = &version;
    const struct {
        unsigned mode;
        const char *revision;
    } cases[] = {
        {0x2082000, "caf\xc3\xa9 &lt;&amp;\"&gt;"},
        {0x82000, "caf\xc3\x83\xc2\xa9 &lt;&amp;\"&gt;"}, // each byte a character of its own
    };
    for (const auto &c : cases) {
        const std::string document = bare(write(root, "ev:EventTable", c.mode));
        EXPECT_NE(document.find("<dd:Revision>" + std::string(c.revision) + "</dd:Revision>"),
                  document.npos)
            << document;
    }
}

TEST(Writing, UnsetBinaryChoiceAndOpenContentAreAbsent) {
    io__WifiNetwork networks[2];
    unsigned char ssid[] = {'n', 0, 0xff};
    xsd__hexBinary binary;
    binary.__ptr = ssid;
    binary.__size = 3;
    networks[0].wifi__SSID = &binary;
    io__WifiNetworks root;
    root.WifiNetwork_ = networks;
    root.__sizeWifiNetwork = 2;
    EXPECT_EQ(bare(write(root, "io:WifiNetworks")),
              "<io:WifiNetworks><io:WifiNetwork><wifi:SSID>6E00FF</wifi:SSID></io:WifiNetwork>"
              "<io:WifiNetwork></io:WifiNetwork></io:WifiNetworks>");

    io__Addresses addresses;
    io__Protocol protocols[2];
    for (io__Protocol &p : protocols)
        p.Addresses = &addresses;
    protocols[1].__union_Protocol = SOAP_UNION__io__union_Protocol_dd__IPv6;
    protocols[1].union_Protocol.dd__IPv6 = dd__EnableDisable__enabled;
    io__Protocols list;
    list.Protocol_ = protocols;
    list.__sizeProtocol = 2;
    EXPECT_EQ(bare(write(list, "io:Protocols", 0x2087440, Variant::Namespaced)),
              "<io:Protocols><io:Protocol><io:Addresses></io:Addresses></io:Protocol>"
              "<io:Protocol><dd:IPv6>enabled</dd:IPv6><io:Addresses></io:Addresses></io:Protocol>"
              "</io:Protocols>");

    char *literal[] = {text("<io:IoMgmtResourceType>USBAdapter</io:IoMgmtResourceType>")};
    _map__ResourceType type;
    type.__any = literal;
    type.__size = 1;
    map__ResourceLink link;
    link.dd__ResourceURI = text("/IoMgmt/Adapters/usb");
    map__ResourceNode node;
    node.ResourceLink = &link;
    node.ResourceType = &type;
    io__Adapters adapters;
    adapters.map__ResourceNode = &node;
    EXPECT_EQ(bare(write(adapters, "io:Adapters")),
              "<io:Adapters><map:ResourceNode><map:ResourceLink>"
              "<dd:ResourceURI>/IoMgmt/Adapters/usb</dd:ResourceURI></map:ResourceLink>"
              "<map:ResourceType><io:IoMgmtResourceType>USBAdapter</io:IoMgmtResourceType>"
              "</map:ResourceType></map:ResourceNode></io:Adapters>");
}

} // namespace
