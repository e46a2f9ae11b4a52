/// Maintenance at the panel: what is due, how worn the parts are, and what was counted.
#pragma once

#include "device/web/panel_jobs.h"

#include <chrono>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

namespace varn::web {

class PanelMaintenance {
public:
    explicit PanelMaintenance(Device &device) : device_(device) {}

    /// {"alerts": [ID of the status document], "counts": {...}, "wear": {PART: {"pages",
    /// "interval"}}}. It is looked at anew once in two seconds at most: each GET of the status
    /// document raises and lowers alerts and is logged, and the counts move with each page.
    /// engine    what the engine says of itself; empty when it is away, and its parts are null then
    nlohmann::json shown(const nlohmann::json &engine);

    /// Presses OK on an alert. 409 when it is not raised, and when it stays.
    PanelAnswer acknowledge(const std::string &alert);

private:
    using Clock = std::chrono::steady_clock;
    PanelAnswer press_ok(const std::string &alert);

    Device &device_;
    std::mutex mutex_;
    nlohmann::json shown_;
    Clock::time_point next_ = {};
};

} // namespace varn::web
