#include "device/web/resource_map.h"

#include "device/web/device.h"
#include "device/web/handlers.h"
#include "varn/varn.h"

#include <algorithm>
#include <iterator>

namespace varn::web {
namespace {

constexpr LockSet no_locks;

/// A resource that needs no login.
constexpr Resource open_to_all(Method method, std::string_view path, LockSet locks,
                               std::string_view function, Adapter adapter) {
    return {path, method, Authority::everyone, locks, function, adapter};
}

/// A ticket that nothing writes while the device runs.
constexpr Resource ticket(std::string_view path, const char *device_path) {
    return open_to_all(Method::get, path, no_locks, device_path, StaticFile{device_path});
}

/// Sorted by path, then method.
constexpr Resource resources[] = {
    open_to_all(Method::get, "/", no_locks, "", Answer{index_page}),
    open_to_all(Method::get, "/DevMgmt/DiscoveryTree.xml", {Lock::discovery_tree},
                "VARN_GetDiscoveryTree", LibraryGet{VARN_GetDiscoveryTree}),
    ticket("/DevMgmt/NetAppsCap.xml", "/tmp/xml_tickets/DevMgmt/NetAppsCap.xml"),
    ticket("/DevMgmt/NetAppsSecureManifest.xml",
           "/tmp/xml_tickets/DevMgmt/NetAppsSecureManifest.xml"),
    open_to_all(Method::get, "/DevMgmt/ProductConfigCap.xml", {Lock::product_config_cap},
                "VARN_GetProductConfigCap", LibraryGet{VARN_GetProductConfigCap}),
    open_to_all(Method::get, "/DevMgmt/ProductConfigDyn.xml", {Lock::product_config},
                "VARN_GetProductConfigDyn", LibraryGet{VARN_GetProductConfigDyn}),
    open_to_all(Method::put, "/DevMgmt/ProductConfigDyn.xml", {Lock::product_config},
                "VARN_PutProductConfigDyn", LibraryPut{VARN_PutProductConfigDyn}),
    ticket("/DevMgmt/ProductServiceCap.xml", "/tmp/xml_tickets/DevMgmt/ProductServiceCap.xml"),
    ticket("/DevMgmt/ProductStatusCap.xml", "/tmp/xml_tickets/DevMgmt/ProductStatusCap.xml"),
    ticket("/DevMgmt/ProductUsageCap.xml", "/tmp/xml_tickets/DevMgmt/ProductUsageCap.xml"),
    ticket("/DevMgmt/SendUSB/SendUSBServiceManifest.xml",
           "/tmp/xml_tickets/DevMgmt/SendUSB/SendUSBServiceManifest.xml"),
    ticket("/EventMgmt/EventMgmtManifest.xml", "/tmp/xml_tickets/EventMgmt/EventMgmtManifest.xml"),
    ticket("/IoMgmt/IoMgmtManifest.xml", "/tmp/xml_tickets/IoMgmt/IoMgmtManifest.xml"),
    open_to_all(Method::put, "/eSCL/ScanBufferInfo", {Lock::scan}, "escl_get_scanbufferinfo",
                Answer{put_scan_buffer_info}),
    open_to_all(Method::post, "/eSCL/ScanBufferInfo", {Lock::scan}, "escl_get_scanbufferinfo",
                Answer{put_scan_buffer_info}),
    open_to_all(Method::post, "/eSCL/ScanJobs", {Lock::scan}, "escl_start_scan",
                LocksLater{post_scan_job}),
    open_to_all(Method::del, "/eSCL/ScanJobs/{uuid}", no_locks, "escl_cancel_scan",
                Answer{delete_scan_job}),
    open_to_all(Method::get, "/eSCL/ScanJobs/{uuid}/NextDocument", no_locks,
                "do_get_current_block_info", Stream{next_document}),
    open_to_all(Method::get, "/eSCL/ScanJobs/{uuid}/ScanImageInfo", {Lock::scan, Lock::image_info},
                "escl_get_scanimageinfo", Answer{get_scan_image_info}),
    open_to_all(Method::get, "/eSCL/ScannerCapabilities", {Lock::scan}, "eSCL_GetScanCapa",
                SharedAnswer{get_scanner_capabilities}),
    open_to_all(Method::get, "/eSCL/ScannerStatus", {Lock::scanner_status},
                "escl_get_scanner_status", SharedAnswer{get_scanner_status}),
    open_to_all(Method::get, "/eSCL/eSCLConfig", {Lock::escl_config, Lock::my_malloc},
                "eSCL_GeteSCLConfig", LibraryGet{eSCL_GeteSCLConfig}),
    open_to_all(Method::put, "/eSCL/eSCLConfig", {Lock::escl_config, Lock::shared_reader},
                "eSCL_PuteSCLConfig", DocumentPut{eSCL_PuteSCLConfig}),
    open_to_all(Method::get, "/eSCL/eSclManifest.xml", {Lock::escl_manifest}, "eSCL_GetManifest",
                LibraryGet{eSCL_GetManifest}),
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

constexpr std::string_view uuid_mark = "{uuid}";

/// The pattern of a path: its identifier, if it has one, taken out.
struct Pattern {
    std::string path;
    std::string uuid;
};
Pattern pattern_of(std::string_view path) {
    constexpr std::size_t uuid_size = 36;
    for (std::size_t i = 0; i + uuid_size < path.size(); ++i) {
        const std::size_t end = i + 1 + uuid_size;
        if (path[i] != '/' || (end < path.size() && path[end] != '/'))
            continue;
        const std::string_view segment = path.substr(i + 1, uuid_size);
        if (!is_uuid(segment))
            continue;
        Pattern pattern;
        pattern.path.append(path, 0, i + 1).append(uuid_mark).append(path, end);
        pattern.uuid = segment;
        return pattern;
    }
    return {std::string(path), {}};
}

std::span<const Resource> rows_of(std::string_view pattern) {
    const auto before = [](const Resource &row, std::string_view path) { return row.path < path; };
    const auto after = [](std::string_view path, const Resource &row) { return path < row.path; };
    return {std::lower_bound(std::begin(resources), std::end(resources), pattern, before),
            std::upper_bound(std::begin(resources), std::end(resources), pattern, after)};
}

} // namespace

std::span<const Resource> resource_map() { return resources; }

Match find_resource(std::string_view path, Method method) {
    Pattern pattern = pattern_of(path);
    Match match;
    // A path that holds the mark itself names no resource.
    if (path.find(uuid_mark) != std::string_view::npos)
        return match;
    for (const Resource &row : rows_of(pattern.path)) {
        match.path_exists = true;
        if (row.method == method)
            match.resource = &row;
    }
    match.uuid = std::move(pattern.uuid);
    return match;
}

std::string allowed_methods(std::string_view path) {
    std::string methods = "OPTIONS";
    for (const Resource &row : rows_of(pattern_of(path).path)) {
        methods.append(", ").append(method_name(row.method));
        if (allows_head(row))
            methods += ", HEAD";
    }
    return methods;
}

bool allows_head(const Resource &resource) {
    return resource.method == Method::get && !std::holds_alternative<Stream>(resource.adapter);
}

} // namespace varn::web
