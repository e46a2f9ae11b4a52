/// Load and spite: a crowd of clients at a whole scanner whose processes are killed meanwhile.
///
/// Each round has a new server process. The crowd works, and pauses at quiet points where the
/// process must hold no more than at the first; then engine and server are killed at random; then
/// the device must be ready and every confirmed write there.

#include "tests/soak/clients.h"
#include "tests/soak/ledger.h"
#include "tests/soak/scan_clients.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <random>

namespace varn::soak {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
using testing::Holdings;
using testing::holdings_of;
using testing::pause_ms;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool memory_tells = false; // a sanitizer keeps freed memory, and shadows of threads
#else
constexpr bool memory_tells = true;
#endif

constexpr auto report_step = 10s;
constexpr auto longest_round = 240s;
constexpr int settle_limit_ms = 6000; ///< longer than the server waits for a half request
constexpr int ready_limit_ms = 30000;
constexpr long memory_slack_kib = 4096;
/// The server's pool of threads has as many as calls ever ran at one time.
constexpr int thread_slack = 6;

struct Quiet {
    Holdings server;
    Holdings engine;
    pid_t engine_pid = 0;
};

struct Growth {
    int round;
    Quiet first;
    Quiet last;
};

class Soak {
public:
    explicit Soak(Clock::duration length) : begin_(Clock::now()), end_(begin_ + length) {}
    bool run();

private:
    bool prepare();
    void round(Clock::time_point until);
    void steady(Clock::time_point until);
    void kill_at_random(Clock::time_point until);
    bool restart();
    void check_device(const char *when);
    Quiet quiet(const Quiet &at_most);
    void compare(const Quiet &first, const Quiet &last);
    void wait_until(Clock::time_point until);
    void report();
    void print_table() const;

    World world_;
    const Clock::time_point begin_;
    const Clock::time_point end_;
    Clock::time_point next_report_ = begin_ + report_step;
    const char *phase_ = "start";
    int round_ = 0;
    int engine_kills_ = 0;
    int server_kills_ = 0;
    std::mt19937 random_{std::random_device()()};
    std::vector<Growth> growth_;
};

bool Soak::prepare() {
    if (!world_.scanner.ready()) {
        std::printf("the scanner does not start: %s\n", world_.scanner.output_rest().c_str());
        return false;
    }
    world_.port = world_.scanner.port();
    for (const char *path : {"/DevMgmt/DiscoveryTree.xml", product_config,
                             "/DevMgmt/ProductConfigCap.xml", "/eSCL/ScannerCapabilities",
                             "/eSCL/ScannerStatus", "/eSCL/eSCLConfig", "/eSCL/eSclManifest.xml"}) {
        const auto body = get_patiently(world_, path, ready_limit_ms);
        if (!body || body->rfind("</") == std::string::npos) {
            std::printf("no document at %s\n", path);
            return false;
        }
        world_.endings[path] = body->substr(body->rfind("</"));
    }
    return true;
}

bool Soak::run() {
    if (!prepare())
        return false;
    while (Clock::now() < end_ && (round_ == 0 || end_ - Clock::now() > 10s)) {
        // The last round takes what is left instead of leaving a stump.
        const auto left = end_ - Clock::now();
        round(left < longest_round * 3 / 2 ? end_ : Clock::now() + longest_round);
        if (!world_.scanner.ready())
            break;
    }
    if (world_.scanner.ready())
        if (const int status = world_.scanner.stop(); status != 0)
            world_.ledger.breach("the server ended with " + std::to_string(status) + ": " +
                                 world_.scanner.output_rest());
    print_table();
    return world_.ledger.breaches() == 0;
}

/// A tenth to warm up, half of the time without a kill, the rest with.
void Soak::round(Clock::time_point until) {
    ++round_;
    const auto begin = Clock::now();
    const auto length = until - begin;
    phase_ = "warm-up";
    if (get_patiently(world_, "/eSCL/ScannerStatus", ready_limit_ms))
        scan_all_kinds(world_);
    steady(begin + length / 10);
    const Quiet first = quiet({});
    phase_ = "steady";
    steady(begin + length * 6 / 10);
    const Quiet last = quiet(first);
    compare(first, last);
    check_device("after the steady phase");
    phase_ = "kills";
    kill_at_random(until);
    if (!world_.scanner.ready())
        return;
    phase_ = "recovery";
    check_device("after the kills");
}

void Soak::steady(Clock::time_point until) {
    world_.killing = false;
    const Crowd crowd(world_);
    wait_until(until);
}

void Soak::kill_at_random(Clock::time_point until) {
    world_.killing = true;
    const Crowd crowd(world_);
    const auto pick = [&](int least, int most) {
        return std::uniform_int_distribution(least, most)(random_);
    };
    while (Clock::now() < until) {
        wait_until(std::min(until, Clock::now() + std::chrono::milliseconds(pick(200, 2500))));
        const pid_t engine = world_.scanner.engine_pid();
        if (engine > 0 && (engine_kills_ == 0 || pick(0, 2) > 0)) {
            kill(engine, SIGKILL);
            ++engine_kills_;
        } else if (!restart()) {
            return;
        }
    }
    // Each round that follows begins with a process of its own.
    restart();
}

bool Soak::restart() {
    world_.scanner.signal(SIGKILL);
    ++server_kills_;
    world_.scanner.start();
    world_.port = world_.scanner.port();
    if (!world_.scanner.ready())
        world_.ledger.breach("the server does not start again: " + world_.scanner.output_rest());
    return world_.scanner.ready();
}

void Soak::check_device(const char *when) {
    const std::string where = std::string(", ") + when + " of round " + std::to_string(round_);
    if (!device_is_ready(world_, ready_limit_ms))
        world_.ledger.breach("no scan comes through" + where);
    const auto document = get_patiently(world_, product_config, ready_limit_ms);
    if (!document) {
        world_.ledger.breach("no product configuration" + where);
        return;
    }
    const struct {
        const char *element;
        const Setting &setting;
    } rows[] = {{"dd:AssetNumber", world_.asset}, {"dd:PowerSaveTimeout", world_.sleep}};
    for (const auto &row : rows) {
        const std::string held = element_of(*document, row.element).value_or("");
        if (!row.setting.may_hold(held))
            world_.ledger.breach(std::string(row.element) + " is " + held + " instead of " +
                                 row.setting.text() + where);
    }
}

/// Without clients; connections that were left half-way have run out of time.
Quiet Soak::quiet(const Quiet &at_most) {
    device_is_ready(world_, ready_limit_ms);
    Quiet now;
    testing::eventually(
        [&] {
            now.engine_pid = world_.scanner.engine_pid();
            now.server = holdings_of(world_.scanner.pid());
            now.engine = now.engine_pid > 0 ? holdings_of(now.engine_pid) : Holdings();
            return now.server.descriptors <= at_most.server.descriptors &&
                   now.server.threads <= at_most.server.threads &&
                   now.engine.descriptors <= at_most.engine.descriptors &&
                   now.engine.threads <= at_most.engine.threads;
        },
        settle_limit_ms);
    return now;
}

void Soak::compare(const Quiet &first, const Quiet &last) {
    growth_.push_back({round_, first, last});
    if (first.engine_pid != last.engine_pid)
        world_.ledger.breach("the engine ended by itself");
    const struct {
        const char *name;
        const Holdings &before;
        const Holdings &after;
        int more_threads;
    } rows[] = {{"varnd", first.server, last.server, thread_slack},
                {"varn-engine", first.engine, last.engine, 0}};
    for (const auto &row : rows) {
        const auto grew = [&](const char *what, long before, long after) {
            world_.ledger.breach(std::string(row.name) + " has grown in " + what + " from " +
                                 std::to_string(before) + " to " + std::to_string(after));
        };
        if (row.after.descriptors > row.before.descriptors)
            grew("descriptors", row.before.descriptors, row.after.descriptors);
        if (row.after.threads > row.before.threads + row.more_threads)
            grew("threads", row.before.threads, row.after.threads);
        if (memory_tells && row.after.resident_kib > row.before.resident_kib + memory_slack_kib)
            grew("KiB", row.before.resident_kib, row.after.resident_kib);
    }
}

void Soak::wait_until(Clock::time_point until) {
    while (Clock::now() < until) {
        pause_ms(static_cast<int>(std::clamp<long>((until - Clock::now()) / 1ms, 1, 100)));
        if (Clock::now() >= next_report_) {
            next_report_ += report_step;
            report();
        }
    }
}

void Soak::report() {
    const Ledger &ledger = world_.ledger;
    const Holdings server = holdings_of(world_.scanner.pid());
    std::printf("%5ld s  round %d %-8s %9ld requests  %6ld scans  %6ld writes  %3d+%d kills  "
                "varnd %d fds %d threads %ld KiB  %ld breaches\n",
                static_cast<long>((Clock::now() - begin_) / 1s), round_, phase_,
                ledger.total(&Row::asked), ledger.row(Kind::scan).done.load(),
                ledger.row(Kind::writer).done.load() + ledger.row(Kind::slow_writer).done.load(),
                engine_kills_, server_kills_, server.descriptors, server.threads,
                server.resident_kib, ledger.breaches());
    std::fflush(stdout);
}

void Soak::print_table() const {
    const Ledger &ledger = world_.ledger;
    std::printf("\n%-14s %9s %9s %9s %9s %9s\n", "client", "asked", "done", "busy", "refused",
                "no answer");
    for (std::size_t i = 0; i < kind_names.size(); ++i) {
        const Row &row = ledger.row(static_cast<Kind>(i));
        std::printf("%-14s %9ld %9ld %9ld %9ld %9ld\n", std::string(kind_names[i]).c_str(),
                    row.asked.load(), row.done.load(), row.busy.load(), row.refused.load(),
                    row.none.load());
    }
    std::printf("\n%-21s %13s %11s %17s\n", "held at quiet points", "descriptors", "threads",
                "resident KiB");
    for (const Growth &row : growth_) {
        const auto line = [&](const char *name, const Holdings &before, const Holdings &after) {
            std::printf("round %-3d %-11s %6d%7d %5d%6d %9ld%8ld\n", row.round, name,
                        before.descriptors, after.descriptors, before.threads, after.threads,
                        before.resident_kib, after.resident_kib);
        };
        line("varnd", row.first.server, row.last.server);
        line("varn-engine", row.first.engine, row.last.engine);
    }
    std::printf("\nkilled: engine %d times, server %d times; %ld breaches\n", engine_kills_,
                server_kills_, ledger.breaches());
    for (const std::string &text : ledger.kept())
        std::printf("  %s\n", text.c_str());
}

} // namespace
} // namespace varn::soak

int main(int argc, char **argv) {
    double minutes = 0;
    const char *text = argc == 2 ? argv[1] : "";
    const auto [end, error] = std::from_chars(text, text + std::strlen(text), minutes);
    if (error != std::errc() || *end != '\0' || !(minutes > 0 && minutes <= 24.0 * 60)) {
        std::fputs("usage: varn-soak MINUTES\n", stderr);
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    const auto length = std::chrono::duration<double, std::ratio<60>>(minutes);
    return varn::soak::Soak(std::chrono::duration_cast<varn::soak::Clock::duration>(length)).run()
               ? 0
               : 1;
}
