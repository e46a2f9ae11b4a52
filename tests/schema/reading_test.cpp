#include "documents.h"

#include <gtest/gtest.h>

using namespace varn::test;

namespace {

using Config = prdcfgdyn2__ProductConfigDyn;
using Settings = scan__ScanSettingsType;

std::string config(const std::string &settings) {
    return with_namespaces("<prdcfgdyn2:ProductConfigDyn><prdcfgdyn2:ProductSettings>" + settings +
                           "</prdcfgdyn2:ProductSettings></prdcfgdyn2:ProductConfigDyn>");
}

std::string scan_settings(const std::string &content) {
    return with_namespaces("<scan:ScanSettings>" + content + "</scan:ScanSettings>");
}

std::string event(const std::string &content) {
    return with_namespaces("<ev:Event>" + content + "</ev:Event>");
}

// What a document gives under the modes with the strict flag and under those without.
struct Case {
    const char *content;
    int strict_error;
    int lenient_error;
};

template <class T>
void check(std::string (*document)(const std::string &), const Case &c) {
    const std::string text = document(c.content);
    for (const unsigned mode : strict_modes) {
        for (const Variant variant : {Variant::Plain, Variant::Namespaced})
            EXPECT_EQ(Reading<T>(text, mode, variant).error, c.strict_error)
                << std::hex << mode << ' ' << c.content;
    }
    for (const unsigned mode : lenient_modes)
        EXPECT_EQ(Reading<T>(text, mode).error, c.lenient_error)
            << std::hex << mode << ' ' << c.content;
}

TEST(Reading, UnknownAndEmptyElements) {
    const Case cases[] = {
        {"<dd:AssetNumber>1</dd:AssetNumber>", 0, 0},
        {"<dd:Nonsense/>", SOAP_TAG_MISMATCH, 0},
        {"<dd:Nonsense>text</dd:Nonsense><dd:AssetNumber>1</dd:AssetNumber>", SOAP_TAG_MISMATCH, 0},
        {"<x><dd:AssetNumber>2</dd:AssetNumber><y z='/>'><![CDATA[</x>]]></y></x>",
         SOAP_TAG_MISMATCH, 0},
        {"<dd:AutoOffTimeDetails><no/><dd:TimeUnits>hours</dd:TimeUnits></dd:AutoOffTimeDetails>",
         SOAP_TAG_MISMATCH, 0},
        // a second occurrence counts as unknown
        {"<dd:AssetNumber>1</dd:AssetNumber><dd:AssetNumber>2</dd:AssetNumber>", SOAP_TAG_MISMATCH,
         0},
        // any order
        {"<prdcfgdyn2:DisplayUnit>metric</prdcfgdyn2:DisplayUnit><dd:CompanyName>c</dd:CompanyName>"
         "<dd:AssetNumber>1</dd:AssetNumber>",
         0, 0},
        // values without content
        {"<dd:AssetNumber/><dd:AutoOffTimeDetails/>", 0, 0},
        {"<dd:AutoOffTime/>", SOAP_TYPE, SOAP_TYPE},
        {"<prdcfgdyn2:StartEngineEarlyWarmUp/>", SOAP_TYPE, SOAP_TYPE},
        {"<prdcfgdyn2:UIInactivityTimeoutInSeconds/>", SOAP_EMPTY, SOAP_EMPTY},
        // attributes do not matter
        {"<dd:AssetNumber a='1' xsi:type='xsd:string'>1</dd:AssetNumber>", 0, 0},
        {"<dd:Nonsense id='_1' xsi:type='dd:Version'><q/></dd:Nonsense>", SOAP_TAG_MISMATCH, 0},
    };
    for (const Case &c : cases)
        check<Config>(config, c);
}

TEST(Reading, RequiredElements) {
    const Case cases[] = {
        {"<dd:AgingStamp>1</dd:AgingStamp>", 0, 0},
        {"<dd:AgingStamp xsi:nil='true'/>", 0, 0},
        {"", SOAP_OCCURS, 0},
        {"<dd:AgingStamp>1</dd:AgingStamp><ev:Payload><dd:ResourceURI>/a</dd:ResourceURI>"
         "<dd:ResourceType>b</dd:ResourceType></ev:Payload>",
         0, 0},
        {"<dd:AgingStamp>1</dd:AgingStamp><ev:Payload><dd:ResourceURI>/a</dd:ResourceURI>"
         "</ev:Payload>",
         SOAP_OCCURS, 0},
    };
    for (const Case &c : cases)
        check<ev__Event>(event, c);
    EXPECT_EQ(Reading<ev__Event>(event(""), 0x82000).root.dd__AgingStamp, nullptr);
}

TEST(Reading, Enumerations) {
    const struct {
        const char *text;
        int strict_error;
        int lenient_error;
        int code; // of the modes that accept it
    } cases[] = {
        {"never", 0, 0, 0},
        {"20_minutes", 0, 0, 5},
        {" 8hours ", 0, 0, 14},
        {"0", 0, 0, 0},
        {"30", 0, 0, 30},
        {"31", SOAP_TYPE, 0, 31},
        {"-1", SOAP_TYPE, 0, -1},
        {"2147483647", SOAP_TYPE, 0, 2147483647},
        {"99999999999999999999", SOAP_TYPE, SOAP_TYPE, 0},
        {"Never", SOAP_TYPE, SOAP_TYPE, 0},
        {"5 minutes", SOAP_TYPE, SOAP_TYPE, 0},
        {"", SOAP_TYPE, SOAP_TYPE, 0},
    };
    for (const auto &c : cases) {
        const std::string text =
            config("<dd:AutoOffTime>" + std::string(c.text) + "</dd:AutoOffTime>");
        const auto expect = [&](unsigned mode, int error) {
            const Reading<Config> r(text, mode);
            EXPECT_EQ(r.error, error) << std::hex << mode << ' ' << c.text;
            if (error)
                return;
            ASSERT_NE(r.root.ProductSettings, nullptr);
            ASSERT_NE(r.root.ProductSettings->dd__AutoOffTime, nullptr);
            EXPECT_EQ(*r.root.ProductSettings->dd__AutoOffTime, c.code);
        };
        for (const unsigned mode : strict_modes)
            expect(mode, c.strict_error);
        for (const unsigned mode : lenient_modes)
            expect(mode, c.lenient_error);
    }
}

TEST(Reading, EnumerationWithGaps) {
    const auto zone = [](const std::string &text, unsigned mode) {
        const Reading<ts__RTCSetting> r(
            with_namespaces("<ts:RTCSetting><ts:CurrentTimeZone><ts:TimeZoneName>" + text +
                            "</ts:TimeZoneName></ts:CurrentTimeZone></ts:RTCSetting>"),
            mode);
        return r.error ? -r.error : static_cast<int>(*r.root.CurrentTimeZone->TimeZoneName);
    };
    EXPECT_EQ(zone("(GMT-08:00) Pacific Time (US &amp; Canada)", 0x2087440), 127);
    EXPECT_EQ(zone("9", 0x2087440), 9);
    EXPECT_EQ(zone("134", 0x2087440), -SOAP_TYPE);
    EXPECT_EQ(zone("134", 0x82000), 134);
}

TEST(Reading, Booleans) {
    const struct {
        const char *text;
        int value; // -1: refused
    } cases[] = {{"false", 0}, {"true", 1}, {"0", 0},     {"1", 1}, {"yes", -1},
                 {"2", -1},    {"-1", -1},  {"TRUE", -1}, {"", -1}};
    for (const auto &c : cases) {
        const std::string text = scan_settings("<pwg:Version>2</pwg:Version><scan:Duplex>" +
                                               std::string(c.text) + "</scan:Duplex>");
        const auto expect = [&](unsigned mode) {
            const Reading<Settings> r(text, mode);
            EXPECT_EQ(r.error, c.value < 0 ? SOAP_TYPE : SOAP_OK) << std::hex << mode << c.text;
            if (c.value < 0)
                return;
            ASSERT_NE(r.root.Duplex, nullptr);
            EXPECT_EQ(*r.root.Duplex, c.value);
        };
        for (const unsigned mode : strict_modes)
            expect(mode);
        for (const unsigned mode : lenient_modes)
            expect(mode);
    }
}

TEST(Reading, RootNameAndNamespaces) {
    const std::string other_root =
        with_namespaces("<prdcfgdyn2:Anything><dd:Version><dd:Revision>r</dd:Revision></dd:Version>"
                        "</prdcfgdyn2:Anything>");
    for (const unsigned mode : {0x83000u, 0x82000u, 0x2087440u}) {
        const Reading<Config> r(other_root, mode);
        ASSERT_EQ(r.error, SOAP_OK);
        EXPECT_STREQ(r.root.dd__Version->Revision, "r");
    }

    const std::string other_host =
        "<s:ScanSettings xmlns:s='http://elsewhere/escl' xmlns:p='http://elsewhere/sm'>"
        "<p:Version>2</p:Version><s:XResolution>300</s:XResolution></s:ScanSettings>";
    const Reading<Settings> understood(other_host, 0x2086000);
    ASSERT_EQ(understood.error, SOAP_OK);
    EXPECT_STREQ(understood.root.XResolution, "300");
    const Reading<Settings> skipped(other_host, 0x2082000);
    ASSERT_EQ(skipped.error, SOAP_OK);
    EXPECT_EQ(skipped.root.XResolution, nullptr);
}

TEST(Reading, MalformedAndEmptyDocuments) {
    for (const char *text : {"", "   ", "text", "<a", "<a><b></a>", "<a>&nope</b>", "\xff\xfe<",
                             "<?xml version='1.0'?>", "<a b=", "<!DOCTYPE a [<!ENTITY e 'x'>]>",
                             "POST / HTTP/1.1\r\nExpect: 100-continue\r\n\r\n<a/>"}) {
        for (const unsigned mode : strict_modes)
            EXPECT_NE(Reading<Config>(text, mode).error, SOAP_OK) << std::hex << mode << text;
        for (const unsigned mode : lenient_modes)
            EXPECT_NE(Reading<Config>(text, mode).error, SOAP_OK) << std::hex << mode << text;
    }
}

TEST(Reading, NestingIsBounded) {
    std::string content;
    for (int i = 0; i < 10000; ++i)
        content += "<map:ResourceNode><map:ResourceMap>";
    for (const unsigned mode : {0x2087440u, 0x82000u})
        EXPECT_EQ(Reading<io__Adapters>(with_namespaces("<io:Adapters>" + content), mode).error,
                  SOAP_LEVEL);
}

TEST(Reading, Capabilities) {
    const std::string profile =
        "<scan:SettingProfile name='p'>"
        "<scan:ColorModes><scan:ColorMode>RGB24</scan:ColorMode>"
        "<scan:ColorMode>Grayscale8</scan:ColorMode></scan:ColorModes>"
        "<scan:DocumentFormats><pwg:DocumentFormat>image/jpeg</pwg:DocumentFormat>"
        "<scan:DocumentFormatExt>image/jpeg</scan:DocumentFormatExt></scan:DocumentFormats>"
        "<scan:SupportedResolutions><scan:DiscreteResolutions>"
        "<scan:DiscreteResolution><scan:XResolution>200</scan:XResolution>"
        "<scan:YResolution>200</scan:YResolution></scan:DiscreteResolution>"
        "<scan:DiscreteResolution><scan:XResolution>300</scan:XResolution>"
        "<scan:YResolution>300</scan:YResolution></scan:DiscreteResolution>"
        "</scan:DiscreteResolutions></scan:SupportedResolutions>"
        "<scan:CcdChannels><scan:CcdChannel default='true'>NTSC</scan:CcdChannel>"
        "</scan:CcdChannels>"
        "<scan:ColorModes><scan:ColorMode>BlackAndWhite1</scan:ColorMode></scan:ColorModes>"
        "<scan:DocumentFormats/><scan:SupportedResolutions/></scan:SettingProfile>";
    const std::string text = with_namespaces(
        "<scan:ScannerCapabilities><pwg:Version>2.9</pwg:Version>"
        "<pwg:MakeAndModel>M</pwg:MakeAndModel><pwg:SerialNumber>S</pwg:SerialNumber>"
        "<scan:Adf><scan:AdfSimplexInputCaps><scan:MinWidth>1</scan:MinWidth>"
        "<scan:MaxWidth>2</scan:MaxWidth><scan:MinHeight>3</scan:MinHeight>"
        "<scan:MaxHeight>4</scan:MaxHeight><scan:SettingProfiles>" +
        profile +
        "</scan:SettingProfiles><scan:SupportedIntents><scan:Intent>Photo</scan:Intent>"
        "<scan:Intent>Document</scan:Intent></scan:SupportedIntents></scan:AdfSimplexInputCaps>"
        "<scan:AdfOptions><scan:AdfOption>Duplex</scan:AdfOption></scan:AdfOptions></scan:Adf>"
        "<scan:BrightnessSupport><scan:Min>-1000</scan:Min><scan:Max>1000</scan:Max>"
        "</scan:BrightnessSupport></scan:ScannerCapabilities>");
    for (const unsigned mode : {0x2082000u, 0x83000u}) {
        const Reading<scan__ScannerCapabilitiesType> r(text, mode);
        ASSERT_EQ(r.error, SOAP_OK) << std::hex << mode;
        const scan__InputSourceCapsType &caps = *r.root.Adf->AdfSimplexInputCaps;
        EXPECT_STREQ(caps.MaxHeight, "4");
        ASSERT_EQ(caps.SupportedIntents->__sizeIntent, 2);
        EXPECT_EQ(caps.SupportedIntents->Intent[0], scan__IntentType__Photo);
        const scan__SettingProfileType &p = caps.SettingProfiles->SettingProfile[0];
        EXPECT_STREQ(p.name, "p");
        ASSERT_EQ(p.__size_SettingProfileType_sequence, 2);
        const __scan__SettingProfileType_sequence &first = p.__SettingProfileType_sequence[0];
        ASSERT_EQ(first.ColorModes->__sizeColorMode, 2);
        EXPECT_STREQ(first.ColorModes->ColorMode[1], "Grayscale8");
        const scan__DiscreteResolutionsType &list =
            *first.SupportedResolutions->DiscreteResolutions;
        ASSERT_EQ(list.__sizeDiscreteResolution, 2);
        EXPECT_STREQ(list.DiscreteResolution[1].YResolution, "300");
        EXPECT_EQ(*first.CcdChannels->CcdChannel[0].default_, xsd__boolean__true_);
        EXPECT_STREQ(p.__SettingProfileType_sequence[1].ColorModes->ColorMode[0], "BlackAndWhite1");
        EXPECT_EQ(*r.root.BrightnessSupport->Min, -1000);
    }
}

TEST(Reading, ArraysChoicesBinaryAndOpenContent) {
    const std::string profile = with_namespaces(
        "<io:Profile><io:AdapterProfile><io:WifiProfile><wifi:SSID>6e00FF</wifi:SSID>"
        "<io:KeyInfo><io:WepKeys><io:WepKey><wifi:WepKey>31</wifi:WepKey></io:WepKey>"
        "<io:WepKey><wifi:WepKey>32</wifi:WepKey></io:WepKey>"
        "<wifi:WEPKeyIndex>index2</wifi:WEPKeyIndex></io:WepKeys></io:KeyInfo>"
        "</io:WifiProfile></io:AdapterProfile></io:Profile>");
    const Reading<io__Profile> p(profile, 0x2087440, Variant::Namespaced);
    ASSERT_EQ(p.error, SOAP_OK);
    ASSERT_EQ(p.root.AdapterProfile->__union_AdapterProfile, 2);
    const io__WifiProfile &wifi = *p.root.AdapterProfile->union_AdapterProfile.WifiProfile;
    ASSERT_EQ(wifi.wifi__SSID->__size, 3);
    EXPECT_EQ(std::memcmp(wifi.wifi__SSID->__ptr, "n\0\xff", 3), 0);
    ASSERT_EQ(wifi.KeyInfo->__union_KeyInfo, 1);
    const io__WepKeys &keys = *wifi.KeyInfo->union_KeyInfo.WepKeys;
    ASSERT_EQ(keys.__sizeWepKey, 2);
    EXPECT_EQ(keys.WepKey_[1].wifi__WepKey->__ptr[0], '2');
    EXPECT_EQ(*keys.wifi__WEPKeyIndex, 2);

    // elements of any name where the schema leaves the content open, under the strict flag too
    const std::string adapters = with_namespaces(
        "<io:Adapters><map:ResourceNode><map:ResourceLink><dd:ResourceURI>/a</dd:ResourceURI>"
        "<io:What/><dd:Ever>x<y/></dd:Ever></map:ResourceLink>"
        "<map:ResourceType><io:IoMgmtResourceType>USBAdapter</io:IoMgmtResourceType>"
        "</map:ResourceType></map:ResourceNode></io:Adapters>");
    const Reading<io__Adapters> a(adapters, 0x2087440, Variant::Namespaced);
    ASSERT_EQ(a.error, SOAP_OK);
    EXPECT_STREQ(a.root.map__ResourceNode->ResourceLink->dd__ResourceURI, "/a");

    // the one kind of element that may come twice
    const Reading<dd__DNSConfig> d(
        with_namespaces("<dd:DNSConfig><dd:DNSServerSuffix>a</dd:DNSServerSuffix>"
                        "<dd:DNSServerIPAddress>1.2.3.4</dd:DNSServerIPAddress>"
                        "<dd:DNSServerSuffix>b</dd:DNSServerSuffix></dd:DNSConfig>"),
        0x83000);
    ASSERT_EQ(d.error, SOAP_OK);
    EXPECT_STREQ(d.root.DNSServerSuffix, "a");
    EXPECT_STREQ(d.root.DNSServerSuffix_, "b");
    EXPECT_EQ(d.root.__sizeDNSServerIPAddress, 1);
}

} // namespace
