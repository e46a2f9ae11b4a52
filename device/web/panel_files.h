/// Files of the panel's and of the administrator's page, which are part of the program.
#pragma once

#include <optional>
#include <string_view>

namespace varn::web {

struct PanelFile {
    std::string_view content_type;
    std::string_view content;
};
/// path      as in a request: "/", "/panel.css", "/panel.js", ...
std::optional<PanelFile> panel_file(std::string_view path);
/// path      "/", "/admin.css", "/admin.js"
std::optional<PanelFile> admin_file(std::string_view path);

} // namespace varn::web
