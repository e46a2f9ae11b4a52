/// What the operator can do at the panel.
#pragma once

#include "device/web/panel_jobs.h"
#include "device/web/panel_maintenance.h"
#include "device/web/panel_state.h"

#include <nlohmann/json.hpp>

namespace varn::web {

class PanelActions {
public:
    PanelActions(Device &device, PanelJobs &jobs, PanelMaintenance &maintenance)
        : device_(device), jobs_(jobs), maintenance_(maintenance) {}

    /// body      JSON object with "action"
    PanelAnswer perform(std::string_view body);

private:
    PanelAnswer pick(const nlohmann::json &request);
    PanelAnswer follow_pick(bool next);
    PanelAnswer preview(const nlohmann::json &request);
    PanelAnswer dispatch(const std::string &action, const nlohmann::json &request);

    Device &device_;
    PanelJobs &jobs_;
    PanelMaintenance &maintenance_;
};

} // namespace varn::web
