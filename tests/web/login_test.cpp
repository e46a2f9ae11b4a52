/// The administrator's login: what is claimed, what is let in, and how guessing is slowed.

#include "device/web/login.h"

#include "tests/web/support/scanner_process.h"

#include <fstream>
#include <gtest/gtest.h>

namespace varn::web {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr char target[] = "/DevMgmt/NetAppsDyn.xml?a=b";

std::string field(const std::string &nonce, const std::string &count, const std::string &response) {
    return "Digest username=\"admin\", realm=\"varn-device\", nonce=\"" + nonce + "\", uri=\"" +
           target + "\", cnonce=\"0a4f113b\", nc=" + count + ", qop=auth, response=\"" + response +
           "\", algorithm=MD5";
}

/// The example of the standard, with its digest.
TEST(Digest, TheStandardsExample) {
    const auto claim = parse_digest(
        "Digest username=\"Mufasa\", realm=\"http-auth@example.org\", uri=\"/dir/index.html\", "
        "algorithm=MD5, nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", nc=00000001, "
        "cnonce=\"f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ\", qop=auth, "
        "response=\"8ca523f5e9506fed4657c9700eebdbec\", "
        "opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\"");
    ASSERT_TRUE(claim);
    const std::string secret = md5_hex("Mufasa:http-auth@example.org:Circle of Life");
    EXPECT_EQ(expected_response(*claim, "GET", secret), claim->response);
    EXPECT_NE(expected_response(*claim, "PUT", secret), claim->response);
}

TEST(Digest, OnlyWholeClaimsAreRead) {
    const std::string good = field("n", "0000000a", std::string(32, 'a'));
    ASSERT_TRUE(parse_digest(good));
    EXPECT_EQ(parse_digest(good)->count, 10U);
    EXPECT_EQ(parse_digest("dIGEST  " + good.substr(7))->uri, target);
    const std::pair<const char *, const char *> changes[] = {
        {"Digest ", "Basic "},
        {"username=", "user="},
        {"\"admin\"", "\"admin"},
        {"\"admin\",", "\"admin\" x,"},
        {"qop=auth", "qop=auth-int"},
        {"MD5", "SHA-256"},
        {"nc=0000000a", "nc=a"},
        {"nc=0000000a", "nc=0000000g"},
        {"nc=0000000a", "nc=+000000a"},
        {"response=\"a", "response=\"A"},
        {"response=\"a", "response=\""},
        {"realm=", "=\"x\", realm="},
        {"nonce=\"n\"", "nonce=\"n\", nonce=\"n\""},
        {"cnonce", "xnonce"},
        {"algorithm=MD5", "algorithm=\"MD5\\"},
    };
    for (const auto &[from, to] : changes) {
        std::string bad = good;
        bad.replace(bad.find(from), std::string_view(from).size(), to);
        EXPECT_FALSE(parse_digest(bad)) << bad;
    }
    for (const char *text : {"", "Digest", "Digest ", "Digest ,", "Digest =", "Digest a=\""})
        EXPECT_FALSE(parse_digest(text)) << text;
    EXPECT_EQ(parse_digest("Digest username=\"a\\\"b\\\\\"," + good.substr(24))->user, "a\"b\\");
}

TEST(Nonces, EachCountOnceAndNotForEver) {
    NonceBook book;
    const auto start = Clock::now();
    const std::string nonce = book.issue(start);
    EXPECT_NE(book.issue(start), nonce);
    // Requests may overtake each other.
    for (const std::uint32_t count : {2U, 1U, 70U, 7U, 69U})
        EXPECT_TRUE(book.use(nonce, count, start)) << count;
    for (const std::uint32_t count : {2U, 70U, 69U, 7U, 6U, 0U})
        EXPECT_FALSE(book.use(nonce, count, start)) << count;
    EXPECT_TRUE(book.use(nonce, 71, start + NonceBook::lifetime));
    EXPECT_FALSE(book.use(nonce, 72, start + NonceBook::lifetime + 1s));
    for (const std::size_t place : {0U, 20U, 40U}) {
        std::string forged = book.issue(start);
        forged[place] = forged[place] == '0' ? '1' : '0';
        EXPECT_FALSE(book.use(forged, 1, start)) << place;
    }
    EXPECT_FALSE(NonceBook().use(book.issue(start), 1, start)) << "of another server";
}

TEST(Nonces, AForgottenOneCannotBeReplayed) {
    NonceBook book;
    auto now = Clock::now();
    const std::string first = book.issue(now);
    ASSERT_TRUE(book.use(first, 1, now));
    for (std::size_t i = 0; i < NonceBook::most_kept; ++i)
        ASSERT_TRUE(book.use(book.issue(now += 1ms), 1, now));
    EXPECT_FALSE(book.use(first, 1, now));
    EXPECT_TRUE(book.use(book.issue(now), 1, now));
}

TEST(GuessBrake, EachWrongTryDoublesTheWait) {
    GuessBrake brake;
    auto now = Clock::now();
    EXPECT_EQ(brake.locked_for_s("a", now), 0);
    for (const int wait : {1, 2, 4, 8, 16, 32, 60, 60}) {
        brake.note_wrong("a", now);
        EXPECT_EQ(brake.locked_for_s("a", now), wait);
        EXPECT_EQ(brake.locked_for_s("b", now), 0);
        now += std::chrono::seconds(wait);
        EXPECT_EQ(brake.locked_for_s("a", now), 0);
    }
    brake.note_right("a");
    brake.note_wrong("a", now);
    EXPECT_EQ(brake.locked_for_s("a", now), 1);
    // Who waits longest is remembered when there are too many.
    for (std::size_t i = 0; i < 2 * GuessBrake::most_addresses; ++i) {
        brake.note_wrong("a", now);
        brake.note_wrong(std::to_string(i), now);
    }
    EXPECT_EQ(brake.locked_for_s("a", now), 60);
}

class LoginTest : public ::testing::Test {
protected:
    LoginTest() : login_(tree_.path()) {
        std::filesystem::create_directory(tree_.path() / "etc");
        set_line("admin:varn-device:" + secret + "\n");
    }
    void set_line(const std::string &line) { std::ofstream(tree_.path() / "etc/user.txt") << line; }
    std::string nonce_of(const Response &challenge) {
        const std::size_t begin = challenge.challenge.find("nonce=\"") + 7;
        return challenge.challenge.substr(begin, challenge.challenge.find('"', begin) - begin);
    }
    std::string fresh_nonce() {
        const auto refusal = login_.refuse({"GET", target, "", "::1"}, now_);
        return refusal ? nonce_of(*refusal) : "";
    }
    /// Status of an attempt; 0: let in.
    int attempt(const std::string &nonce, const std::string &with_secret,
                std::string_view asked = target, const char *address = "192.0.2.1",
                const char *count = "00000001") {
        const auto claim = parse_digest(field(nonce, count, std::string(32, '0')));
        refusal_ = login_.refuse(
            {"GET", asked, field(nonce, count, expected_response(*claim, "GET", with_secret)),
             address},
            now_);
        return refusal_ ? refusal_->status : 0;
    }

    const std::string secret = md5_hex("admin:varn-device:open sesame");
    testing::TemporaryDirectory tree_;
    Login login_;
    Clock::time_point now_ = Clock::now();
    std::optional<Response> refusal_;
};

TEST_F(LoginTest, RightAndWrong) {
    const std::string nonce = fresh_nonce();
    EXPECT_EQ(attempt(nonce, secret), 0);
    EXPECT_EQ(attempt(nonce, secret), 401) << "the same request once more";
    EXPECT_NE(refusal_->challenge.find("stale=true"), std::string::npos);
    EXPECT_EQ(attempt(nonce, secret, target, "192.0.2.1", "00000002"), 0);
    EXPECT_EQ(attempt(fresh_nonce(), secret, "/another"), 401);
    now_ += 1s;
    EXPECT_EQ(attempt("made up", secret), 401);
    EXPECT_NE(refusal_->challenge.find("stale=true"), std::string::npos);
    EXPECT_EQ(attempt(fresh_nonce(), md5_hex("admin:varn-device:guess")), 401);
    EXPECT_EQ(refusal_->challenge.find("stale"), std::string::npos);
}

TEST_F(LoginTest, AnAddressThatGuessesWaits) {
    const std::string wrong = md5_hex("admin:varn-device:guess");
    EXPECT_EQ(attempt(fresh_nonce(), wrong), 401);
    EXPECT_EQ(attempt(fresh_nonce(), secret), 429) << "the right one is not told apart";
    EXPECT_EQ(refusal_->retry_after_s, 1);
    EXPECT_EQ(attempt(fresh_nonce(), secret, target, "192.0.2.2"), 0);
    now_ += 1s;
    EXPECT_EQ(attempt(fresh_nonce(), secret), 0);
    // A host of IPv6 is its network.
    EXPECT_EQ(attempt(fresh_nonce(), wrong, target, "2001:db8:1:2::1"), 401);
    EXPECT_EQ(attempt(fresh_nonce(), wrong, target, "2001:db8:1:2:ffff::9"), 429);
    EXPECT_EQ(attempt(fresh_nonce(), wrong, target, "2001:db8:1:3::1"), 401);
}

TEST_F(LoginTest, TheFileDecides) {
    const struct {
        std::string line;
        bool required;
        int status; ///< with the right password
    } rows[] = {
        {"", false, 0},
        {"admin:varn-device:" + secret, true, 0},
        {"root:varn-device:" + secret + "\n", true, 401},
        {"admin:other:" + secret + "\n", true, 401},
        {"\nadmin:varn-device:" + secret + "\n", true, 401},
        {"admin:varn-device:\n", true, 401},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        set_line(row.line);
        EXPECT_EQ(login_.is_required(), row.required);
        EXPECT_EQ(attempt(fresh_nonce(), row.required ? secret : ""), row.status);
        now_ += 120s;
    }
    // No secret is none that an empty one would match.
    set_line("root:varn-device:" + secret + "\n");
    EXPECT_EQ(attempt(fresh_nonce(), ""), 401);
    std::filesystem::remove(tree_.path() / "etc/user.txt");
    EXPECT_FALSE(login_.is_required());
}

} // namespace
} // namespace varn::web
