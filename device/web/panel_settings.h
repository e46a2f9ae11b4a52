/// Settings files and services: what the panel shows and changes of them. Nothing secret is ever
/// shown.
#pragma once

#include "device/web/device.h"
#include "device/web/panel_jobs.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace varn::web {

/// {"mail": {...}, "time": {...}, "protocols": {...}, "administrator": {...}, "scan_defaults":
/// {...}, "folders": [...], "addressbook": [...]}: a file that is not there is null. Values go by
/// their element's name, a secret one as "has_NAME". Entries have "row", and a folder "name",
/// "path", "user", "has_password" and "has_pin", an address "address". "clock" and "sharepoint" are
/// described in panel_services.h.
nlohmann::json settings_state(Device &device);
/// Another number after each change that a panel made to them, and in each process.
std::uint64_t settings_revision();

/// Actions: FILE.put {"values": {NAME: text}}, where what is absent stays; FILE.reset to the
/// factory content; LIST.put with "row" for an entry that is there, and its values; LIST.delete
/// {"row"}; LIST.reset. With a row goes "was", the name or address that was shown there: 409 when
/// the row has another one meanwhile. Those of panel_services.h. Nothing for another action.
std::optional<PanelAnswer> change_settings(Device &device, const std::string &action,
                                           const nlohmann::json &request);

} // namespace varn::web
