/// The ports of the interfaces, and what their links do to a scan.

#include "tests/e2e/e2e_fixture.h"

#include <curl/curl.h>
#include <filesystem>
#include <thread>

namespace varn::testing {
namespace {

namespace fs = std::filesystem;

class Interfaces : public ScannerTest {
protected:
    client::HttpAnswer get_over(const std::string &interface, const std::string &path) {
        return http_.get(scanner_.url(interface) + path);
    }
    Job start_over(const std::string &interface, const client::ScanSettings &settings) {
        const client::HttpAnswer answer = http_.post_xml(scanner_.url(interface) + "/eSCL/ScanJobs",
                                                         client::settings_document(settings));
        return {answer.status, answer.location,
                answer.location.substr(answer.location.rfind('/') + 1)};
    }
    std::string state_over(const std::string &interface, const Job &job) {
        return client::parse_status(get_over(interface, "/eSCL/ScannerStatus").body, job.uuid)
            .state;
    }
};

TEST_F(Interfaces, APortAnswersWhileItsInterfaceHasALink) {
    for (const std::string interface : {"eth0", "wlan0", "wlan1", "usb"}) {
        for (const bool up : {true, false, true}) {
            scanner_.set_link(interface, up);
            EXPECT_EQ(get_over(interface, "/eSCL/ScannerStatus").status, up ? 200 : 503)
                << interface;
        }
        scanner_.set_link(interface, interface == "eth0");
    }
    scanner_.set_link("eth0", false);
    EXPECT_EQ(get_over("https", "/").status, 503) << "it comes over eth0";
}

TEST_F(Interfaces, CapabilitiesFollowTheConnection) {
    for (const char *interface : {"wlan0", "wlan1", "usb"})
        scanner_.set_link(interface, true);
    const struct {
        const char *interface;
        const char *admin;
        const char *compression;
    } rows[] = {
        {"eth0", ">http://", ">4<"},   {"wlan0", ">http://", ">4<"}, {"usb", ">http://", ">2<"},
        {"https", ">https://", ">4<"}, {"wlan1", ">http://", ">4<"},
    };
    for (const auto &row : rows) {
        const std::string body = get_over(row.interface, "/eSCL/ScannerCapabilities").body;
        const auto admin = body.find("scan:AdminURI");
        ASSERT_NE(admin, std::string::npos) << row.interface;
        EXPECT_EQ(body.substr(admin + 13, std::string(row.admin).size()), row.admin)
            << row.interface;
        const auto support = body.find("<scan:CompressionFactorSupport>");
        const auto normal = body.find("scan:Normal", support);
        EXPECT_EQ(body.substr(normal + 11, 3), row.compression) << row.interface;
    }
}

TEST_F(Interfaces, AScanGoesThroughOverHttps) {
    const Job job = start_over("https", small_scan("flatbed"));
    ASSERT_EQ(job.status, 201);
    EXPECT_TRUE(job.location.starts_with(scanner_.url("https"))) << job.location;
    int last = 0;
    EXPECT_EQ(fetch_all(job, &last).size(), 1U);
    EXPECT_EQ(last, 404);
}

int status_with_tls(const std::string &url, long version) {
    CURL *curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_NOBODY, 1L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSLVERSION, version);
    curl_easy_perform(curl);
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_cleanup(curl);
    return static_cast<int>(status);
}

TEST_F(Interfaces, TlsOfTheVersionsThatAreSafe) {
    const std::string url = scanner_.url("https") + "/";
    EXPECT_EQ(status_with_tls(url, CURL_SSLVERSION_TLSv1_3), 200);
    EXPECT_EQ(status_with_tls(url, long{CURL_SSLVERSION_TLSv1_2} | CURL_SSLVERSION_MAX_TLSv1_2),
              200);
    EXPECT_EQ(status_with_tls(url, long{CURL_SSLVERSION_TLSv1_0} | CURL_SSLVERSION_MAX_TLSv1_1), 0);
    // What speaks no TLS, or stops in the middle of it, holds nobody else up.
    RawConnection plain(std::atoi(url.c_str() + url.rfind(':') + 1));
    plain.send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(status_with_tls(url, CURL_SSLVERSION_TLSv1_3), 200);
}

TEST_F(Interfaces, TheCertificateIsPrivateAndStays) {
    const fs::path file = scanner_.root() / "etc/varn/https.pem";
    ASSERT_TRUE(fs::exists(file));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    const auto made = fs::last_write_time(file);
    ASSERT_EQ(scanner_.stop(), 0);
    scanner_.start();
    ASSERT_TRUE(scanner_.ready());
    EXPECT_EQ(fs::last_write_time(file), made);
    EXPECT_EQ(get_over("https", "/").status, 200);
}

/// The image waits for its client; nobody but the library looks at the link.
TEST_F(Interfaces, LossOfTheLinkEndsAScan) {
    const struct {
        const char *interface;
        const char *changed; // and how
        bool up;
    } rows[] = {{"wlan0", "wlan0", false},
                {"wlan1", "wlan1", false},
                {"eth0", "eth0", false},
                {"wlan0", "eth0", true}};
    scanner_.set_link("usb", true);
    for (const auto &row : rows) {
        for (const std::string each : {"eth0", "wlan0", "wlan1"})
            scanner_.set_link(each, each == row.interface);
        // A cancel that meets the last block of a job comes too late, so there is more to scan.
        ASSERT_TRUE(scanner_.ctl({"feeder", "empty"}));
        ASSERT_TRUE(scanner_.ctl({"feeder", "load", "3"}));
        Job job;
        ASSERT_TRUE(eventually([&] {
            return (job = start_over(row.interface, small_scan("feeder"))).status == 201;
        })) << row.interface;
        EXPECT_TRUE(eventually([&] { return state_over("usb", job) == "Processing"; }));
        scanner_.set_link(row.changed, row.up);
        EXPECT_TRUE(eventually([&] { return state_over("usb", job) == "Canceled"; }))
            << row.interface << " " << row.changed << ": " << state_over("usb", job);
    }
}

TEST_F(Interfaces, UsbTakesTheScannerFromANetworkScan) {
    scanner_.set_link("usb", true);
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "3"}));
    const Job first = start(small_scan("feeder"));
    ASSERT_EQ(first.status, 201);
    EXPECT_EQ(start(small_scan("flatbed")).status, 503);
    Job second;
    std::thread usb([&] {
        client::HttpClient http;
        const client::HttpAnswer answer =
            http.post_xml(scanner_.url("usb") + "/eSCL/ScanJobs",
                          client::settings_document(small_scan("flatbed")));
        second = {answer.status, answer.location, {}};
    });
    EXPECT_EQ(get("/eSCL/ScannerCapabilities").status, 200);
    usb.join();
    ASSERT_EQ(second.status, 201);
    EXPECT_EQ(fetch_all(second).size(), 1U);
    EXPECT_EQ(next_document(first).status, 410);
}

} // namespace
} // namespace varn::testing
