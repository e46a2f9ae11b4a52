/// Processes that are killed while settings are written: what was confirmed is there afterwards.
///
/// VARN_KILLS is the number of kills, 30 unless given.

#include "tests/e2e/e2e_fixture.h"
#include "tests/soak/clients.h"
#include "tests/soak/ledger.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <functional>
#include <random>
#include <thread>

namespace varn::testing {
namespace {

using namespace std::chrono_literals;

const std::string con = "=\"http://schemas.varn.example/schemas/imaging/con/";

/// A setting and where it is kept.
struct Store {
    std::string path;
    std::string element; ///< that shows it
    std::function<std::string(const std::string &)> document;
    std::function<std::string(int)> value;
    soak::Setting setting;
    std::atomic<long> confirmed = 0;
};

std::string time_document(const std::string &root, const std::string &content) {
    return "<ts:" + root + " xmlns:ts" + con + "varn/timeservice/2014/08/18\" xmlns:dd" + con +
           "dictionaries/1.0/\">" + content + "</ts:" + root + ">";
}

class Kills : public ScannerTest {
protected:
    void SetUp() override {
        ScannerTest::SetUp();
        const std::string answer =
            ask_raw("POST", "/DevMgmt/SharePoint/PredefinedJobs", job("first"));
        ASSERT_EQ(testing::status_of(answer), 201);
        const std::string location = field_of(answer, "Location");
        const auto text = [](int number) { return "v" + std::to_string(number); };
        const auto port = [](int number) { return std::to_string(1000 + number % 60000); };
        const auto zone = [](int number) {
            return number % 2 ? "(GMT+09:00) Seoul"
                              : "(GMT+05:30) Chennai, Kolkata, Mumbai, New Delhi";
        };
        add("/DevMgmt/ProductConfigDyn.xml", "dd:AssetNumber", asset_number, text);
        add("/DevMgmt/SecurityDyn.xml", "dd:Password", password, text);
        add(location.substr(location.find('/', 8)), "dd:Name", job, text);
        add("/TimeService/SNTPSync", "ts:ServerPort", server_port, port);
        add("/TimeService/RTCSetting", "ts:TimeZoneName", zone_name, zone);
    }

    static std::string job(const std::string &name) {
        return "<folder:PredefinedJob xmlns:folder" + con +
               "service/folder/2009/02/11\" xmlns:dsd" + con +
               "digitalsending/2009/02/11\" xmlns:dd" + con +
               "dictionaries/1.0/\"><dsd:DisplaySettings><dd:Name>" + name +
               "</dd:Name></dsd:DisplaySettings></folder:PredefinedJob>";
    }
    static std::string password(const std::string &word) {
        return "<secdyn:SecurityDyn xmlns:secdyn" + con + "varn/securitydyn/2008/02/01\" xmlns:dd" +
               con + "dictionaries/1.0/\"><dd:Password>" + word +
               "</dd:Password></secdyn:SecurityDyn>";
    }
    static std::string server_port(const std::string &port) {
        return time_document("SNTPSync", "<ts:SyncSetting><ts:ActionType>config</ts:ActionType>"
                                         "<ts:ServerPort>" +
                                             port + "</ts:ServerPort></ts:SyncSetting>");
    }
    static std::string zone_name(const std::string &zone) {
        return time_document("RTCSetting", "<ts:CurrentTimeZone><ts:TimeZoneName>" + zone +
                                               "</ts:TimeZoneName></ts:CurrentTimeZone>");
    }
    void add(const std::string &path, const std::string &element,
             std::function<std::string(const std::string &)> document,
             std::function<std::string(int)> value) {
        Store &store = stores_.emplace_back();
        store.path = path;
        store.element = element;
        store.document = std::move(document);
        store.value = std::move(value);
    }

    void write(Store &store, const std::atomic<bool> &stop) {
        while (!stop) {
            const std::string value = store.value(++number_);
            store.setting.begin(value);
            const int status = put(store.path, store.document(value));
            if (status >= 200 && status < 300) {
                store.setting.confirmed(value);
                ++store.confirmed;
            } else {
                pause_ms(5);
            }
        }
    }

    void check(Store &store, const std::string &when) {
        std::string shown;
        // A document without the setting is what is shown while the engine starts again.
        eventually([&] {
            const std::string answer = ask_raw("GET", store.path);
            shown = soak::element_of(answer, store.element).value_or("nothing");
            return testing::status_of(answer) == 200 && store.setting.may_hold(shown);
        });
        EXPECT_TRUE(store.setting.may_hold(shown))
            << store.path << " shows " << shown << " instead of " << store.setting.text() << when;
        store.setting.confirmed(shown);
    }

    std::deque<Store> stores_;
    std::atomic<int> number_ = 0;
    std::mt19937 random_{std::random_device()()};
};

TEST_F(Kills, ConfirmedWritesOutliveThem) {
    const char *wanted = std::getenv("VARN_KILLS");
    const int kills = wanted ? std::atoi(wanted) : 30;
    ASSERT_GT(kills, 0);
    int engines = 0;
    int servers = 0;
    const auto pick = [&](int most) { return std::uniform_int_distribution(0, most)(random_); };
    for (int i = 0; i < kills && !HasFailure(); ++i) {
        std::atomic<bool> stop = false;
        std::vector<std::thread> writers;
        for (Store &store : stores_)
            writers.emplace_back([&] { write(store, stop); });
        pause_ms(20 + pick(150));
        const bool engine = pick(1) == 0;
        const bool server = !engine || pick(3) == 0;
        if (const pid_t pid = scanner_.engine_pid(); engine && pid > 0 && kill(pid, SIGKILL) == 0)
            ++engines;
        if (server) {
            scanner_.signal(SIGKILL);
            ++servers;
        } else {
            pause_ms(pick(60));
        }
        stop = true;
        for (std::thread &writer : writers)
            writer.join();
        if (server)
            scanner_.start();
        ASSERT_TRUE(scanner_.ready()) << scanner_.output_rest();
        for (Store &store : stores_)
            check(store, std::string(engine ? ", engine" : "") + (server ? ", server" : "") +
                             " killed, " + std::to_string(i));
    }
    std::printf("killed: engine %d times, server %d times\n", engines, servers);
    for (const Store &store : stores_) {
        std::printf("%7ld confirmed  %s\n", store.confirmed.load(), store.path.c_str());
        EXPECT_GE(store.confirmed, kills / 2) << store.path;
    }
    EXPECT_EQ(engines > 0 || servers > 0, true);
}

} // namespace
} // namespace varn::testing
