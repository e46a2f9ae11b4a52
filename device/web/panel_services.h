/// What the panel shows and does of the time service and of the SharePoint jobs.
#pragma once

#include "device/web/panel_jobs.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace varn::web {

/// {"zone", "zones": [the names on offer]}; null when the device does not tell.
nlohmann::json describe_clock(Device &device);
/// [{"uuid", "name", "path"}] in the order of the slots; no user and no password.
nlohmann::json describe_sharepoint_jobs(Device &device);

/// Actions: clock.put {"zone"}, by its name; sharepoint.test {"uuid"}, which starts the connection
/// test and does not wait for its end. Nothing for another action.
std::optional<PanelAnswer> act_on_services(Device &device, const std::string &action,
                                           const nlohmann::json &request);

} // namespace varn::web
