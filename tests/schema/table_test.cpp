// The namespace table and the codes of enumerations: what documents and other code count on.
#include "documents.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const std::string host_a = "http://" VARN_SCHEMA_HOST_A;
const std::string host_b = "http://" VARN_SCHEMA_HOST_B;

TEST(NamespaceTable, RowsInOrder) {
    const std::vector<std::string> prefixes = {
        "SOAP-ENV", "SOAP-ENC",   "xsi",       "xsd",
        "io",       "dd",         "map",       "dd2",
        "dd3",      "varn",       "wifi",      "pwg2",
        "iocap",    "prdcfgdyn2", "prdcfgdyn", "prdservicedyn",
        "pscat",    "ad",         "psdyn",     "locid",
        "pudyn",    "ev",         "scan",      "pwg",
        "httpdest", "dest",       "wus",       "scantype",
        "nascap",   "security",   "nasdyn",    "nacap",
        "nadyn",    "folder",     "dsd",       "spts",
        "dsdyn",    "sptscap",    "dsdcap",    "susb",
        "mscfgcap", "mscfgdyn",   "finishing", "ts",
        "tscap",    "iocfgdyn",   "emaildyn",  "dsd2",
        "secdyn",   "iocfgdyn2"};
    ASSERT_EQ(prefixes.size(), 50u);
    for (size_t i = 0; i < prefixes.size(); ++i) {
        ASSERT_NE(namespaces[i].id, nullptr) << i;
        EXPECT_EQ(namespaces[i].id, prefixes[i]);
        EXPECT_EQ(namespaces[i].out, nullptr) << prefixes[i];
        EXPECT_EQ(namespaces[i].ns == nullptr, i < 2) << prefixes[i];
        EXPECT_EQ(namespaces[i].in != nullptr, i == 2 || i == 3) << prefixes[i];
    }
    EXPECT_EQ(namespaces[50].id, nullptr);
    EXPECT_EQ(namespaces[50].ns, nullptr);
}

TEST(NamespaceTable, Values) {
    const struct {
        int row;
        std::string ns;
    } cases[] = {
        {3, "http://www.w3.org/2001/XMLSchema-instance"},
        {4, "http://www.w3.org/2001/XMLSchema"},
        {5, host_a + "/schemas/imaging/con/varn/iomgmt/2008/11/30"},
        {6, host_a + "/schemas/imaging/con/dictionaries/1.0/"},
        {12, host_a + "/schemas/imaging/con/pwg/sm/1.0/"},
        {14, host_a + "/schemas/imaging/con/varn/productconfigdyn/2009/03/16"},
        {23, host_b + "/imaging/escl/2011/05/03"},
        {24, "http://www.pwg.org/schemas/2010/12/sm"},
        {25, host_b + "/imaging/httpdestination/2011/10/13"},
        {26, host_a + "/imaging/con/destinations/2011/07/20"},
        {46, host_a + "/schemas/imaging/con/varn/ioconfigdyn/2007/11/1"},
        {50, host_a + "/schemas/imaging/con/varn/ioconfigdyn/2009/03/17"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(namespaces[c.row - 1].ns, c.ns);
    EXPECT_STREQ(namespaces[2].in, "http://www.w3.org/*/XMLSchema-instance");
    EXPECT_STREQ(namespaces[3].in, "http://www.w3.org/*/XMLSchema");
}

TEST(NamespaceTable, IsWhatANewContextCarries) {
    soap *s = soap_new();
    EXPECT_EQ(s->namespaces, namespaces);
    soap_free(s);
}

template <class E>
std::string name(E code, const char *(*convert)(soap *, E)) {
    soap *s = soap_new();
    std::string text = convert(s, code);
    soap_end(s);
    soap_free(s);
    return text;
}

TEST(Enumerations, CodesWithoutGaps) {
    const auto auto_off = [](int code) {
        return name(static_cast<dd__AutoOffTime>(code), soap_dd__AutoOffTime2s);
    };
    EXPECT_EQ(auto_off(0), "never");
    EXPECT_EQ(auto_off(5), "20_minutes");
    EXPECT_EQ(auto_off(7), "1hour");
    EXPECT_EQ(auto_off(14), "8hours");
    EXPECT_EQ(auto_off(30), "24hours");
    EXPECT_EQ(auto_off(31), "31");
    EXPECT_EQ(auto_off(-1), "-1");
    EXPECT_EQ(name(dd__PortConfiguration{6}, soap_dd__PortConfiguration2s), "1000TX_FULL");
    EXPECT_EQ(name(dd__ConfigMethod{7}, soap_dd__ConfigMethod2s), "autoIP");
    EXPECT_EQ(name(wifi__RsnAuthorization{0}, soap_wifi__RsnAuthorization2s), "autoWPA");
    EXPECT_EQ(name(wifi__WEPKeyIndex{4}, soap_wifi__WEPKeyIndex2s), "index4");
}

TEST(Enumerations, CodesWithGaps) {
    const auto alert = [](int code) {
        return name(static_cast<ad__ProductStatusAlertID>(code), soap_ad__ProductStatusAlertID2s);
    };
    EXPECT_EQ(alert(172), "scannerMaintenanceCleanRollersNeeded");
    EXPECT_EQ(alert(173), "scannerMaintenanceReplacePadNeeded");
    EXPECT_EQ(alert(174), "scannerMaintenanceReplaceRollersNeeded");
    EXPECT_EQ(alert(0), "0");

    const auto zone = [](int code) {
        return name(static_cast<dd__TimeZoneName>(code), soap_dd__TimeZoneName2s);
    };
    EXPECT_EQ(zone(0), "(GMT) Casablanca");
    EXPECT_EQ(zone(9), "9");
    EXPECT_EQ(zone(10), "(GMT+02:00) Amman");
    EXPECT_EQ(zone(91), "(GMT+13:00) Nuku'alofa");
    EXPECT_EQ(zone(127), "(GMT-08:00) Pacific Time (US & Canada)");
    EXPECT_EQ(zone(133), "(GMT-12:00) International Date Line West");
}

} // namespace
