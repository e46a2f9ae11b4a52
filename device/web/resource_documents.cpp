#include "device/web/resource_documents.h"

#include <algorithm>
#include <iterator>

namespace varn::web {
namespace {

struct ResourceDocument {
    std::string_view path;
    std::string_view document;
};

/// Sorted by path. Every path that ends with "Manifest.xml" is a manifest and has no row.
constexpr ResourceDocument documents[] = {
    {"/", "text/html"},
    {"/DevMgmt/DiscoveryTree.xml", "varn:DiscoveryTree"},
    {"/DevMgmt/Email/CommonEmailServerDyn.xml", "emaildyn:CommonEmailServerDyn"},
    {"/DevMgmt/Email/ScanToEmailDyn.xml", "emaildyn:EmailSettings"},
    {"/DevMgmt/IOConfigDyn.xml", "iocfgdyn2:IOConfigDyn"},
    {"/DevMgmt/NetAppsCap.xml", "nacap:NetAppsCap"},
    {"/DevMgmt/NetAppsDyn.xml", "nadyn:NetAppsDyn"},
    {"/DevMgmt/NetAppsSecureCap.xml", "nascap:NetAppsSecureCap"},
    {"/DevMgmt/NetAppsSecureDyn.xml", "nasdyn:NetAppsSecureDyn"},
    {"/DevMgmt/ProductConfigCap.xml", "prdcfgcap:ProductConfigCap"},
    {"/DevMgmt/ProductConfigDyn.xml", "prdcfgdyn2:ProductConfigDyn"},
    {"/DevMgmt/ProductServiceCap.xml", "prdservicecap:ProductServiceCap"},
    {"/DevMgmt/ProductServiceDyn.xml", "prdservicedyn:ProductServiceDyn"},
    {"/DevMgmt/ProductStatusCap.xml", "pscap:ProductStatusCap"},
    {"/DevMgmt/ProductStatusDyn.xml", "psdyn:ProductStatusDyn"},
    {"/DevMgmt/ProductUsageCap.xml", "pucap:ProductUsageCap"},
    {"/DevMgmt/ProductUsageDyn.xml", "pudyn:ProductUsageDyn"},
    {"/DevMgmt/SecurityCap.xml", "seccap:SecurityCap"},
    {"/DevMgmt/SecurityDyn.xml", "secdyn:SecurityDyn"},
    {"/DevMgmt/SendUSB/PredefinedJobs", "susb:PredefinedJobs; a POST takes a susb:PredefinedJob"},
    {"/DevMgmt/SendUSB/PredefinedJobs/{uuid}", "none: posted jobs are kept nowhere"},
    {"/DevMgmt/SendUSB/PredefinedJobs/{uuid}/Clone", "none"},
    {"/DevMgmt/SendUSB/SendUSBServiceCap.xml", "susb:SendUSBServiceCap"},
    {"/DevMgmt/SendUSB/SendUSBServiceDyn.xml", "susb:SendUSBServiceDyn"},
    {"/DevMgmt/SharePoint/PredefinedJobs",
     "folder:PredefinedJobs; a POST takes a folder:PredefinedJob"},
    {"/DevMgmt/SharePoint/PredefinedJobs/{uuid}", "folder:PredefinedJob"},
    {"/DevMgmt/SharePoint/PredefinedJobs/{uuid}/Clone", "folder:PredefinedJob"},
    {"/DevMgmt/SharePoint/PredefinedJobs/{uuid}/Test", "none"},
    {"/DevMgmt/SharePoint/PredefinedJobs/{uuid}/TestResult", "spts:TestResult"},
    {"/DevMgmt/SharePoint/SharePointService.xml", "spts:SharePointService"},
    {"/DevMgmt/SharePoint/SharePointServiceCap.xml", "sptscap:SharePointServiceCap"},
    {"/EventMgmt/EventCapabilities", "ev:SupportedEventList"},
    {"/EventMgmt/EventTable", "ev:EventTable"},
    {"/EventMgmt/SubscriptionList", "ev:SubscriptionList"},
    {"/IoMgmt/Adapters", "io:Adapters"},
    {"/IoMgmt/Adapters/{id}", "io:Adapter"},
    {"/IoMgmt/Adapters/{id}/ClientList", "io:ClientList"},
    {"/IoMgmt/Adapters/{id}/NetworkStats", "io:NetworkStats"},
    {"/IoMgmt/Adapters/{id}/Profiles/{id}", "io:Profile"},
    {"/IoMgmt/Adapters/{id}/Protocols", "io:Protocols"},
    {"/IoMgmt/Adapters/{id}/VsaCodes", "io:VsaCodes"},
    {"/IoMgmt/Adapters/{id}/WPS/Pin", "io:WpsSession"},
    {"/IoMgmt/Adapters/{id}/WPS/PinSessions", "io:WpsSession"},
    {"/IoMgmt/Adapters/{id}/WPS/PinSessions/{id}", "io:WpsSession"},
    {"/IoMgmt/Adapters/{id}/WPS/PushButtonSessions", "none"},
    {"/IoMgmt/Adapters/{id}/WPS/PushButtonSessions/{id}", "io:WpsSession"},
    {"/IoMgmt/Adapters/{id}/WifiNetworks", "io:WifiNetworks; SSID=NAME in the query asks for one"},
    {"/IoMgmt/Adapters/{id}/WifiNetworks/{id}", "io:WifiNetworks"},
    {"/IoMgmt/IoConfig.xml", "io:IoConfig"},
    {"/IoMgmt/IoMgmtCap.xml", "iocap:IoCapabilities"},
    {"/Jobs/JobList", "j:JobList; a PUT takes a j:Job"},
    {"/Jobs/JobList/{id}", "j:Job"},
    {"/TimeService/RTCSetting", "ts:RTCSetting"},
    {"/TimeService/SNTPSync", "ts:SNTPSync"},
    {"/TimeService/SNTPSync/Defaults", "ts:SyncSetting"},
    {"/TimeService/SupportedTimeZones", "ts:SupportedTimeZones"},
    {"/TimeService/TimeServiceCap.xml", "tscap:TimeServiceCap"},
    {"/WalkupScanToComp/WalkupScanToCompCaps", "wus:WalkupScanToCompCaps"},
    {"/WalkupScanToComp/WalkupScanToCompDestinations",
     "wus:WalkupScanToCompDestinations; a POST takes a wus:WalkupScanToCompDestination"},
    {"/WalkupScanToComp/WalkupScanToCompDestinations/{uuid}", "wus:WalkupScanToCompDestination"},
    {"/WalkupScanToComp/WalkupScanToCompEvent", "wus:WalkupScanToCompEvent; none before the first"},
    {"/admin.css", "text/css"},
    {"/admin.js", "text/javascript"},
    {"/administrator/password", "text/plain"},
    {"/eSCL/ScanBufferInfo", "scan:ScanSettings, scan:ScanBufferInfo"},
    {"/eSCL/ScanJobs", "scan:ScanSettings"},
    {"/eSCL/ScanJobs/{uuid}/NextDocument", "the image, in the format of the job"},
    {"/eSCL/ScanJobs/{uuid}/ScanImageInfo", "scan:ScanImageInfo"},
    {"/eSCL/ScannerCapabilities", "scan:ScannerCapabilities"},
    {"/eSCL/ScannerStatus", "scan:ScannerStatus"},
    {"/eSCL/WalkupScanEvent/{uuid}", "scan:WalkupScanEvent"},
    {"/eSCL/WalkupSubscriptions",
     "scan:WalkupScanSubscriptions; a POST takes a scan:WalkupScanSubscription"},
    {"/eSCL/WalkupSubscriptions/{uuid}", "scan:WalkupScanSubscription"},
    {"/eSCL/eSCLConfig", "scan:eSCLConfig"},
    {"/resources", "text/html"},
    {"/usb/interrupt", "text/event-stream"},
};
static_assert(std::ranges::is_sorted(documents, {}, &ResourceDocument::path));

} // namespace

std::string_view document_of(std::string_view path) {
    if (path.ends_with("Manifest.xml"))
        return "man:Manifest";
    const auto *row = std::ranges::lower_bound(documents, path, {}, &ResourceDocument::path);
    return row != std::end(documents) && row->path == path ? row->document : std::string_view();
}

} // namespace varn::web
