/// What the panel shows, as one JSON document.
#pragma once

#include "device/web/panel_jobs.h"
#include "device/web/panel_maintenance.h"
#include "varn/walkup_subscriptions.h"

#include <nlohmann/json.hpp>

namespace varn::web {

/// The engine's list of hosts.
std::vector<varn_pc_record> pc_records();
std::vector<Destination> read_destinations(Device &device);

class PanelState {
public:
    /// addresses   of the device's interfaces
    PanelState(Device &device, PanelJobs &jobs, PanelMaintenance &maintenance,
               std::vector<std::string> addresses)
        : device_(device), jobs_(jobs), maintenance_(maintenance),
          addresses_(std::move(addresses)) {}

    /// The document. Destinations, events and the network are read again only with `lists`: that
    /// takes longer.
    /// One caller at a time.
    std::string text(bool lists);

private:
    void add_engine(nlohmann::json &state) const;
    void add_status(nlohmann::json &state);
    void add_jobs(nlohmann::json &state);
    void read_lists();
    void read_identity();

    Device &device_;
    PanelJobs &jobs_;
    PanelMaintenance &maintenance_;
    const std::vector<std::string> addresses_;
    std::string firmware_;
    std::string serial_;
    std::string wps_pin_;
    nlohmann::json destinations_ = nlohmann::json::array();
    nlohmann::json events_ = nlohmann::json::array();
    nlohmann::json network_;
};

} // namespace varn::web
