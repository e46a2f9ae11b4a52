#include "tests/soak/ledger.h"

#include <cstdio>

namespace varn::soak {

void Row::count(int status) {
    ++asked;
    if (status == 0)
        ++none;
    else if (status == 503)
        ++busy;
    else if (status < 300)
        ++done;
    else
        ++refused;
}

void Ledger::breach(const std::string &what) {
    constexpr std::size_t most_kept = 20;
    ++breaches_;
    const std::lock_guard lock(mutex_);
    if (kept_.size() >= most_kept)
        return;
    kept_.push_back(what);
    std::printf("BREACH %s\n", what.c_str());
    std::fflush(stdout);
}

std::vector<std::string> Ledger::kept() const {
    const std::lock_guard lock(mutex_);
    return kept_;
}

long Ledger::total(std::atomic<long> Row::*column) const {
    long sum = 0;
    for (const Row &row : rows_)
        sum += row.*column;
    return sum;
}

void Setting::begin(const std::string &value) {
    const std::lock_guard lock(mutex_);
    possible_.insert(value);
}

void Setting::confirmed(const std::string &value) {
    const std::lock_guard lock(mutex_);
    possible_ = {value};
}

void Setting::refused(const std::string &value) {
    const std::lock_guard lock(mutex_);
    possible_.erase(value);
}

bool Setting::may_hold(const std::string &value) const {
    const std::lock_guard lock(mutex_);
    return possible_.empty() || possible_.contains(value);
}

std::string Setting::text() const {
    const std::lock_guard lock(mutex_);
    std::string all;
    for (const std::string &value : possible_)
        all.append(all.empty() ? "" : " or ").append(value);
    return all;
}

} // namespace varn::soak
