// Documents as they are written hold to the schemas, as libxml2 reads them.
#include "documents.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <memory>

using namespace varn::test;

namespace {

char *text(const char *s) { return const_cast<char *>(s); }

class Validation : public testing::Test {
protected:
    static void SetUpTestSuite() {
        xmlSchemaParserCtxt *parser = xmlSchemaNewParserCtxt(VARN_SCHEMA_DIR "/all.xsd");
        schema = xmlSchemaParse(parser);
        xmlSchemaFreeParserCtxt(parser);
    }
    static void TearDownTestSuite() { xmlSchemaFree(schema); }
    void SetUp() override { ASSERT_NE(schema, nullptr); }

    static void remember(void *out, const char *format, ...) {
        va_list arguments;
        va_start(arguments, format);
        char line[1000];
        vsnprintf(line, sizeof line, format, arguments);
        va_end(arguments);
        static_cast<std::string *>(out)->append(line);
    }

    // Empty when the document is valid.
    static std::string fault(const std::string &document) {
        const std::unique_ptr<xmlDoc, void (*)(xmlDoc *)> doc(
            xmlReadMemory(document.data(), static_cast<int>(document.size()), nullptr, nullptr,
                          XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
            xmlFreeDoc);
        if (!doc)
            return "not well formed";
        std::string faults;
        xmlSchemaValidCtxt *validator = xmlSchemaNewValidCtxt(schema);
        xmlSchemaSetValidErrors(validator, remember, remember, &faults);
        const int result = xmlSchemaValidateDoc(validator, doc.get());
        xmlSchemaFreeValidCtxt(validator);
        return result && faults.empty() ? "invalid" : faults;
    }

    static inline xmlSchema *schema = nullptr;
};

TEST_F(Validation, Discovery) {
    dd__Version version;
    version.Revision = text("SVN.1");
    version.Date = text("2014-01-29");
    dd__Privacy anonymous = dd__Privacy__anonymous;
    varn__PrivacySupported privacy;
    privacy.Privacy_ = &anonymous;
    privacy.__sizePrivacy = 1;
    char revision[] = "the same";
    char uris[][3] = {"/a", "/b", "/c"};
    varn__SupportedTree trees[3];
    for (int i = 0; i < 3; ++i) {
        trees[i].dd__ResourceURI = uris[i];
        trees[i].dd__Revision_ = revision; // an id and two references; the type is nil
    }
    trees[0].PrivacySupported = &privacy;
    varn__DiscoveryTree root;
    root.dd__Version = &version;
    root.SupportedTree_ = trees;
    root.__sizeSupportedTree = 3;
    const std::string shared = write(root, "varn:DiscoveryTree", 0x83000);
    EXPECT_NE(shared.find(" ref=\""), shared.npos);
    EXPECT_EQ(fault(shared), "");
    EXPECT_EQ(fault(write(root, "varn:DiscoveryTree", 0x2087440, Variant::Namespaced)), "");
}

TEST_F(Validation, Configuration) {
    char model[] = "Model";
    prdcfgdyn__ProductInformation information;
    information.dd__MakeAndModel_ = information.dd__MakeAndModelBase = model;
    dd__AutoOffTime off = dd__AutoOffTime__20_USCOREminutes;
    dd__CountryAndRegionName country;
    country.__item = text("unitedStates");
    prdcfgdyn2__ProductSettings settings;
    settings.dd__AssetNumber = text("a");
    settings.dd__PowerSaveTimeout_ = text("15minutes");
    settings.dd__AutoOffTime = &off;
    settings.prdcfgdyn__CountryAndRegionName = &country;
    prdcfgdyn2__ProductConfigDyn root;
    root.prdcfgdyn__ProductInformation = &information;
    root.ProductSettings = &settings;
    EXPECT_EQ(fault(write(root, "prdcfgdyn2:ProductConfigDyn", 0x83000)), "");

    off = static_cast<dd__AutoOffTime>(99);
    EXPECT_NE(fault(write(root, "prdcfgdyn2:ProductConfigDyn", 0x83000)), "");
}

TEST_F(Validation, ScannerStatus) {
    _pwg__JobUuid uuid;
    uuid.__item = text("5d5b3c6a");
    pwg__JobStateWKV completed = pwg__JobStateWKV__Completed;
    char *reason[] = {text("JobCompletedSuccessfully")};
    _pwg__JobStateReasons reasons;
    reasons.JobStateReason_ = reason;
    reasons.__sizeJobStateReason = 1;
    int images = 3;
    scan__ScanJobInfoType jobs[2];
    jobs[0].pwg__JobUri = text("/eSCL/ScanJobs/5d5b3c6a");
    jobs[0].pwg__JobUuid = &uuid;
    jobs[0].Age = text("12");
    jobs[0].pwg__ImagesCompleted = &images;
    jobs[0].pwg__JobState = &completed;
    jobs[0].pwg__JobStateReasons = &reasons;
    _scan__ScannerStatusType_Jobs list;
    list.JobInfo = jobs;
    list.__sizeJobInfo = 1;
    pwg__ObjectStateWKV idle = pwg__ObjectStateWKV__Idle;
    scan__ScannerStatusType root;
    root.pwg__Version = text("2.9");
    root.pwg__State = &idle;
    root.AdfState = text("ScannerAdfLoaded");
    root.Jobs = &list;
    EXPECT_EQ(fault(write(root, "scan:ScannerStatus", 0x2082000)), "");

    list.__sizeJobInfo = 2; // all nil
    EXPECT_EQ(fault(write(root, "scan:ScannerStatus", 0x2082000)), "");
    jobs[1].Age = text("old");
    EXPECT_NE(fault(write(root, "scan:ScannerStatus", 0x2082000)), "");
}

TEST_F(Validation, StatusAdaptersAndProtocols) {
    ad__ProductStatusAlertID id = static_cast<ad__ProductStatusAlertID>(172);
    ad__Severity severity = ad__Severity__Warning;
    ad__AlertDetailsUserAction action = ad__AlertDetailsUserAction__pressOK;
    ad__AlertDetails details;
    details.AlertDetailsUserAction_ = &action;
    details.__sizeAlertDetailsUserAction = 1;
    psdyn__Alert alert;
    alert.ad__ProductStatusAlertID = &id;
    alert.dd__SequenceNumber_ = text("1");
    alert.ad__Severity = &severity;
    alert.ad__AlertDetails = &details;
    psdyn__AlertTable table;
    table.dd__ModificationNumber = text("2");
    table.Alert_ = &alert;
    table.__sizeAlert = 1;
    psdyn__ProductStatusDyn status;
    status.AlertTable = &table;
    EXPECT_EQ(fault(write(status, "psdyn:ProductStatusDyn", 0x83000)), "");

    io__Adapter adapter;
    io__Adapters adapters;
    adapters.Adapter_ = &adapter;
    adapters.__sizeAdapter = 1;
    EXPECT_EQ(fault(write(adapters, "io:Adapters", 0x2087440, Variant::Namespaced)), "");

    io__Protocol protocol;
    protocol.__union_Protocol = 1;
    protocol.union_Protocol.dd__IPv4 = dd__EnableDisable__enabled;
    protocol.dd__DHCPT1 = text("600");
    io__Protocols protocols;
    protocols.Protocol_ = &protocol;
    protocols.__sizeProtocol = 1;
    EXPECT_EQ(fault(write(protocols, "io:Protocols", 0x2087440, Variant::Namespaced)), "");
}

TEST_F(Validation, RefusesWhatTheSchemaDoesNotKnow) {
    EXPECT_NE(fault(with_namespaces("<ev:EventTable><dd:Nonsense/></ev:EventTable>")), "");
    EXPECT_NE(fault(with_namespaces("<ev:Nonsense/>")), "");
}

} // namespace
