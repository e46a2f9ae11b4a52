#include "device/engine/sheets.h"

#include "device/engine/files.h"
#include "device/engine/pictures/picture_file.h"

#include <nlohmann/json.hpp>

namespace varn::engine {
namespace {

using nlohmann::json;

SheetSide side_from_json(const json &entry) {
    SheetSide side;
    if (entry.contains("file")) {
        side.file = entry.at("file").get<std::string>();
        side.name = entry.value("name", side.file);
        if (side.file.empty() || side.file.front() == '.' ||
            side.file.find('/') != std::string::npos)
            throw PictureError("not the name of a sheet: " + side.file);
        return side;
    }
    side.name = entry.at("drawn").get<std::string>();
    const auto drawn = find_test_sheet(side.name);
    if (!drawn)
        throw PictureError("no such test sheet: " + side.name);
    side.drawn = *drawn;
    return side;
}

json side_to_json(const SheetSide &side) {
    if (side.file.empty())
        return {{"drawn", name_of(side.drawn)}};
    return {{"file", side.file}, {"name", side.name}};
}

} // namespace

Sheet sheet_from_json(const json &entry) {
    Sheet sheet;
    sheet.front = side_from_json(entry.at("front"));
    if (entry.contains("back")) {
        sheet.back = side_from_json(entry.at("back"));
    } else if (sheet.front.file.empty()) {
        sheet.back = sheet.front;
    } else {
        sheet.back.drawn.picture = TestPicture::back;
        sheet.back.name = name_of(sheet.back.drawn);
    }
    sheet.number = entry.value("number", 0U);
    sheet.is_double = entry.value("double", false);
    return sheet;
}

json to_json(const Sheet &sheet) {
    return {{"front", side_to_json(sheet.front)},
            {"back", side_to_json(sheet.back)},
            {"number", sheet.number},
            {"double", sheet.is_double}};
}

std::unique_ptr<RowSource> scan_side(const Sheet &sheet, bool back,
                                     const std::filesystem::path &sheet_dir, const ScanArea &area) {
    const SheetSide &side = back ? sheet.back : sheet.front;
    if (side.file.empty())
        return scan_test_sheet(side.drawn, sheet.number, back, area);
    try {
        const double wanted = std::max(area.x_dpi, area.y_dpi);
        return scan_picture(open_picture(sheet_dir / side.file, wanted), area);
    } catch (const PictureError &error) {
        log_line("sheet " + side.name + ": " + error.what());
        return scan_test_sheet(TestSheet(), sheet.number, back, area);
    }
}

} // namespace varn::engine
