#include "device/web/resource_map.h"

#include "device/web/admin_page.h"
#include "device/web/device.h"
#include "device/web/digitalsend_handlers.h"
#include "device/web/handlers.h"
#include "device/web/network_handlers.h"
#include "device/web/time_handlers.h"
#include "varn/varn.h"

#include <algorithm>
#include <iterator>

namespace varn::web {
namespace {

constexpr LockSet no_locks;

/// What hosts send to scan, and to be found at the panel.
constexpr bool is_for_scanning(std::string_view path) {
    return path.starts_with("/eSCL/Scan") || path.starts_with("/eSCL/Walkup") ||
           path.starts_with("/WalkupScanToComp/");
}

/// A resource that anybody may read. What changes the device is open while no password is set.
constexpr Resource open_to_all(Method method, std::string_view path, LockSet locks,
                               std::string_view function, Adapter adapter) {
    const bool is_open = method == Method::get || is_for_scanning(path);
    return {path,  method,   is_open ? Authority::everyone : Authority::owner,
            locks, function, adapter};
}

/// A ticket that nothing writes while the device runs.
constexpr Resource ticket(std::string_view path, const char *device_path) {
    return open_to_all(Method::get, path, no_locks, device_path, StaticFile{device_path});
}

/// What shows or changes pass phrases, keys, community names or the network as a whole.
constexpr Resource for_administrator(Method method, std::string_view path, LockSet locks,
                                     std::string_view function, Adapter adapter) {
    return {path, method, Authority::administrator, locks, function, adapter};
}

/// The job table is read, changed and written back.
constexpr LockSet sharepoint_get = {Lock::sharepoint, Lock::my_malloc};
constexpr LockSet sharepoint_post = {Lock::sharepoint, Lock::identifiers, Lock::shared_reader};
constexpr LockSet send_usb_get = {Lock::send_usb, Lock::my_malloc};

constexpr LockSet network_get = {Lock::my_malloc};
constexpr LockSet network_change = {Lock::network_change};

constexpr LockSet time_get = {Lock::my_malloc};
/// A change of the clock looks at its effect.
constexpr LockSet time_change = {Lock::shared_reader, Lock::my_malloc};

/// Sorted by path, then method.
constexpr Resource resources[] = {
    open_to_all(Method::get, "/", no_locks, "", Answer{admin_page}),
    open_to_all(Method::get, "/DevMgmt/DiscoveryTree.xml", {Lock::discovery_tree},
                "VARN_GetDiscoveryTree", LibraryGet{VARN_GetDiscoveryTree}),
    open_to_all(Method::get, "/DevMgmt/Email/CommonEmailServerDyn.xml",
                {Lock::email, Lock::my_malloc}, "VARN_GetEmailServiceDyn",
                LibraryGet{VARN_GetEmailServiceDyn}),
    for_administrator(Method::put, "/DevMgmt/Email/CommonEmailServerDyn.xml",
                      {Lock::email, Lock::shared_reader}, "VARN_PutEmailServiceDyn",
                      DocumentPut{VARN_PutEmailServiceDyn}),
    open_to_all(Method::get, "/DevMgmt/Email/ScanToEmailDyn.xml", {Lock::email, Lock::my_malloc},
                "VARN_GetEmailDyn", LibraryGet{VARN_GetEmailDyn}),
    for_administrator(Method::put, "/DevMgmt/Email/ScanToEmailDyn.xml",
                      {Lock::email, Lock::shared_reader}, "VARN_PutEmailDyn",
                      DocumentPut{VARN_PutEmailDyn}),
    for_administrator(Method::get, "/DevMgmt/IOConfigDyn.xml", network_get, "VARN_GetIOConfigDyn",
                      LibraryGet{VARN_GetIOConfigDyn}),
    for_administrator(Method::put, "/DevMgmt/IOConfigDyn.xml",
                      {Lock::shared_reader, Lock::snmp_file}, "VARN_PutIOConfigDyn",
                      Answer{put_snmp<VARN_PutIOConfigDyn>}),
    ticket("/DevMgmt/NetAppsCap.xml", "/tmp/xml_tickets/DevMgmt/NetAppsCap.xml"),
    for_administrator(Method::get, "/DevMgmt/NetAppsDyn.xml", network_get, "VARN_GetNetAppsDyn",
                      LibraryGet{VARN_GetNetAppsDyn}),
    for_administrator(Method::put, "/DevMgmt/NetAppsDyn.xml",
                      {Lock::shared_reader, Lock::snmp_file, Lock::web_parameters},
                      "VARN_PutNetAppsDyn", Answer{put_snmp<VARN_PutNetAppsDyn>}),
    ticket("/DevMgmt/NetAppsSecureCap.xml", "/tmp/xml_tickets/DevMgmt/NetAppsSecureCap.xml"),
    open_to_all(Method::get, "/DevMgmt/NetAppsSecureDyn.xml", network_get,
                "VARN_GetNetAppsSecureDyn", LibraryGet{VARN_GetNetAppsSecureDyn}),
    for_administrator(Method::put, "/DevMgmt/NetAppsSecureDyn.xml",
                      {Lock::shared_reader, Lock::web_parameters}, "VARN_PutNetAppsSecureDyn",
                      DocumentPut{VARN_PutNetAppsSecureDyn}),
    ticket("/DevMgmt/NetAppsSecureManifest.xml",
           "/tmp/xml_tickets/DevMgmt/NetAppsSecureManifest.xml"),
    open_to_all(Method::get, "/DevMgmt/ProductConfigCap.xml", {Lock::product_config_cap},
                "VARN_GetProductConfigCap", LibraryGet{VARN_GetProductConfigCap}),
    open_to_all(Method::get, "/DevMgmt/ProductConfigDyn.xml", {Lock::product_config},
                "VARN_GetProductConfigDyn", LibraryGet{VARN_GetProductConfigDyn}),
    open_to_all(Method::put, "/DevMgmt/ProductConfigDyn.xml", {Lock::product_config},
                "VARN_PutProductConfigDyn", LibraryPut{VARN_PutProductConfigDyn}),
    open_to_all(Method::get, "/DevMgmt/ProductServiceCap.xml", {Lock::maintenance},
                "VARN_GetProductServiceCap", LibraryGet{VARN_GetProductServiceCap}),
    open_to_all(Method::get, "/DevMgmt/ProductServiceDyn.xml", {Lock::maintenance},
                "VARN_GetProductServiceDyn", LibraryGet{VARN_GetProductServiceDyn}),
    for_administrator(Method::put, "/DevMgmt/ProductServiceDyn.xml", {Lock::maintenance},
                      "VARN_PutProductServiceDyn", LibraryPut{VARN_PutProductServiceDyn}),
    open_to_all(Method::get, "/DevMgmt/ProductStatusCap.xml", {Lock::maintenance},
                "VARN_GetProductStatCap", LibraryGet{VARN_GetProductStatCap}),
    open_to_all(Method::get, "/DevMgmt/ProductStatusDyn.xml", {Lock::maintenance},
                "VARN_GetProductStatDyn", LibraryGet{VARN_GetProductStatDyn}),
    open_to_all(Method::put, "/DevMgmt/ProductStatusDyn.xml", {Lock::maintenance},
                "VARN_PutProductStatDyn", LibraryPut{VARN_PutProductStatDyn}),
    open_to_all(Method::get, "/DevMgmt/ProductUsageCap.xml", {Lock::maintenance},
                "VARN_GetProductUsageCap", LibraryGet{VARN_GetProductUsageCap}),
    open_to_all(Method::get, "/DevMgmt/ProductUsageDyn.xml", {Lock::maintenance},
                "VARN_GetProductUsageDyn", LibraryGet{VARN_GetProductUsageDyn}),
    open_to_all(Method::get, "/DevMgmt/SecurityCap.xml", {Lock::my_malloc}, "VARN_GetSecurityCap",
                LibraryGet{VARN_GetSecurityCap}),
    for_administrator(Method::get, "/DevMgmt/SecurityDyn.xml", {Lock::my_malloc},
                      "VARN_GetSecurityDyn", LibraryGet{VARN_GetSecurityDyn}),
    for_administrator(Method::put, "/DevMgmt/SecurityDyn.xml",
                      {Lock::shared_reader, Lock::web_parameters}, "VARN_PutSecurityDyn",
                      DocumentPut{VARN_PutSecurityDyn}),
    open_to_all(Method::get, "/DevMgmt/SendUSB/PredefinedJobs", send_usb_get,
                "VARN_GetSendUSBServicePredefinedJobs",
                LibraryGet{VARN_GetSendUSBServicePredefinedJobs}),
    for_administrator(Method::post, "/DevMgmt/SendUSB/PredefinedJobs",
                      {Lock::send_usb, Lock::identifiers, Lock::shared_reader},
                      "VARN_PostSendUSBServicePredefinedJobs", Answer{post_usb_job}),
    open_to_all(Method::get, "/DevMgmt/SendUSB/PredefinedJobs/{uuid}", {Lock::send_usb},
                "VARN_GetSendUSBServicePredefinedJobs_id",
                Answer{answer_usb_job<VARN_GetSendUSBServicePredefinedJobs_id>}),
    for_administrator(Method::put, "/DevMgmt/SendUSB/PredefinedJobs/{uuid}", {Lock::send_usb},
                      "VARN_PutSendUSBServicePredefinedJobs_id",
                      Answer{answer_usb_job<VARN_PutSendUSBServicePredefinedJobs_id>}),
    for_administrator(Method::del, "/DevMgmt/SendUSB/PredefinedJobs/{uuid}", {Lock::send_usb},
                      "VARN_DeleteSendUSBServicePredefinedJobs_id",
                      Answer{answer_usb_job<VARN_DeleteSendUSBServicePredefinedJobs_id>}),
    for_administrator(Method::post, "/DevMgmt/SendUSB/PredefinedJobs/{uuid}/Clone",
                      {Lock::send_usb}, "VARN_ClonedSendUSBServicePredefinedJobs_id",
                      Answer{answer_usb_job<VARN_ClonedSendUSBServicePredefinedJobs_id>}),
    open_to_all(Method::get, "/DevMgmt/SendUSB/SendUSBServiceCap.xml", {Lock::send_usb},
                "VARN_GetSendUSBServiceCap", LibraryGet{VARN_GetSendUSBServiceCap}),
    open_to_all(Method::get, "/DevMgmt/SendUSB/SendUSBServiceDyn.xml", send_usb_get,
                "VARN_GetSendUSBServiceDyn", LibraryGet{VARN_GetSendUSBServiceDyn}),
    for_administrator(Method::put, "/DevMgmt/SendUSB/SendUSBServiceDyn.xml",
                      {Lock::send_usb, Lock::shared_reader}, "VARN_PutSendUSBServiceDyn",
                      Answer{put_send_usb}),
    open_to_all(Method::get, "/DevMgmt/SendUSB/SendUSBServiceManifest.xml", {Lock::send_usb},
                "VARN_GetSendUSBServiceManifest", LibraryGet{VARN_GetSendUSBServiceManifest}),
    for_administrator(Method::get, "/DevMgmt/SharePoint/PredefinedJobs", sharepoint_get,
                      "VARN_GetSharePointPredefinedjobs",
                      LibraryGet{VARN_GetSharePointPredefinedjobs}),
    for_administrator(Method::post, "/DevMgmt/SharePoint/PredefinedJobs", sharepoint_post,
                      "VARN_PostSharePointDynPredefinedjobs", Answer{post_sharepoint_job}),
    for_administrator(Method::get, "/DevMgmt/SharePoint/PredefinedJobs/{uuid}", sharepoint_get,
                      "VARN_GetSharePointPredefinedJobs_id", Answer{get_sharepoint_job}),
    for_administrator(Method::put, "/DevMgmt/SharePoint/PredefinedJobs/{uuid}",
                      {Lock::sharepoint, Lock::shared_reader, Lock::my_malloc},
                      "VARN_PutSharePointPredefinedJobs_id", Answer{put_sharepoint_job}),
    for_administrator(Method::del, "/DevMgmt/SharePoint/PredefinedJobs/{uuid}", {Lock::sharepoint},
                      "VARN_DeleteSharePointPredefinedJobs_id", Answer{delete_sharepoint_job}),
    for_administrator(Method::post, "/DevMgmt/SharePoint/PredefinedJobs/{uuid}/Clone",
                      sharepoint_post, "VARN_CloneSharePointPredefinedJobs_id",
                      Answer{clone_sharepoint_job}),
    for_administrator(Method::post, "/DevMgmt/SharePoint/PredefinedJobs/{uuid}/Test",
                      {Lock::sharepoint}, "VARN_PostTestSharePointPredefinedJobs_id",
                      Answer{test_sharepoint_job}),
    for_administrator(Method::get, "/DevMgmt/SharePoint/PredefinedJobs/{uuid}/TestResult",
                      sharepoint_get, "VARN_GetTestResultSharePointPredefinedJobs_id",
                      Answer{get_sharepoint_test_result}),
    open_to_all(Method::get, "/DevMgmt/SharePoint/SharePointService.xml", sharepoint_get,
                "VARN_GetSharePointDyn", LibraryGet{VARN_GetSharePointDyn}),
    for_administrator(Method::put, "/DevMgmt/SharePoint/SharePointService.xml",
                      {Lock::sharepoint, Lock::web_parameters, Lock::shared_reader},
                      "VARN_PutSharePointDyn", Answer{put_sharepoint_service}),
    open_to_all(Method::get, "/DevMgmt/SharePoint/SharePointServiceCap.xml", {Lock::sharepoint},
                "VARN_GetSharePointCap", LibraryGet{VARN_GetSharePointCap}),
    open_to_all(Method::get, "/DevMgmt/SharePoint/SharePointServiceManifest.xml",
                {Lock::sharepoint}, "VARN_GetSharePointManifest",
                LibraryGet{VARN_GetSharePointManifest}),
    open_to_all(Method::get, "/EventMgmt/EventCapabilities", {Lock::events},
                "VARN_GetEventCapabilities", LibraryGet{VARN_GetEventCapabilities}),
    open_to_all(Method::get, "/EventMgmt/EventMgmtManifest.xml", {Lock::events},
                "VARN_GetEventManifest", LibraryGet{VARN_GetEventManifest}),
    open_to_all(Method::get, "/EventMgmt/EventTable", {Lock::events}, "VARN_GetEventTable",
                Answer{get_event_table}),
    open_to_all(Method::get, "/EventMgmt/SubscriptionList", {Lock::events},
                "VARN_GetEventSubscriptionList", LibraryGet{VARN_GetEventSubscriptionList}),
    open_to_all(Method::get, "/IoMgmt/Adapters", network_get, "VARN_GetIoMgmtAdapters",
                LibraryGet{VARN_GetIoMgmtAdapters}),
    for_administrator(Method::put, "/IoMgmt/Adapters/{id}", network_change,
                      "VARN_PutIoMgmtAdaptersItem",
                      Answer{change_adapter<VARN_PutIoMgmtAdaptersItem>}),
    open_to_all(Method::get, "/IoMgmt/Adapters/{id}/ClientList", network_get,
                "VARN_GetIoMgmtClientList", Answer{get_of_adapter<VARN_GetIoMgmtClientList>}),
    open_to_all(Method::get, "/IoMgmt/Adapters/{id}/NetworkStats", network_get,
                "VARN_GetIoMgmtAdaptersNetworkStats",
                Answer{get_of_adapter<VARN_GetIoMgmtAdaptersNetworkStats>}),
    for_administrator(Method::get, "/IoMgmt/Adapters/{id}/Profiles/{id}", network_get,
                      "VARN_GetIoMgmtAdaptersProfiles",
                      Answer{get_item<VARN_GetIoMgmtAdaptersProfiles>}),
    for_administrator(Method::put, "/IoMgmt/Adapters/{id}/Profiles/{id}", {Lock::profile_change},
                      "VARN_PutIoMgmtAdaptersProfiles", Answer{put_profile}),
    open_to_all(Method::get, "/IoMgmt/Adapters/{id}/Protocols", network_get,
                "VARN_GetIoMgmtAdaptersProtocols",
                Answer{get_of_adapter<VARN_GetIoMgmtAdaptersProtocols>}),
    open_to_all(Method::get, "/IoMgmt/Adapters/{id}/VsaCodes", network_get,
                "VARN_GetIoMgmtVsaCodes", Answer{get_of_adapter<VARN_GetIoMgmtVsaCodes>}),
    for_administrator(Method::get, "/IoMgmt/Adapters/{id}/WPS/Pin", network_get,
                      "VARN_GetIoMgmtAdaptersWPSPIN",
                      Answer{get_of_adapter<VARN_GetIoMgmtAdaptersWPSPIN>}),
    for_administrator(Method::post, "/IoMgmt/Adapters/{id}/WPS/PinSessions", network_change,
                      "VARN_PostIoMgmtAdaptersPinSession", Answer{post_pin_session}),
    open_to_all(Method::get, "/IoMgmt/Adapters/{id}/WPS/PinSessions/{id}", network_get,
                "VARN_GetIoMgmtAdaptersPinSession",
                Answer{get_item<VARN_GetIoMgmtAdaptersPinSession>}),
    for_administrator(Method::del, "/IoMgmt/Adapters/{id}/WPS/PinSessions/{id}", network_change,
                      "VARN_DeleteIoMgmtAdaptersPinSession",
                      Answer{delete_item<VARN_DeleteIoMgmtAdaptersPinSession>}),
    for_administrator(Method::post, "/IoMgmt/Adapters/{id}/WPS/PushButtonSessions", network_change,
                      "VARN_PostIoMgmtAdaptersPushButton", Answer{post_push_button}),
    open_to_all(Method::get, "/IoMgmt/Adapters/{id}/WPS/PushButtonSessions/{id}", network_get,
                "VARN_GetIoMgmtAdaptersPushButton",
                Answer{get_item<VARN_GetIoMgmtAdaptersPushButton>}),
    for_administrator(Method::del, "/IoMgmt/Adapters/{id}/WPS/PushButtonSessions/{id}",
                      network_change, "VARN_DeleteIoMgmtAdaptersPushButton",
                      Answer{delete_item<VARN_DeleteIoMgmtAdaptersPushButton>}),
    open_to_all(Method::get, "/IoMgmt/Adapters/{id}/WifiNetworks", network_get,
                "VARN_GetIoMgmtAdaptersWifiNetworks", Answer{get_wifi_networks}),
    open_to_all(Method::get, "/IoMgmt/Adapters/{id}/WifiNetworks/{id}", network_get,
                "VARN_GetIoMgmtAdaptersWifiNetworks",
                Answer{get_item<VARN_GetIoMgmtAdaptersWifiNetworks>}),
    open_to_all(Method::get, "/IoMgmt/IoConfig.xml", network_get, "VARN_GetIoConfig",
                LibraryGet{VARN_GetIoConfig}),
    for_administrator(Method::put, "/IoMgmt/IoConfig.xml", network_change, "VARN_PutIoConfig",
                      Answer{put_io_config}),
    open_to_all(Method::get, "/IoMgmt/IoMgmtCap.xml", {Lock::io_capabilities}, "VARN_GetIoMgmtCap",
                LibraryGet{VARN_GetIoMgmtCap}),
    ticket("/IoMgmt/IoMgmtManifest.xml", "/tmp/xml_tickets/IoMgmt/IoMgmtManifest.xml"),
    open_to_all(Method::get, "/Jobs/JobList", {Lock::jobs}, "VARN_GetJobList",
                LibraryGet{VARN_GetJobList}),
    open_to_all(Method::put, "/Jobs/JobList", {Lock::jobs}, "VARN_Put_SpecificJobXML",
                Answer{put_job}),
    open_to_all(Method::get, "/Jobs/JobList/{id}", {Lock::jobs}, "VARN_Get_SpecificJobXML",
                Answer{get_job}),
    open_to_all(Method::put, "/Jobs/JobList/{id}", {Lock::jobs}, "VARN_Put_SpecificJobXML",
                Answer{put_job}),
    open_to_all(Method::get, "/Jobs/JobsManifest.xml", {Lock::jobs}, "VARN_GetJobsManifest",
                LibraryGet{VARN_GetJobsManifest}),
    open_to_all(Method::get, "/TimeService/RTCSetting", time_get, "VARN_GetTimeServiceRTCSetting",
                SharedAnswer{get_clock}),
    for_administrator(Method::put, "/TimeService/RTCSetting", time_change,
                      "VARN_PutTimeServiceRTCSetting", Answer{put_clock}),
    open_to_all(Method::get, "/TimeService/SNTPSync", time_get, "VARN_GetTimeServiceSNTPSync",
                LibraryGet{VARN_GetTimeServiceSNTPSync}),
    for_administrator(Method::put, "/TimeService/SNTPSync", time_change,
                      "VARN_PutTimeServiceSNTPSync", Answer{put_network_time}),
    open_to_all(Method::get, "/TimeService/SNTPSync/Defaults", time_get,
                "VARN_GetTimeServiceSNTPDefaults", LibraryGet{VARN_GetTimeServiceSNTPDefaults}),
    open_to_all(Method::get, "/TimeService/SupportedTimeZones", time_get,
                "VARN_GetTimeServiceSupportedTimeZones",
                LibraryGet{VARN_GetTimeServiceSupportedTimeZones}),
    open_to_all(Method::get, "/TimeService/TimeServiceCap.xml", time_get, "VARN_GetTimeServiceCap",
                LibraryGet{VARN_GetTimeServiceCap}),
    open_to_all(Method::get, "/TimeService/TimeServiceManifest.xml", time_get,
                "VARN_GetTimeServiceManifest", LibraryGet{VARN_GetTimeServiceManifest}),
    open_to_all(Method::get, "/WalkupScanToComp/WalkupScanManifest.xml", {Lock::walkup},
                "VARN_GetWalkupScanManifest", LibraryGet{VARN_GetWalkupScanManifest}),
    open_to_all(Method::get, "/WalkupScanToComp/WalkupScanToCompCaps", {Lock::walkup},
                "VARN_GetWalkupScanCapabilities", SharedAnswer{get_walkup_capabilities}),
    open_to_all(Method::get, "/WalkupScanToComp/WalkupScanToCompDestinations", {Lock::walkup},
                "VARN_GetWalkupScanDestination", SharedAnswer{get_walkup_destinations}),
    open_to_all(Method::post, "/WalkupScanToComp/WalkupScanToCompDestinations",
                {Lock::walkup, Lock::shared_reader, Lock::identifiers},
                "VARN_CreateWalkupScanDestination", Answer{post_walkup_destination}),
    open_to_all(Method::get, "/WalkupScanToComp/WalkupScanToCompDestinations/{uuid}",
                {Lock::walkup}, "VARN_GetWalkupScanDestination", Answer{get_walkup_destination}),
    open_to_all(Method::del, "/WalkupScanToComp/WalkupScanToCompDestinations/{uuid}",
                {Lock::walkup}, "VARN_DeleteWalkupScanDestination",
                Answer{delete_walkup_destination}),
    open_to_all(Method::get, "/WalkupScanToComp/WalkupScanToCompEvent", {Lock::walkup},
                "VARN_GetWalkupScanEvent", SharedAnswer{get_destination_event}),
    open_to_all(Method::get, "/admin.css", no_locks, "", Answer{admin_page}),
    open_to_all(Method::get, "/admin.js", no_locks, "", Answer{admin_page}),
    open_to_all(Method::get, "/administrator/password", no_locks, "", Answer{get_password_state}),
    for_administrator(Method::put, "/administrator/password", no_locks, "", Answer{put_password}),
    open_to_all(Method::put, "/eSCL/ScanBufferInfo", {Lock::scan}, "escl_get_scanbufferinfo",
                Answer{put_scan_buffer_info}),
    open_to_all(Method::post, "/eSCL/ScanBufferInfo", {Lock::scan}, "escl_get_scanbufferinfo",
                Answer{put_scan_buffer_info}),
    open_to_all(Method::post, "/eSCL/ScanJobs", {Lock::scan, Lock::identifiers}, "escl_start_scan",
                LocksLater{post_scan_job}),
    open_to_all(Method::del, "/eSCL/ScanJobs/{uuid}", {Lock::scan}, "escl_cancel_scan",
                LocksLater{delete_scan_job}),
    open_to_all(Method::get, "/eSCL/ScanJobs/{uuid}/NextDocument", no_locks,
                "do_get_current_block_info", Stream{next_document}),
    open_to_all(Method::get, "/eSCL/ScanJobs/{uuid}/ScanImageInfo", {Lock::scan, Lock::image_info},
                "escl_get_scanimageinfo", Answer{get_scan_image_info}),
    open_to_all(Method::get, "/eSCL/ScannerCapabilities", {Lock::scan}, "eSCL_GetScanCapa",
                SharedAnswer{get_scanner_capabilities}),
    open_to_all(Method::get, "/eSCL/ScannerStatus", {Lock::scanner_status},
                "escl_get_scanner_status", SharedAnswer{get_scanner_status}),
    open_to_all(Method::get, "/eSCL/WalkupScanEvent/{uuid}", {Lock::walkup},
                "eSCL_GetWalkupScanEvent", TakingAnswer{take_walkup_event}),
    open_to_all(Method::get, "/eSCL/WalkupSubscriptions", {Lock::walkup},
                "eSCL_GetWalkupSubscription", SharedAnswer{get_walkup_subscriptions}),
    open_to_all(Method::post, "/eSCL/WalkupSubscriptions",
                {Lock::walkup, Lock::shared_reader, Lock::identifiers},
                "eSCL_CreateWalkupSubscription", Answer{post_walkup_subscription}),
    open_to_all(Method::get, "/eSCL/WalkupSubscriptions/{uuid}", {Lock::walkup},
                "eSCL_GetWalkupSubscription", Answer{get_walkup_subscription}),
    open_to_all(Method::del, "/eSCL/WalkupSubscriptions/{uuid}", {Lock::walkup},
                "eSCL_DeleteWalkupSubscription", Answer{delete_walkup_subscription}),
    open_to_all(Method::get, "/eSCL/eSCLConfig", {Lock::escl_config, Lock::my_malloc},
                "eSCL_GeteSCLConfig", LibraryGet{eSCL_GeteSCLConfig}),
    open_to_all(Method::put, "/eSCL/eSCLConfig",
                {Lock::escl_config, Lock::shared_reader, Lock::web_parameters},
                "eSCL_PuteSCLConfig", DocumentPut{eSCL_PuteSCLConfig}),
    open_to_all(Method::get, "/eSCL/eSclManifest.xml", {Lock::escl_manifest}, "eSCL_GetManifest",
                LibraryGet{eSCL_GetManifest}),
    open_to_all(Method::get, "/resources", no_locks, "", Answer{index_page}),
    open_to_all(Method::get, "/usb/interrupt", no_locks, "VARN_USBIntr", Stream{usb_interrupts}),
};

constexpr bool is_sorted_and_unique() {
    for (std::size_t i = 1; i < std::size(resources); ++i) {
        const Resource &a = resources[i - 1];
        const Resource &b = resources[i];
        if (a.path > b.path || (a.path == b.path && a.method >= b.method))
            return false;
    }
    return true;
}
static_assert(is_sorted_and_unique());

/// What stands for the marks of a pattern.
struct Marks {
    std::string_view uuid;
    std::vector<std::string_view> ids;
};

/// Takes the first segment of a path off it.
std::string_view take_segment(std::string_view &path) {
    const std::string_view segment = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(segment.size() + 1, path.size()));
    return segment;
}

std::optional<Marks> match_pattern(std::string_view pattern, std::string_view path) {
    if (std::ranges::count(pattern, '/') != std::ranges::count(path, '/'))
        return std::nullopt;
    Marks marks;
    while (!pattern.empty() || !path.empty()) {
        const std::string_view form = take_segment(pattern);
        const std::string_view segment = take_segment(path);
        if (form == "{uuid}" && is_uuid(segment))
            marks.uuid = segment;
        else if (form == "{id}" && !segment.empty())
            marks.ids.push_back(segment);
        else if (form != segment || form == "{uuid}")
            return std::nullopt;
    }
    return marks;
}

std::span<const Resource> rows_of(std::string_view path) {
    const auto before = [](const Resource &row, std::string_view key) { return row.path < key; };
    const auto after = [](std::string_view key, const Resource &row) { return key < row.path; };
    return {std::lower_bound(std::begin(resources), std::end(resources), path, before),
            std::upper_bound(std::begin(resources), std::end(resources), path, after)};
}

bool is_pattern(const Resource &row) { return row.path.find('{') != std::string_view::npos; }

/// The rows that a request path leads to, and what its marks stand for.
struct Lookup {
    std::span<const Resource> rows;
    Marks marks;
};
Lookup look_up(std::string_view path) {
    Lookup best = {rows_of(path), {}};
    if (!best.rows.empty() && !is_pattern(best.rows.front()))
        return best;
    best.rows = {};
    for (const Resource &row : resources) {
        if (!is_pattern(row) || (!best.rows.empty() && best.rows.front().path == row.path))
            continue;
        std::optional<Marks> marks = match_pattern(row.path, path);
        if (marks && (best.rows.empty() || marks->ids.size() < best.marks.ids.size()))
            best = {rows_of(row.path), std::move(*marks)};
    }
    return best;
}

} // namespace

std::string_view authority_name(Authority who) {
    switch (who) {
    case Authority::everyone:
        break;
    case Authority::owner:
        return "owner";
    case Authority::administrator:
        return "administrator";
    }
    return "everyone";
}

std::span<const Resource> resource_map() { return resources; }

Match find_resource(std::string_view path, Method method) {
    const Lookup found = look_up(path);
    Match match;
    match.path_exists = !found.rows.empty();
    for (const Resource &row : found.rows)
        if (row.method == method)
            match.resource = &row;
    match.uuid = found.marks.uuid;
    match.ids.assign(found.marks.ids.begin(), found.marks.ids.end());
    return match;
}

std::string allowed_methods(std::string_view path) {
    std::string methods = "OPTIONS";
    std::span<const Resource> rows = rows_of(path); // a row's own path, or a request's
    if (rows.empty())
        rows = look_up(path).rows;
    for (const Resource &row : rows) {
        methods.append(", ").append(method_name(row.method));
        if (allows_head(row))
            methods += ", HEAD";
    }
    return methods;
}

bool allows_head(const Resource &resource) {
    return resource.method == Method::get && !std::holds_alternative<Stream>(resource.adapter) &&
           !std::holds_alternative<TakingAnswer>(resource.adapter);
}

} // namespace varn::web
