/// What a client can send that no decent client would.

#include "tests/web/support/raw_http.h"
#include "tests/web/support/scanner_process.h"

#include <chrono>
#include <gtest/gtest.h>
#include <list>
#include <thread>

namespace varn::testing {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

class ServerBounds : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(scanner_.ready()) << scanner_.output_rest(); }

    int ask(const std::string &request) {
        RawConnection connection(scanner_.port());
        connection.send(request);
        return status_of(connection.receive());
    }
    void expect_alive() {
        EXPECT_EQ(ask("GET /DevMgmt/DiscoveryTree.xml HTTP/1.1\r\nHost: h\r\n\r\n"), 200);
    }

    ScannerProcess scanner_{{"--no-engine", "--request-timeout-ms", "1000"}};
};

std::string put(const std::string &fields, const std::string &body) {
    return "PUT /DevMgmt/ProductConfigDyn.xml HTTP/1.1\r\nHost: h\r\n" + fields + "\r\n" + body;
}

TEST_F(ServerBounds, EveryMalformedRequestGetsAnHttpError) {
    using std::string_literals::operator""s;
    const std::string body_64k(64 * 1024, ' ');
    const struct {
        const char *name;
        std::string request;
        int status;
    } rows[] = {
        {"no version", "GET /\r\n\r\n", 400},
        {"unknown version", "GET / HTTP/3.7\r\nHost: h\r\n\r\n", 505},
        {"unknown method", "BREW / HTTP/1.1\r\nHost: h\r\n\r\n", 501},
        {"method of no resource", "PATCH / HTTP/1.1\r\nHost: h\r\nContent-Length: 0\r\n\r\n", 405},
        {"no host", "GET / HTTP/1.1\r\n\r\n", 400},
        {"host of two lines", "GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n", 400},
        {"host with a path", "GET / HTTP/1.1\r\nHost: a/b\r\n\r\n", 400},
        {"control character", "GET / HTTP/1.1\r\nHost: h\r\nX: \001\r\n\r\n", 400},
        {"NUL in the head", "GET /\0 HTTP/1.1\r\nHost: h\r\n\r\n"s, 400},
        {"field without colon", "GET / HTTP/1.1\r\nHost h\r\n\r\n", 400},
        {"head too large",
         "GET / HTTP/1.1\r\nHost: h\r\nX: " + std::string(20000, 'x') + "\r\n\r\n", 400},
        {"broken escape", "GET /%4 HTTP/1.1\r\nHost: h\r\n\r\n", 400},
        {"NUL in the path", "GET /eSCL/ScannerStatus%00 HTTP/1.1\r\nHost: h\r\n\r\n", 400},
        {"path above the root", "GET /../../etc/passwd HTTP/1.1\r\nHost: h\r\n\r\n", 404},
        {"escaped path above the root", "GET /%2e%2e/etc/passwd HTTP/1.1\r\nHost: h\r\n\r\n", 404},
        {"another server", "GET http://other.example:1/ HTTP/1.1\r\nHost: h\r\n\r\n", 421},
        {"server options", "OPTIONS * HTTP/1.1\r\nHost: h\r\n\r\n", 204},
        {"asterisk", "GET * HTTP/1.1\r\nHost: h\r\n\r\n", 400},
        {"no length", put("", ""), 411},
        {"length is no number", put("Content-Length: x\r\n", ""), 400},
        {"negative length", put("Content-Length: -1\r\n", ""), 400},
        {"two lengths", put("Content-Length: 1\r\nContent-Length: 2\r\n", "ab"), 400},
        {"length and chunks", put("Content-Length: 1\r\nTransfer-Encoding: chunked\r\n", "a"), 400},
        {"broken chunk", put("Transfer-Encoding: chunked\r\n", "zz\r\nabc\r\n"), 400},
        {"chunk of negative size", put("Transfer-Encoding: chunked\r\n", "ffffffffffffffff\r\n"),
         400},
        {"too large by word", put("Content-Length: 65537\r\n", ""), 413},
        {"far too large by word", put("Content-Length: 9223372036854775807\r\n", ""), 413},
        {"too large in chunks",
         put("Transfer-Encoding: chunked\r\n", "10001\r\n" + body_64k + "x\r\n0\r\n\r\n"), 413},
        {"largest body is looked at", put("Content-Length: 65536\r\n", body_64k), 400},
        {"NUL in the body", put("Content-Length: 3\r\n", "a\0b"s), 400},
        {"unknown expectation", put("Content-Length: 3\r\nExpect: magic\r\n", "abc"), 417},
        {"empty body", put("Content-Length: 0\r\n", ""), 400},
        {"no such resource", "GET /nothing HTTP/1.1\r\nHost: h\r\n\r\n", 404},
        {"no such job",
         "DELETE /eSCL/ScanJobs/0d57123e-5891-479e-9fd6-9499338a238e HTTP/1.1\r\n"
         "Host: h\r\n\r\n",
         404},
        {"no engine for the status", "GET /eSCL/ScannerStatus HTTP/1.1\r\nHost: h\r\n\r\n", 503},
        {"no engine for a scan",
         "POST /eSCL/ScanJobs HTTP/1.1\r\nHost: h\r\n"
         "Content-Length: 0\r\n\r\n",
         503},
    };
    for (const auto &row : rows)
        EXPECT_EQ(ask(row.request), row.status) << row.name;
    expect_alive();
}

TEST_F(ServerBounds, ARefusedBodyDoesNotSpoilTheNextRequest) {
    RawConnection connection(scanner_.port());
    connection.send("PUT /nothing HTTP/1.1\r\nHost: h\r\nContent-Length: 21\r\n\r\n"
                    "GET /bad HTTP/1.1\r\n\r\n");
    EXPECT_EQ(status_of(connection.receive()), 404);
    connection.send("GET / HTTP/1.1\r\nHost: h\r\n\r\nGET /nothing HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(status_of(connection.receive()), 200);
    EXPECT_EQ(status_of(connection.receive()), 404) << "a second request in one packet";
}

TEST_F(ServerBounds, ContinueIsSaidOnlyToABodyThatIsWanted) {
    RawConnection large(scanner_.port());
    large.send(put("Content-Length: 70000\r\nExpect: 100-continue\r\n", ""));
    EXPECT_EQ(status_of(large.receive()), 413);

    RawConnection wanted(scanner_.port());
    wanted.send(put("Content-Length: 3\r\nExpect: 100-continue\r\n", ""));
    EXPECT_EQ(status_of(wanted.receive()), 100);
    wanted.send("abc");
    EXPECT_EQ(status_of(wanted.receive()), 400);
}

TEST_F(ServerBounds, SlowRequestsRunOutOfTime) {
    const struct {
        const char *name;
        std::string begin;
    } rows[] = {
        {"head", "GET / HTTP/1.1\r\nX: "},
        {"body", put("Content-Length: 1000\r\n", "a")},
        {"chunks", put("Transfer-Encoding: chunked\r\n", "100\r\na")},
    };
    for (const auto &row : rows) {
        RawConnection connection(scanner_.port());
        const auto began = Clock::now();
        connection.send(row.begin);
        std::thread trickle([&] {
            for (int i = 0; i < 100 && Clock::now() - began < 6s; ++i) {
                std::this_thread::sleep_for(100ms);
                if (!connection.send("x"))
                    return;
            }
        });
        EXPECT_EQ(status_of(connection.receive()), 408) << row.name;
        EXPECT_LT(Clock::now() - began, 5s) << row.name;
        connection.closed_by_server();
        trickle.join();
    }
    expect_alive();
}

TEST_F(ServerBounds, TooManyConnectionsAreRefusedAndServedAgainLater) {
    std::list<RawConnection> open;
    int refused = 0;
    for (int i = 0; i < 22; ++i) {
        RawConnection &connection = open.emplace_back(scanner_.port());
        // Not yet a whole request: the connection stays busy.
        ASSERT_TRUE(connection.send("GET / HTTP/1.1\r\nHost: h\r\n"));
    }
    std::this_thread::sleep_for(200ms);
    for (RawConnection &connection : open)
        connection.send("\r\n");
    for (RawConnection &connection : open) {
        const std::string answer = connection.receive();
        if (status_of(answer) == 503) {
            ++refused;
            EXPECT_FALSE(field_of(answer, "Retry-After").empty());
        } else {
            EXPECT_EQ(status_of(answer), 200);
        }
    }
    EXPECT_GE(refused, 2);
    open.clear();
    EXPECT_TRUE(eventually([&] { return ask("GET / HTTP/1.1\r\nHost: h\r\n\r\n") == 200; }));
}

TEST_F(ServerBounds, HeadAnswersWithoutABody) {
    RawConnection connection(scanner_.port());
    connection.send("HEAD /DevMgmt/DiscoveryTree.xml HTTP/1.1\r\nHost: h\r\n\r\n"
                    "OPTIONS /DevMgmt/ProductConfigDyn.xml HTTP/1.1\r\nHost: h\r\n\r\n");
    std::string both;
    while (both.find("Allow") == std::string::npos || !both.ends_with("\r\n\r\n")) {
        const std::string more = connection.receive_some(4096);
        ASSERT_FALSE(more.empty());
        both += more;
    }
    EXPECT_EQ(status_of(both), 200);
    EXPECT_GT(std::stoi(field_of(both, "Content-Length")), 1000);
    const auto second = both.find("\r\n\r\n") + 4;
    EXPECT_EQ(status_of(std::string_view(both).substr(second)), 204);
    EXPECT_EQ(field_of(std::string_view(both).substr(second), "Allow"), "OPTIONS, GET, HEAD, PUT");
}

TEST_F(ServerBounds, OldClientsGetAnAnswerAndTheEnd) {
    RawConnection connection(scanner_.port());
    connection.send("GET /DevMgmt/DiscoveryTree.xml HTTP/1.0\r\n\r\n");
    const std::string answer = connection.receive();
    EXPECT_EQ(status_of(answer), 200);
    EXPECT_EQ(field_of(answer, "Connection"), "close");
    EXPECT_EQ(field_of(answer, "Cache-Control"), "no-store");
    EXPECT_TRUE(connection.closed_by_server());
}

} // namespace
} // namespace varn::testing
