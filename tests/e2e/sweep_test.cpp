/// Each row of the resource map: what it shows fits the schemas, and what is no document of it
/// changes nothing.

#include "device/web/resource_map.h"
#include "tests/e2e/e2e_fixture.h"
#include "tests/support/documents.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <map>

namespace varn::testing {
namespace {

using web::Method;

const std::string jobs = "/DevMgmt/SharePoint/PredefinedJobs";
const std::string usb_jobs = "/DevMgmt/SendUSB/PredefinedJobs";
const std::string wps = "/IoMgmt/Adapters/wifi0/WPS/";
const std::string con = "=\"http://schemas.varn.example/schemas/imaging/con/";

std::string job_document(const std::string &name) {
    return "<folder:PredefinedJob xmlns:folder" + con + "service/folder/2009/02/11\" xmlns:dsd" +
           con + "digitalsending/2009/02/11\" xmlns:dd" + con +
           "dictionaries/1.0/\"><dsd:DisplaySettings><dd:Name>" + name +
           "</dd:Name></dsd:DisplaySettings></folder:PredefinedJob>";
}

std::string usb_job_document() {
    return "<susb:PredefinedJob xmlns:susb" + con + "varn/sendusbservice/2016/07/13\" xmlns:dd" +
           con + "dictionaries/1.0/\"><dd:ResourceURI>/a</dd:ResourceURI></susb:PredefinedJob>";
}

std::string subscription_document() {
    return "<scan:WalkupScanSubscription "
           "xmlns:scan=\"http://schemas.escl.example/imaging/escl/2011/05/03\">"
           "<scan:HostIdentifier>desk</scan:HostIdentifier><scan:Connection>Network"
           "</scan:Connection></scan:WalkupScanSubscription>";
}

std::string destination_document() {
    return "<wus:WalkupScanToCompDestination xmlns:wus" + con +
           "varn/walkupscan/2010/09/28\" xmlns:dd" + con + "dictionaries/1.0/\" xmlns:dd3" + con +
           "dictionaries/2009/04/06\"><dd:Name>lap</dd:Name><dd3:Hostname>lap</dd3:Hostname>"
           "<wus:LinkType>Network</wus:LinkType></wus:WalkupScanToCompDestination>";
}

std::string contents(const std::filesystem::path &file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class Sweep : public ScannerTest {
protected:
    /// A scan, a SharePoint job and the like: something stands behind each pattern of the map.
    void fill_the_device() {
        scan_ = start(small_scan("flatbed"));
        ASSERT_EQ(scan_.status, 201);
        ASSERT_EQ(next_document(scan_).status, 200);
        ASSERT_TRUE(job_gets(scan_, "Completed"));
        const std::string list = "/Jobs/JobList";
        ASSERT_TRUE(eventually([&] {
            const std::string shown = get(list).body;
            const auto at = shown.find(list + "/");
            if (at != std::string::npos)
                known_[list + "/{id}"] = {shown.substr(at, shown.find('<', at) - at)};
            return at != std::string::npos;
        }));
        const struct {
            std::string list;
            std::string document;
            std::vector<std::string> below; ///< what belongs to each entry of the list
        } rows[] = {
            {jobs, job_document("a"), {"", "/Clone", "/Test", "/TestResult"}},
            {usb_jobs, usb_job_document(), {"", "/Clone"}},
            {"/eSCL/WalkupSubscriptions", subscription_document(), {""}},
            {"/WalkupScanToComp/WalkupScanToCompDestinations", destination_document(), {""}},
        };
        for (const auto &row : rows) {
            const std::string path = made(row.list, row.document);
            for (const std::string &below : row.below)
                known_[row.list + "/{uuid}" + below] = {path + below};
            if (row.list == "/eSCL/WalkupSubscriptions")
                known_["/eSCL/WalkupScanEvent/{uuid}"] = {"/eSCL/WalkupScanEvent" +
                                                          path.substr(row.list.size())};
        }
        for (const char *what : {"", "/NextDocument", "/ScanImageInfo"})
            known_[std::string("/eSCL/ScanJobs/{uuid}") + what] = {"/eSCL/ScanJobs/" + scan_.uuid +
                                                                   what};
        const std::string item = "/IoMgmt/Adapters/{id}";
        for (const std::string sessions : {"PinSessions", "PushButtonSessions"})
            known_[item + "/WPS/" + sessions + "/{id}"] = {made(wps + sessions, "")};
        known_[item + "/WifiNetworks/{id}"] = {"/IoMgmt/Adapters/wifi0/WifiNetworks/Guest"};
        for (const char *what : {"/WPS/Pin", "/WPS/PinSessions", "/WPS/PushButtonSessions"})
            known_[item + what] = {"/IoMgmt/Adapters/wifi0" + std::string(what)};
        known_[item + "/WifiNetworks"] = {"/IoMgmt/Adapters/wifi0/WifiNetworks",
                                          "/IoMgmt/Adapters/wifi1/WifiNetworks"};
        for (const std::string what :
             {"", "/ClientList", "/NetworkStats", "/Protocols", "/VsaCodes", "/Profiles/{id}"})
            for (const std::string adapter : {"eth0", "wifi0", "wifi1"})
                known_[item + what].push_back("/IoMgmt/Adapters/" + adapter +
                                              (what == "/Profiles/{id}" ? "/Profiles/1" : what));
        known_[item].push_back("/IoMgmt/Adapters/usb");
    }

    /// The requests that a row of the map stands for.
    std::vector<std::string> paths_of(const web::Resource &resource) const {
        const std::string path(resource.path);
        if (path.find('{') == std::string::npos)
            return {path};
        const auto found = known_.find(path);
        EXPECT_NE(found, known_.end()) << path << " has nothing to ask for";
        return found != known_.end() ? found->second : std::vector<std::string>();
    }

    /// What outlives a restart: everything but tickets, logs, sockets and the page of the scan.
    std::map<std::string, std::string> kept_files() const {
        std::map<std::string, std::string> files;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(scanner_.root())) {
            const std::string name = entry.path().lexically_relative(scanner_.root()).string();
            const bool is_passing =
                name.starts_with("tmp/") || name.starts_with("run/") ||
                name.starts_with("var/log/") || name == "web/eSCL/ScannerStatus.xml" ||
                // parameters of the latest start, and a file being replaced
                name.starts_with("datafs/engine/scan-param") ||
                name.starts_with("datafs/engine/gamma") || name.starts_with("datafs/engine/.");
            if (entry.is_regular_file() && !is_passing)
                files[name] = contents(entry.path());
        }
        return files;
    }

    std::string made(const std::string &path, const std::string &body) {
        const std::string answer = ask_raw("POST", path, body);
        EXPECT_EQ(testing::status_of(answer), 201) << path << answer;
        const std::string location = field_of(answer, "Location");
        return location.substr(std::min(location.find('/', 8), location.size()));
    }

    Job scan_;
    std::map<std::string, std::vector<std::string>> known_; ///< requests by pattern of the map
};

TEST_F(Sweep, EachDocumentFitsTheSchemas) {
    fill_the_device();
    /// No document is behind these.
    const std::map<std::string, int> other_answers = {
        {usb_jobs + "/{uuid}", 204},           // a place without content
        {"/eSCL/WalkupScanEvent/{uuid}", 204}, // nobody was picked
        {"/WalkupScanToComp/WalkupScanToCompEvent", 404},
    };
    int documents = 0;
    for (const web::Resource &resource : web::resource_map()) {
        if (resource.method != Method::get || std::holds_alternative<web::Stream>(resource.adapter))
            continue;
        for (const std::string &path : paths_of(resource)) {
            const std::string answer = ask_raw("GET", path);
            const auto other = other_answers.find(std::string(resource.path));
            ASSERT_EQ(testing::status_of(answer),
                      other != other_answers.end() ? other->second : 200)
                << path;
            if (other != other_answers.end() ||
                field_of(answer, "Content-Type").find("xml") == std::string::npos)
                continue;
            ++documents;
            const std::string body = answer.substr(answer.find("\r\n\r\n") + 4);
            const std::string fault = test::schema_fault(body);
            // Capabilities, manifests, jobs and the like have no schema of their own.
            const bool has_none =
                std::ranges::any_of(std::array{"Cap", "Manifest", "DiscoveryTree", "/Jobs/",
                                               "SubscriptionList", "ScanImageInfo"},
                                    [&](const char *part) { return path.find(part) != path.npos; });
            if (has_none && fault.find("No matching global declaration") != std::string::npos)
                continue;
            EXPECT_EQ(fault, "") << path << "\n" << body;
        }
    }
    EXPECT_GT(documents, 60);
}

TEST_F(Sweep, WhatIsNoDocumentOfAResourceChangesNothing) {
    fill_the_device();
    const std::string jobs_before = get("/Jobs/JobList").body;
    const auto before = kept_files();
    ASSERT_GT(before.size(), 5U);
    for (const web::Resource &resource : web::resource_map()) {
        if (resource.method != Method::put && resource.method != Method::post)
            continue;
        if (resource.path == "/administrator/password")
            continue; // takes a word, and any text is one
        const std::string method(web::method_name(resource.method));
        for (const std::string &path : paths_of(resource)) {
            const std::string shown = get(path).body;
            const std::string whole = shown.empty() ? job_document("x") : shown;
            const std::string foreign =
                path.starts_with("/DevMgmt/Product") ? job_document("x") : asset_number("x");
            const std::pair<const char *, std::string> bodies[] = {
                {"empty", ""},
                {"foreign", foreign},
                {"truncated", whole.substr(0, whole.size() * 2 / 3)},
                {"a megabyte", std::string(1 << 20, ' ')},
            };
            for (const auto &[name, body] : bodies) {
                const int status = testing::status_of(ask_raw(method, path, body));
                // Settings that cannot be read mean the scanner's own: a scan from the feeder,
                // which is empty here.
                if (path == "/eSCL/ScanJobs" || std::string_view(name) == "a megabyte") {
                    EXPECT_GE(status, 400) << method << " " << path << " " << name;
                }
                const auto after = kept_files();
                for (const auto &[file, content] : after) {
                    const auto old = before.find(file);
                    EXPECT_TRUE(old != before.end() && old->second == content)
                        << method << " " << path << " " << name << " " << status << " " << file;
                }
                EXPECT_EQ(after.size(), before.size());
            }
        }
    }
    EXPECT_EQ(get("/Jobs/JobList").body, jobs_before);
}

} // namespace
} // namespace varn::testing
