/// The network at the panel: what there is, and the buttons of Wi-Fi Protected Setup.
#pragma once

#include "device/web/panel_jobs.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace varn::web {

/// For the panel's state, all but the PIN; null while the engine is away. Names on the air are
/// strangers', of any bytes.
nlohmann::json describe_network(const Device &device);

/// The device's own PIN for Wi-Fi Protected Setup; empty while the engine is away.
std::string wps_pin(Device &device);

/// Nothing when the action is none of the network's.
///
/// "wps.push"            starts a push-button session
/// "wps.pin"             starts a session with the device's own PIN
/// "wps.cancel"          ends the session that runs
/// "wps.partner", on     whether an access point nearby waits for a session
/// "adapter.power", adapter, on
std::optional<PanelAnswer> act_on_network(Device &device, const std::string &action,
                                          const nlohmann::json &request);

} // namespace varn::web
