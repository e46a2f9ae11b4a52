/// A sheet of paper, and what is on its sides.
#pragma once

#include "device/engine/pictures/test_sheets.h"

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace varn::engine {

struct SheetSide {
    TestSheet drawn;  ///< used when there is no file
    std::string file; ///< plain name in the sheet directory
    std::string name; ///< what the person called it
};

struct Sheet {
    SheetSide front;
    SheetSide back;
    unsigned number = 0;    ///< in its stack, from 1
    bool is_double = false; ///< a second sheet lies so close below that both are picked
};

/// Throws nlohmann::json::exception or PictureError for anything that is no sheet.
Sheet sheet_from_json(const nlohmann::json &json);
nlohmann::json to_json(const Sheet &sheet);

/// One side as the sensor sees it. A picture that has become unreadable is a blank side.
std::unique_ptr<RowSource> scan_side(const Sheet &sheet, bool back,
                                     const std::filesystem::path &sheet_dir, const ScanArea &area);

} // namespace varn::engine
