#include "device/web/resource_map.h"

#include <gtest/gtest.h>
#include <set>

namespace varn::web {
namespace {

const std::string uuid = "0D57123e-5891-479e-9fd6-9499338a238e";

void replace_all(std::string &text, const std::string &from, const std::string &to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

TEST(ResourceMap, EveryRowIsFoundByItsOwnPathAndMethod) {
    for (const Resource &row : resource_map()) {
        std::string path(row.path);
        replace_all(path, "{uuid}", uuid);
        const bool has_uuid = path != row.path;
        replace_all(path, "{id}", "a b");
        const Match match = find_resource(path, row.method);
        EXPECT_EQ(match.resource, &row) << path;
        EXPECT_EQ(!match.uuid.empty(), has_uuid) << path;
        EXPECT_EQ(match.ids.empty(), row.path.find("{id}") == std::string_view::npos) << path;
        for (const std::string &id : match.ids)
            EXPECT_EQ(id, "a b");
        EXPECT_NE(allowed_methods(path).find(method_name(row.method)), std::string::npos) << path;
        EXPECT_EQ(allowed_methods(path), allowed_methods(row.path));
    }
}

TEST(ResourceMap, NearMissesNameNothing) {
    for (const std::string path :
         {"", "/eSCL", "/eSCL/", "/eSCL/scannerstatus", "/eSCL/ScannerStatus/", "//",
          "/eSCL/ScanJobs/{uuid}", "/eSCL/ScanJobs/{uuid}/NextDocument",
          "/eSCL/ScanJobs/0d57123e-5891-479e-9fd6-9499338a238/NextDocument", "/Jobs/JobList/",
          "/Jobs/JobList//", "/Jobs/JobList/1/", "/Jobs/JobList/1/2", "Jobs/JobList/1"})
        EXPECT_FALSE(find_resource(path, Method::get).path_exists) << path;
    EXPECT_FALSE(find_resource("/" + uuid, Method::get).path_exists);
    EXPECT_FALSE(find_resource("/eSCL/ScanJobs/" + uuid + "/" + uuid, Method::get).path_exists);
}

TEST(ResourceMap, HeadIsNotForWhatIsHandedOutOnce) {
    EXPECT_EQ(allowed_methods("/eSCL/WalkupScanEvent/" + uuid), "OPTIONS, GET");
    EXPECT_EQ(allowed_methods("/eSCL/ScanJobs/" + uuid + "/NextDocument"), "OPTIONS, GET");
    EXPECT_EQ(allowed_methods("/eSCL/WalkupSubscriptions/" + uuid), "OPTIONS, GET, HEAD, DELETE");
}

bool share_a_lock(LockSet a, LockSet b) {
    for (unsigned i = 0; i < static_cast<unsigned>(Lock::count); ++i)
        if (a.has(static_cast<Lock>(i)) && b.has(static_cast<Lock>(i)))
            return true;
    return false;
}

LockSet locks_of(const char *path, Method method) {
    const Match match = find_resource(path, method);
    return match.resource ? match.resource->locks : LockSet();
}

TEST(ResourceMap, WhatMustNotOverlapSharesALockAndNothingElseDoes) {
    const struct {
        const char *path;
        Method method;
        const char *other;
        Method other_method;
        bool share;
    } rows[] = {
        {"/eSCL/ScanJobs", Method::post, "/eSCL/ScannerCapabilities", Method::get, true},
        {"/DevMgmt/ProductConfigDyn.xml", Method::get, "/DevMgmt/ProductConfigDyn.xml", Method::put,
         true},
        {"/eSCL/ScanJobs", Method::post, "/eSCL/ScanBufferInfo", Method::put, true},
        {"/eSCL/eSCLConfig", Method::get, "/eSCL/eSCLConfig", Method::put, true},
        {"/eSCL/ScanJobs", Method::post, "/eSCL/WalkupSubscriptions", Method::post, true},
        {"/eSCL/WalkupSubscriptions", Method::post,
         "/WalkupScanToComp/WalkupScanToCompDestinations", Method::post, true},
        {"/eSCL/eSCLConfig", Method::put, "/eSCL/WalkupSubscriptions", Method::post, true},
        {"/eSCL/ScannerCapabilities", Method::get, "/eSCL/WalkupSubscriptions", Method::post,
         false},
        {"/eSCL/eSCLConfig", Method::get, "/IoMgmt/Adapters", Method::get, true},
        {"/IoMgmt/Adapters/wifi0/Profiles/1", Method::get, "/IoMgmt/Adapters/eth0/Profiles/1",
         Method::get, true},
        {"/IoMgmt/Adapters/wifi0/NetworkStats", Method::get, "/IoMgmt/Adapters/wifi1/NetworkStats",
         Method::get, true},
        {"/DevMgmt/IOConfigDyn.xml", Method::put, "/DevMgmt/NetAppsDyn.xml", Method::put, true},
        {"/DevMgmt/NetAppsSecureDyn.xml", Method::put, "/eSCL/eSCLConfig", Method::put, true},
        {"/IoMgmt/Adapters/eth0", Method::put, "/IoMgmt/IoConfig.xml", Method::put, true},
        {"/eSCL/eSCLConfig", Method::put, "/DevMgmt/ProductConfigDyn.xml", Method::put, false},
        {"/DevMgmt/Email/ScanToEmailDyn.xml", Method::put,
         "/DevMgmt/Email/CommonEmailServerDyn.xml", Method::put, true},
        {"/DevMgmt/SharePoint/PredefinedJobs", Method::post,
         "/DevMgmt/SharePoint/SharePointService.xml", Method::get, true},
        {"/DevMgmt/SharePoint/SharePointService.xml", Method::put, "/eSCL/eSCLConfig", Method::put,
         true},
        {"/DevMgmt/SendUSB/PredefinedJobs", Method::post, "/eSCL/ScanJobs", Method::post, true},
        {"/DevMgmt/SendUSB/SendUSBServiceDyn.xml", Method::put, "/eSCL/ScannerStatus", Method::get,
         false},
        {"/eSCL/ScanJobs", Method::post, "/eSCL/ScannerStatus", Method::get, false},
        {"/eSCL/ScannerCapabilities", Method::get, "/eSCL/ScannerStatus", Method::get, false},
        {"/DevMgmt/DiscoveryTree.xml", Method::get, "/DevMgmt/ProductConfigDyn.xml", Method::get,
         false},
    };
    for (const auto &row : rows)
        EXPECT_EQ(
            share_a_lock(locks_of(row.path, row.method), locks_of(row.other, row.other_method)),
            row.share)
            << row.path << " " << row.other;
}

/// It may take eight seconds.
TEST(ResourceMap, AProfileThatIsPutHoldsUpProfilesAlone) {
    const Match put = find_resource("/IoMgmt/Adapters/wifi0/Profiles/1", Method::put);
    ASSERT_NE(put.resource, nullptr);
    EXPECT_TRUE(share_a_lock(put.resource->locks, put.resource->locks));
    for (const Resource &row : resource_map())
        if (&row != put.resource) {
            EXPECT_FALSE(share_a_lock(row.locks, put.resource->locks)) << row.path;
        }
}

TEST(ResourceMap, WhatShowsOrChangesSecretsIsForTheAdministrator) {
    const struct {
        const char *path;
        std::vector<Method> administrator;
        std::vector<Method> everyone;
    } rows[] = {
        {"/IoMgmt/Adapters", {}, {Method::get}},
        {"/IoMgmt/Adapters/eth0", {Method::put}, {}},
        {"/IoMgmt/Adapters/eth0/Profiles/1", {Method::get, Method::put}, {}},
        {"/IoMgmt/Adapters/eth0/Protocols", {}, {Method::get}},
        {"/IoMgmt/Adapters/wifi0/WPS/Pin", {Method::get}, {}},
        {"/IoMgmt/Adapters/wifi0/WPS/PinSessions", {Method::post}, {}},
        {"/IoMgmt/Adapters/wifi0/WPS/PinSessions/1", {Method::del}, {Method::get}},
        {"/IoMgmt/Adapters/wifi0/WPS/PushButtonSessions", {Method::post}, {}},
        {"/IoMgmt/Adapters/wifi0/WPS/PushButtonSessions/1", {Method::del}, {Method::get}},
        {"/IoMgmt/IoConfig.xml", {Method::put}, {Method::get}},
        {"/DevMgmt/IOConfigDyn.xml", {Method::get, Method::put}, {}},
        {"/DevMgmt/NetAppsDyn.xml", {Method::get, Method::put}, {}},
        {"/DevMgmt/NetAppsSecureDyn.xml", {Method::put}, {Method::get}},
    };
    const auto who = [](const char *path, Method method) {
        const Match match = find_resource(path, method);
        return match.resource ? std::optional(match.resource->who) : std::nullopt;
    };
    for (const auto &row : rows) {
        for (const Method method : row.administrator)
            EXPECT_EQ(who(row.path, method), Authority::administrator) << row.path;
        for (const Method method : row.everyone)
            EXPECT_EQ(who(row.path, method), Authority::everyone) << row.path;
    }
}

/// Once a password is set, only a scan and a place at the panel are had without it.
TEST(ResourceMap, WhatChangesTheDeviceNeedsTheLogin) {
    const struct {
        const char *path;
        Method method;
        Authority who;
    } rows[] = {
        {"/DevMgmt/ProductConfigDyn.xml", Method::put, Authority::owner},
        {"/Jobs/JobList/1", Method::put, Authority::owner},
        {"/eSCL/eSCLConfig", Method::put, Authority::owner},
        {"/eSCL/eSCLConfig", Method::get, Authority::everyone},
        {"/eSCL/ScanJobs", Method::post, Authority::everyone},
        {"/eSCL/ScanBufferInfo", Method::put, Authority::everyone},
        {"/eSCL/WalkupSubscriptions", Method::post, Authority::everyone},
        {"/WalkupScanToComp/WalkupScanToCompDestinations", Method::post, Authority::everyone},
    };
    for (const auto &row : rows) {
        const Match match = find_resource(row.path, row.method);
        ASSERT_NE(match.resource, nullptr) << row.path;
        EXPECT_EQ(match.resource->who, row.who) << row.path;
    }
    for (const Resource &row : resource_map())
        if (row.method != Method::get && !row.path.starts_with("/eSCL/") &&
            !row.path.starts_with("/WalkupScanToComp/")) {
            EXPECT_NE(row.who, Authority::everyone) << row.path;
        }
}

/// Two runs of one function would write one ticket, so whatever calls the library has a lock.
TEST(ResourceMap, EveryLibraryDocumentHasALock) {
    for (const Resource &row : resource_map()) {
        const bool calls = std::holds_alternative<LibraryGet>(row.adapter) ||
                           std::holds_alternative<LibraryPut>(row.adapter) ||
                           std::holds_alternative<SharedAnswer>(row.adapter) ||
                           std::holds_alternative<TakingAnswer>(row.adapter);
        if (calls) {
            EXPECT_TRUE(share_a_lock(row.locks, row.locks)) << row.path;
        }
    }
}

} // namespace
} // namespace varn::web
