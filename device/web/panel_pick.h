/// The computer that the operator picked for a scan.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace varn::web {

/// One computer that can be picked at the panel.
struct Destination {
    enum class Family { escl, varn };

    Family family = Family::escl;
    std::string uuid;
    std::string name;
    bool is_network = false;
    int index = 0; ///< place in its list
    struct Shortcut {
        std::string name;
        int number = 0; ///< as the library's calls count them
    };
    std::vector<Shortcut> shortcuts;
};

inline const char *name_of(Destination::Family family) {
    return family == Destination::Family::escl ? "escl" : "varn";
}

/// The pick stays until the operator says that there are no more pages.
class PanelPick {
public:
    using Clock = std::chrono::steady_clock;

    /// A host does not say why it scans: what begins within this time of a pick, or of a wish for
    /// another page, is taken for the picked one's.
    static constexpr std::chrono::seconds answer_time{60};

    void set(Destination host, Clock::time_point now) {
        const std::lock_guard lock(mutex_);
        host_ = std::move(host);
        awaited_until_ = now + answer_time;
    }
    void await_next_page(Clock::time_point now) {
        const std::lock_guard lock(mutex_);
        awaited_until_ = now + answer_time;
    }
    void clear() {
        const std::lock_guard lock(mutex_);
        host_.reset();
        awaited_until_ = {};
    }
    std::optional<Destination> host() const {
        const std::lock_guard lock(mutex_);
        return host_;
    }
    /// A host has begun a scan. True once for each pick and each further page.
    bool takes_scan(Clock::time_point now) {
        const std::lock_guard lock(mutex_);
        return now < std::exchange(awaited_until_, {});
    }

private:
    mutable std::mutex mutex_;
    std::optional<Destination> host_;
    Clock::time_point awaited_until_;
};

} // namespace varn::web
