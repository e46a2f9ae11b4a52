/// The administrator's login, as a client of HTTP does it.

#include "tests/e2e/e2e_fixture.h"

#include <curl/curl.h>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

namespace varn::testing {
namespace {

constexpr char password[] = "open sesame; $(id) \"#:";
constexpr char configuration[] = "/DevMgmt/ProductConfigDyn.xml";
constexpr char applications[] = "/DevMgmt/NetAppsDyn.xml";

struct Answer {
    long status = 0;
    std::string body;
    long retry_after = 0;
};

std::size_t append(char *data, std::size_t, std::size_t size, void *text) {
    static_cast<std::string *>(text)->append(data, size);
    return size;
}

/// One request, with the login when there is a password. `body` is put.
Answer ask(const std::string &url, const std::string &with_password, const std::string &body = {},
           const char *address = nullptr) {
    Answer answer;
    CURL *curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer.body);
    if (!with_password.empty()) {
        curl_easy_setopt(curl, CURLOPT_HTTPAUTH, CURLAUTH_DIGEST);
        curl_easy_setopt(curl, CURLOPT_USERNAME, "admin");
        curl_easy_setopt(curl, CURLOPT_PASSWORD, with_password.c_str());
    }
    if (address != nullptr)
        curl_easy_setopt(curl, CURLOPT_INTERFACE, address);
    if (!body.empty()) {
        curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, "PUT");
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
    }
    EXPECT_EQ(curl_easy_perform(curl), CURLE_OK) << url;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
    curl_off_t wait = 0;
    curl_easy_getinfo(curl, CURLINFO_RETRY_AFTER, &wait);
    answer.retry_after = static_cast<long>(wait);
    curl_easy_cleanup(curl);
    return answer;
}

class Login : public ScannerTest {
protected:
    void set_password() const {
        const std::string tree = scanner_.root();
        ASSERT_EQ(run_program({tree + "/usr/bin/mongoose", "-A", tree + "/etc/user.txt",
                               "varn-device", "admin", password})
                      .status,
                  0);
    }
    std::string url(const char *path) const { return scanner_.url() + path; }
};

TEST_F(Login, WithAPasswordChangesAndSecretsNeedIt) {
    EXPECT_EQ(put(configuration, asset_number("open")), 200) << "none is set";
    EXPECT_EQ(ask(url(applications), "").status, 200) << "the person at this machine";
    set_password();

    EXPECT_EQ(ask(url(configuration), "").status, 200);
    EXPECT_EQ(ask(url(configuration), "", asset_number("stranger")).status, 401);
    const Answer stranger = ask(url(applications), "");
    EXPECT_EQ(stranger.status, 401);
    EXPECT_EQ(stranger.body.find("CommunityName"), std::string::npos) << stranger.body;
    EXPECT_NE(get(configuration).body.find(">open<"), std::string::npos);

    for (const std::string &base : {scanner_.url(), scanner_.url("https")}) {
        SCOPED_TRACE(base);
        EXPECT_EQ(ask(base + configuration, password, asset_number("desk")).status, 200);
        const Answer owner = ask(base + applications, password);
        EXPECT_EQ(owner.status, 200);
        EXPECT_NE(owner.body.find("CommunityName"), std::string::npos);
    }
    EXPECT_NE(get(configuration).body.find(">desk<"), std::string::npos);
    // Hosts scan as before.
    expect_scanner_works();
}

/// Every row of the map that is not everyone's.
TEST_F(Login, NothingElseIsHadWithoutIt) {
    set_password();
    std::istringstream list(run_program({VARND_PROGRAM, "--resources"}).output);
    const std::regex row(R"(\| `([^`]+)` \| (\w+) \| .* \| (\w+) \|)");
    int closed = 0;
    for (std::string line; std::getline(list, line);) {
        std::smatch found;
        if (!std::regex_match(line, found, row) || found[3] == "everyone")
            continue;
        std::string path = std::regex_replace(found[1].str(), std::regex("\\{id\\}"), "1");
        path = std::regex_replace(path, std::regex("\\{uuid\\}"),
                                  "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab");
        const std::string answer = ask_raw(found[2], path, "<a/>");
        EXPECT_EQ(testing::status_of(answer), 401) << line;
        EXPECT_NE(field_of(answer, "WWW-Authenticate").find("Digest realm="), std::string::npos);
        ++closed;
    }
    EXPECT_GT(closed, 20);
}

TEST_F(Login, ThePasswordIsSetChangedAndRemovedOverHttp) {
    const std::string path = url("/administrator/password");
    const std::string file = scanner_.root() / "etc/user.txt";
    const auto line = [&] {
        std::ifstream stream(file);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    set_password();
    const std::string of_the_tool = line();
    EXPECT_EQ(ask(path, password, "another").status, 200);
    EXPECT_NE(line(), of_the_tool);
    EXPECT_EQ(ask(path, "another", password).status, 200);
    EXPECT_EQ(line(), of_the_tool);
    EXPECT_EQ(ask(path, password, std::string(201, 'x')).status, 400);
    EXPECT_EQ(ask(path, password, "line\nend").status, 400);
    EXPECT_EQ(line(), of_the_tool);
    EXPECT_EQ(get("/administrator/password").body, "set\n");
    EXPECT_EQ(std::filesystem::status(file).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(Login, GuessingIsSlowedForTheGuesserAlone) {
    set_password();
    int refused = 0;
    int waited = 0;
    for (int i = 0; i < 20; ++i) {
        const Answer answer = ask(url(applications), "guess " + std::to_string(i));
        refused += answer.status == 401;
        waited += answer.status == 429 && answer.retry_after > 0;
    }
    EXPECT_GE(refused, 1);
    EXPECT_LE(refused, 3) << "twenty guesses take a few seconds at most";
    EXPECT_EQ(refused + waited, 20);
    EXPECT_EQ(ask(url(applications), password).status, 429) << "nothing is compared";
    EXPECT_EQ(ask(url(applications), password, {}, "127.0.0.2").status, 200);
    EXPECT_EQ(ask(url("/eSCL/ScannerStatus"), "").status, 200);
    // Over HTTPS, too, the guesser is the client and not this server's own end.
    EXPECT_EQ(ask(scanner_.url("https") + applications, password).status, 429);
    EXPECT_EQ(ask(scanner_.url("https") + applications, password, {}, "127.0.0.2").status, 200);
    EXPECT_TRUE(eventually([&] { return ask(url(applications), password).status == 200; }));
}

TEST_F(Login, ScanningByHostsCanBeSwitchedOff) {
    const auto state = [](const std::string &word) {
        const std::string settings = client::settings_document(small_scan("flatbed"));
        const auto begin = settings.find(" xmlns:");
        return "<scan:eSCLConfig" + settings.substr(begin, settings.find('>', begin) - begin) +
               "><scan:State>" + word + "</scan:State></scan:eSCLConfig>";
    };
    ASSERT_EQ(put("/eSCL/eSCLConfig", state("disabled")), 200);
    EXPECT_EQ(start(small_scan("flatbed")).status, 404);
    EXPECT_EQ(get("/eSCL/ScannerStatus").status, 200);
    ASSERT_EQ(put("/eSCL/eSCLConfig", state("enabled")), 200);
    expect_scanner_works();
}

} // namespace
} // namespace varn::testing
