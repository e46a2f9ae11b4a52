/// What the clients of a soak run saw.
#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace varn::soak {

enum class Kind { reader, slow_reader, writer, slow_writer, half, vanisher, spite, scan, count };
inline constexpr std::array<std::string_view, static_cast<std::size_t>(Kind::count)> kind_names = {
    "reader", "slow reader", "writer", "slow writer", "half request", "vanisher", "spite", "scan"};

/// Answers by class. Anybody may count at any time.
struct Row {
    std::atomic<long> asked = 0;
    std::atomic<long> done = 0;    ///< 2xx, or what the client set out to do
    std::atomic<long> busy = 0;    ///< 503
    std::atomic<long> refused = 0; ///< another 4xx or 5xx
    std::atomic<long> none = 0;    ///< no whole answer

    void count(int status);
};

class Ledger {
public:
    Row &row(Kind kind) { return rows_[static_cast<std::size_t>(kind)]; }
    const Row &row(Kind kind) const { return rows_[static_cast<std::size_t>(kind)]; }
    /// Something that must never be. The first ones are kept as texts.
    void breach(const std::string &what);
    long breaches() const { return breaches_; }
    std::vector<std::string> kept() const;
    long total(std::atomic<long> Row::*column) const;

private:
    std::array<Row, kind_names.size()> rows_;
    std::atomic<long> breaches_ = 0;
    mutable std::mutex mutex_;
    std::vector<std::string> kept_;
};

/// A setting with one writer: what it may hold. A write without an answer may have been done or
/// not; one that was confirmed leaves no other value.
class Setting {
public:
    void begin(const std::string &value);
    void confirmed(const std::string &value);
    /// Refused for good: the value must not be there.
    void refused(const std::string &value);
    bool may_hold(const std::string &value) const;
    std::string text() const;

private:
    mutable std::mutex mutex_;
    std::set<std::string> possible_;
};

} // namespace varn::soak
