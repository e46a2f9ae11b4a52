#include "device/web/http.h"

#include <gtest/gtest.h>

namespace varn::web {
namespace {

TEST(HttpStatus, MapsEveryResultOfTheLibrary) {
    const struct {
        int result;
        int status;
    } rows[] = {{0, 200},   {-1, 500},  {200, 200}, {201, 201}, {204, 204}, {400, 400},
                {404, 404}, {405, 405}, {409, 409}, {413, 413}, {500, 500}, {503, 503},
                {305, 500}, {100, 500}, {-7, 500},  {999, 500}};
    for (const auto &row : rows)
        EXPECT_EQ(http_status(row.result), row.status) << row.result;
}

TEST(HttpQuery, DecodesNamesAndValues) {
    const struct {
        const char *query;
        QueryFields fields;
    } rows[] = {
        {"", {}},
        {"&&", {}},
        {"a=1&b=2", {{"a", "1"}, {"b", "2"}}},
        {"a", {{"a", ""}}},
        {"=x", {{"", "x"}}},
        {"a=b=c&", {{"a", "b=c"}}},
        {"n+m=%26%3d+%2B", {{"n m", "&= +"}}},
    };
    for (const auto &row : rows)
        EXPECT_EQ(decode_query(row.query), row.fields) << row.query;
    for (const char *broken : {"%", "a=%0", "a=%zz", "a=%0a", "a=1&%7f"})
        EXPECT_FALSE(decode_query(broken)) << broken;
}

TEST(HttpPath, DecodesOnceAndRefusesWhatItCannot) {
    const struct {
        const char *target;
        const char *path; // null: refused
    } rows[] = {
        {"/eSCL/ScannerStatus", "/eSCL/ScannerStatus"},
        {"/eSCL/ScannerStatus?a=%zz", "/eSCL/ScannerStatus"},
        {"/eSCL/Scanner%53tatus", "/eSCL/ScannerStatus"},
        {"/a%2fb", "/a/b"},
        {"/a%252f", "/a%2f"},
        {"/%00", nullptr},
        {"/%0a", nullptr},
        {"/%7F", nullptr},
        {"/%", nullptr},
        {"/%4", nullptr},
        {"/%g0", nullptr},
    };
    for (const auto &row : rows) {
        const auto path = decode_path(row.target);
        ASSERT_EQ(path.has_value(), row.path != nullptr) << row.target;
        if (path) {
            EXPECT_EQ(*path, row.path);
        }
    }
}

TEST(HttpHost, LetsNothingIntoALocationButAHost) {
    for (const char *host : {"127.0.0.1", "127.0.0.1:8080", "scanner.local", "a_b-c.d:1", "[::1]",
                             "[fe80::1]:8080", "localhost:"})
        EXPECT_TRUE(is_valid_host(host)) << host;
    for (const char *host : {"", ":80", "a b", "a/b", "a@b", "a:b", "a:123456", "[::1", "[]",
                             "[g::]", "[::1]x", "a\r\nLocation: b", "a\"b", "\xc3\xa4"})
        EXPECT_FALSE(is_valid_host(host)) << host;
    EXPECT_FALSE(is_valid_host(std::string(300, 'a')));
}

TEST(HttpLength, TakesDigitsOnly) {
    EXPECT_EQ(parse_length("0"), 0U);
    EXPECT_EQ(parse_length("65536"), 65536U);
    for (const char *text :
         {"", "-1", "+1", "1 ", " 1", "1x", "0x10", "99999999999999999999999", "1,1"})
        EXPECT_FALSE(parse_length(text)) << text;
}

TEST(HttpUuid, HasThirtySixCharacters) {
    EXPECT_TRUE(is_uuid("0d57123e-5891-479e-9fd6-9499338a238e"));
    EXPECT_TRUE(is_uuid("0D57123E-5891-479E-9FD6-9499338A238E"));
    for (const char *text :
         {"", "0d57123e-5891-479e-9fd6-9499338a238", "{uuid}",
          "0d57123e-5891-479e-9fd6-9499338a238ee", "0d57123e55891-479e-9fd6-9499338a238e",
          "0d57123g-5891-479e-9fd6-9499338a238e"})
        EXPECT_FALSE(is_uuid(text)) << text;
}

TEST(HttpHead, FramesTheBody) {
    Response response = error_response(503, "busy");
    const std::string head = response_head(response, response.body().size(), false, true);
    EXPECT_TRUE(head.starts_with("HTTP/1.1 503 Service Unavailable\r\n"));
    EXPECT_NE(head.find("\r\nContent-Length: 30\r\n"), std::string::npos) << head;
    EXPECT_NE(head.find("\r\nRetry-After: 2\r\n"), std::string::npos);
    EXPECT_NE(head.find("\r\nConnection: keep-alive\r\n"), std::string::npos);
    EXPECT_TRUE(head.ends_with("\r\n\r\n"));

    const std::string stream = response_head({}, std::nullopt, true, false);
    EXPECT_NE(stream.find("\r\nTransfer-Encoding: chunked\r\n"), std::string::npos);
    EXPECT_EQ(stream.find("Content-Length"), std::string::npos);
    EXPECT_NE(stream.find("\r\nConnection: close\r\n"), std::string::npos);
}

} // namespace
} // namespace varn::web
