/// The discovery document: where a host finds every other resource.

#include "frame/document.h"

#define VARN_A "http://" VARN_SCHEMA_HOST_A
#define VARN_MANIFEST VARN_A "/schemas/imaging/con/varn/manifest/2009/03/24"

const char *const totaltree[10][4] = {
    {"/DevMgmt/ProductConfigDyn.xml", "varn:zqVarnProductConfigDyn",
     VARN_A "/schemas/imaging/con/varn/productconfigdyn/2009/03/16", nullptr},
    {"/DevMgmt/ProductConfigCap.xml", "varn:zqVarnProductConfigCap",
     VARN_A "/schemas/imaging/con/varn/productconfigcap/2009/03/16", nullptr},
    {"/DevMgmt/ProductStatusDyn.xml", "varn:zqVarnProductStatusDyn",
     VARN_A "/schemas/imaging/con/varn/productstatusdyn/2007/10/31", nullptr},
    {"/DevMgmt/ProductStatusCap.xml", "varn:zqVarnProductStatusCap",
     VARN_A "/schemas/imaging/con/varn/productstatuscap/2007/10/31", nullptr},
    {"/DevMgmt/ProductUsageDyn.xml", "varn:zqVarnProductUsageDyn",
     VARN_A "/schemas/imaging/con/varn/productusagedyn/2007/12/11", nullptr},
    {"/DevMgmt/ProductUsageCap.xml", "varn:zqVarnProductUsageCap",
     VARN_A "/schemas/imaging/con/varn/productusagecap/2007/12/11", nullptr},
    {"/DevMgmt/NetAppsDyn.xml", "varn:zqVarnNetAppsDyn",
     VARN_A "/schemas/imaging/con/varn/netappdyn/2009/06/24", nullptr},
    {"/DevMgmt/NetAppsCap.xml", "varn:zqVarnNetAppsCap",
     VARN_A "/schemas/imaging/con/varn/netappcap/2009/06/24", nullptr},
    {"/DevMgmt/ProductServiceDyn.xml", "varn:zqVarnProductServiceDyn",
     VARN_A "/schemas/imaging/con/varn/productservicedyn/2009/01/10", nullptr},
    {"/DevMgmt/ProductServiceCap.xml", "varn:zqVarnProductServiceCap",
     VARN_A "/schemas/imaging/con/varn/productservicecap/2009/01/10", nullptr},
};

const char *const totalIfc[5][3] = {
    {"/EventMgmt/EventMgmtManifest.xml", "varn:zqVarnEventMgmtManifest", VARN_MANIFEST},
    {"/IoMgmt/IoMgmtManifest.xml", "varn:zqVarnIoMgmt", VARN_MANIFEST},
    {"/eSCL/eSclManifest.xml", "eSCL:eSclManifest", VARN_MANIFEST},
    {"/DevMgmt/SendUSB/SendUSBServiceManifest.xml", "varn:zqVarnSendUSBServiceManifest",
     VARN_MANIFEST},
    {"/DevMgmt/NetAppsSecureManifest.xml", "varn:zqVarnNetAppsSecureManifest", VARN_MANIFEST},
};

namespace varn {
namespace {

constexpr char ticket[] = "/tmp/xml_tickets/DevMgmt/DiscoveryTree.xml";

void fill_tree(Document &document, varn__DiscoveryTree &root) {
    auto *rows = document.make<varn__SupportedTree>(std::size(totaltree));
    if (rows == nullptr)
        return;
    root.__sizeSupportedTree = std::size(totaltree);
    root.SupportedTree_ = rows;
    for (size_t i = 0; i < std::size(totaltree); ++i) {
        rows[i].dd__ResourceURI = document.text(totaltree[i][0]);
        rows[i].dd__ResourceType_ = document.text(totaltree[i][1]);
        rows[i].dd__Revision_ = document.text(totaltree[i][2]);
    }
    auto *privacy = document.make<varn__PrivacySupported>();
    if (privacy == nullptr)
        return;
    privacy->__sizePrivacy = 1;
    privacy->Privacy_ = document.value(dd__Privacy__anonymous);
    rows[0].PrivacySupported = privacy;
}

void fill_manifests(Document &document, varn__DiscoveryTree &root) {
    auto *rows = document.make<varn__SupportedIfc>(std::size(totalIfc));
    if (rows == nullptr)
        return;
    root.__sizeSupportedIfc = std::size(totalIfc);
    root.SupportedIfc_ = rows;
    for (size_t i = 0; i < std::size(totalIfc); ++i) {
        rows[i].ManifestURI = document.text(totalIfc[i][0]);
        rows[i].dd__ResourceType_ = document.text(totalIfc[i][1]);
        // One text for all rows, but a copy for each: no host is made to follow a reference.
        rows[i].dd__Revision_ = document.text(totalIfc[i][2]);
    }
}

} // namespace
} // namespace varn

int32_t VARN_GetDiscoveryTree(char **out_buf, uint32_t *out_len) {
    constexpr char name[] = "gsoap_write_DiscoveryTree";
    printf("%s, open =%s\n", name, varn::ticket);
    printf("%s fname=%s num_manifest=%d\n", name, varn::ticket,
           static_cast<int>(std::size(totalIfc)));
    return varn::get_document<varn__DiscoveryTree>(
        varn::product_get, varn::ticket, out_buf, out_len,
        [](varn::Document &document, varn__DiscoveryTree &root) {
            root.dd__Version = document.version("SVN-OLK-VARN.718", "2014-01-29");
            varn::fill_tree(document, root);
            varn::fill_manifests(document, root);
        });
}
