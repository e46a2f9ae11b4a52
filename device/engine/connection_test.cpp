#include "device/engine/connection_test.h"

#include "device/wire/local_socket.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace varn::engine {
namespace {

constexpr std::int64_t longest_test_ms = 600000;

struct Outcome {
    std::string_view name;
    std::int32_t word;
};
constexpr Outcome outcomes[] = {
    {"success", wire::test_succeeded},
    {"not-found", wire::test_server_not_found},
    {"no-folder", wire::test_no_such_folder},
    {"wrong-credentials", wire::test_wrong_credentials},
};

std::string name_of(std::int32_t word) {
    const Outcome *row = std::ranges::find(outcomes, word, &Outcome::word);
    if (row != std::end(outcomes))
        return std::string(row->name);
    return word == wire::test_never_ran ? "never ran" : "running";
}

} // namespace

void ConnectionTest::set_outcome(std::string_view name, std::int64_t duration_ms) {
    const Outcome *row = std::ranges::find(outcomes, name, &Outcome::name);
    if (row == std::end(outcomes))
        throw std::runtime_error("a connection test ends with success, not-found, no-folder or "
                                 "wrong-credentials");
    if (duration_ms < 0 || duration_ms > longest_test_ms)
        throw std::runtime_error("a test takes at most " + std::to_string(longest_test_ms) + " ms");
    const std::lock_guard lock(mutex_);
    outcome_ = row->word;
    duration_ms_ = duration_ms;
}

void ConnectionTest::start() {
    const std::lock_guard lock(mutex_);
    last_ = outcome_;
    ends_ms_ = wire::now_ms() + duration_ms_;
}

std::int32_t ConnectionTest::result_now() const {
    return wire::now_ms() < ends_ms_ ? wire::test_running : last_;
}

std::int32_t ConnectionTest::result() const {
    const std::lock_guard lock(mutex_);
    return result_now();
}

void ConnectionTest::forget() {
    const std::lock_guard lock(mutex_);
    last_ = wire::test_never_ran;
    ends_ms_ = 0;
}

void ConnectionTest::describe(nlohmann::json &state) const {
    const std::lock_guard lock(mutex_);
    state["sharePoint"] = {{"nextTest", name_of(outcome_)},
                           {"msPerTest", duration_ms_},
                           {"lastTest", name_of(result_now())}};
}

} // namespace varn::engine
