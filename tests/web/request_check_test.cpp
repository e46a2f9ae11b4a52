#include "device/web/request_check.h"

#include "device/web/resource_map.h"

#include <gtest/gtest.h>
#include <vector>

namespace varn::web {
namespace {

const std::string uuid = "0d57123e-5891-479e-9fd6-9499338a238e";

CheckedRequest check(std::string_view method, std::string_view target,
                     const std::vector<Field> &fields, std::string_view version = "1.1") {
    return check_request({method, target, version, fields}, Interface::eth0, "127.0.0.1:8080");
}

int refusal_of(const CheckedRequest &checked) {
    return checked.refusal ? checked.refusal->status : 0;
}

TEST(RequestCheck, RefusesByTheFirstThingThatIsWrong) {
    const Field host = {"Host", "h"};
    const struct {
        std::string method;
        std::string target;
        std::vector<Field> fields;
        int status;
        bool close;
    } rows[] = {
        {"GET", "/eSCL/ScannerStatus", {host}, 0, false},
        {"HEAD", "/eSCL/ScannerStatus", {host}, 0, false},
        {"OPTIONS", "/eSCL/ScannerStatus", {host}, 0, false},
        {"GET", "/eSCL/ScannerStatus", {}, 400, true},
        {"GET", "/eSCL/ScannerStatus", {host, host}, 400, true},
        {"GET", "/eSCL/ScannerStatus", {{"Host", "a/b"}}, 400, true},
        {"GET", "/nothing", {host}, 404, false},
        {"PUT", "/nothing", {host}, 404, false},
        {"OPTIONS", "/nothing", {host}, 404, false},
        {"GET", "/%", {host}, 400, false},
        {"POST", "/eSCL/ScannerStatus", {host, {"Content-Length", "0"}}, 405, false},
        {"PATCH", "/eSCL/ScannerStatus", {host}, 405, false},
        {"HEAD", "/eSCL/ScanJobs/" + uuid + "/NextDocument", {host}, 405, false},
        {"POST", "/eSCL/ScanJobs", {host}, 411, false},
        {"POST", "/eSCL/ScanJobs", {host, {"content-length", "3"}}, 0, false},
        {"POST", "/eSCL/ScanJobs", {host, {"Content-Length", "3x"}}, 400, true},
        {"POST", "/eSCL/ScanJobs", {host, {"Transfer-Encoding", "Chunked"}}, 0, false},
        {"POST", "/eSCL/ScanJobs", {host, {"Transfer-Encoding", "gzip"}}, 501, true},
        {"POST",
         "/eSCL/ScanJobs",
         {host, {"Content-Length", "3"}, {"Content-Length", "3"}},
         400,
         true},
        {"POST",
         "/eSCL/ScanJobs",
         {host, {"Content-Length", "3"}, {"Transfer-Encoding", "chunked"}},
         400,
         true},
        {"POST",
         "/eSCL/ScanJobs",
         {host, {"Content-Length", "3"}, {"Expect", "magic"}},
         417,
         false},
    };
    for (const auto &row : rows) {
        const CheckedRequest checked = check(row.method, row.target, row.fields);
        EXPECT_EQ(refusal_of(checked), row.status) << row.method << " " << row.target;
        if (checked.refusal) {
            EXPECT_EQ(checked.refusal->close, row.close) << row.method << " " << row.target;
        }
    }
}

TEST(RequestCheck, FindsTheResourceAndItsIdentifier) {
    const CheckedRequest checked =
        check("DELETE", "/eSCL/ScanJobs/" + uuid, {{"host", "scanner.local:8080"}});
    ASSERT_EQ(refusal_of(checked), 0);
    EXPECT_EQ(checked.plan.resource->function, "escl_cancel_scan");
    EXPECT_EQ(checked.plan.request.uuid, uuid);
    EXPECT_EQ(checked.plan.request.host, "scanner.local:8080");
    EXPECT_FALSE(checked.plan.has_body());
}

TEST(RequestCheck, HandsOnSegmentsAndQuery) {
    const std::vector<Field> host = {{"Host", "h"}};
    const CheckedRequest checked = check_request(
        {"GET", "/Jobs/JobList/a%20b", "1.1", host, "x=%20"}, Interface::usb, "127.0.0.1:8080");
    ASSERT_EQ(refusal_of(checked), 0);
    EXPECT_EQ(checked.plan.request.ids, std::vector<std::string>{"a b"});
    EXPECT_EQ(checked.plan.request.query, "x=%20");
    EXPECT_EQ(refusal_of(check("GET", "/Jobs/JobList/a%2Fb", host)), 404);
}

TEST(RequestCheck, SomeResourcesAreForTheAdministrator) {
    const std::string_view profile = "/IoMgmt/Adapters/wifi0/Profiles/1";
    for (const bool is_near : {false, true}) {
        const auto refusal = [&](std::string_view method, std::string_view path,
                                 const std::vector<Field> &fields) {
            return refusal_of(check_request({method, path, "1.1", fields}, Interface::https,
                                            "127.0.0.1:8080", {is_near}));
        };
        const Field host = {"Host", "localhost:8083"};
        EXPECT_EQ(refusal("GET", profile, {host}), is_near ? 0 : 403);
        EXPECT_EQ(refusal("HEAD", profile, {host}), is_near ? 0 : 403);
        EXPECT_EQ(refusal("OPTIONS", profile, {host}), 0);
        EXPECT_EQ(refusal("DELETE", profile, {host}), 405);
        EXPECT_EQ(refusal("GET", "/IoMgmt/Adapters", {{"Host", "scanner.example"}}), 0);
        EXPECT_EQ(refusal("GET", profile, {{"Host", "scanner.example"}}), 403);
        EXPECT_EQ(refusal("GET", profile, {host, {"Origin", "https://localhost:8083"}}),
                  is_near ? 0 : 403);
        EXPECT_EQ(refusal("GET", profile, {host, {"Origin", "http://localhost:8083"}}), 403);
        EXPECT_EQ(refusal("GET", profile,
                          {host, {"Origin", "https://localhost:8083"}, {"Origin", "null"}}),
                  403);
    }
}

TEST(RequestCheck, OldClientsNeedNoHost) {
    const CheckedRequest checked = check("GET", "/", {}, "1.0");
    ASSERT_EQ(refusal_of(checked), 0);
    EXPECT_EQ(checked.plan.request.host, "127.0.0.1:8080");
}

TEST(RequestCheck, AllowNamesWhatThePathTakes) {
    const CheckedRequest checked =
        check("DELETE", "/DevMgmt/ProductConfigDyn.xml", {{"Host", "h"}});
    ASSERT_EQ(refusal_of(checked), 405);
    EXPECT_EQ(checked.refusal->allow, "OPTIONS, GET, HEAD, PUT");
}

TEST(RequestCheck, ConnectionStaysOpenAsTheClientWishes) {
    const struct {
        const char *version;
        const char *field; // null: none
        bool keep;
    } rows[] = {{"1.1", nullptr, true},          {"1.0", nullptr, false},
                {"1.1", "close", false},         {"1.0", "Keep-Alive", true},
                {"1.1", "TE, keep-alive", true}, {"1.1", "upgrade", false}};
    for (const auto &row : rows) {
        std::vector<Field> fields;
        if (row.field)
            fields.push_back({"Connection", row.field});
        EXPECT_EQ(wants_keep_alive({"GET", "/", row.version, fields}), row.keep)
            << row.version << " " << (row.field ? row.field : "");
    }
}

} // namespace
} // namespace varn::web
