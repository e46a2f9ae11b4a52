#include "device/engine/pictures/test_sheets.h"

#include "device/engine/pictures/drawing.h"

#include <algorithm>
#include <array>
#include <cairo.h>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fontconfig/fontconfig.h>
#include <string>

namespace varn::engine {
namespace {

struct SheetName {
    std::string_view name;
    TestPicture picture;
    void (*draw)(const Drawing &, unsigned number, bool back);
};

constexpr std::array<SheetName, 6> sheet_names = {{
    {"chart", TestPicture::chart, draw_chart},
    {"text", TestPicture::text, draw_text_page},
    {"ramp", TestPicture::ramp, draw_ramp},
    {"blank", TestPicture::blank, nullptr},
    {"back", TestPicture::back, draw_back},
    {"long", TestPicture::tape, draw_tape},
}};

const SheetName &row_of(TestPicture picture) {
    return *std::ranges::find(sheet_names, picture, &SheetName::picture);
}

/// Inches of a long sheet; nothing for what is no length.
std::optional<unsigned> length_of(std::string_view digits) {
    unsigned inches = 0;
    const auto [end, error] = std::from_chars(digits.begin(), digits.end(), inches);
    if (error != std::errc() || end != digits.end() || inches == 0 || inches > longest_tape)
        return std::nullopt;
    return inches;
}

/// Rows drawn at a time: few enough for the processor's cache, many enough that going through the
/// drawing again for each strip costs little.
constexpr unsigned strip_rows = 64;

class DrawnSheet : public RowSource {
public:
    DrawnSheet(const TestSheet &sheet, unsigned number, bool back, const ScanArea &area)
        : draw_(row_of(sheet.picture).draw), height_(sheet.height), number_(number), back_(back),
          area_(area), surface_(cairo_image_surface_create(
                           CAIRO_FORMAT_RGB24, static_cast<int>(area.width), strip_rows)),
          cairo_(cairo_create(surface_)) {
        if (cairo_status(cairo_) != CAIRO_STATUS_SUCCESS)
            draw_ = nullptr;
    }
    ~DrawnSheet() override {
        cairo_destroy(cairo_);
        cairo_surface_destroy(surface_);
    }
    DrawnSheet(const DrawnSheet &) = delete;
    DrawnSheet &operator=(const DrawnSheet &) = delete;

    void read(Pixel *rows, unsigned count) override {
        for (; count > 0; --count, rows += area_.width) {
            const unsigned row = line_++ % strip_rows;
            if (row == 0 && cairo_status(cairo_) == CAIRO_STATUS_SUCCESS)
                draw_strip(std::int64_t{area_.y} + line_ - 1);
            copy_row(rows, row);
        }
    }

    SheetExtent sheet() const override {
        const auto covered = [](double sheet, double dpi, std::int32_t from, std::uint32_t most) {
            return static_cast<std::uint32_t>(
                std::clamp<double>(std::round(sheet * dpi / 300) - from, 0, most));
        };
        return {covered(test_sheet_width, area_.x_dpi, area_.x, area_.width),
                covered(height_, area_.y_dpi, area_.y, area_.height)};
    }

private:
    void draw_strip(std::int64_t top) {
        const double x_scale = area_.x_dpi / 300;
        const double y_scale = area_.y_dpi / 300;
        cairo_identity_matrix(cairo_);
        set_colour(cairo_, area_.background);
        cairo_paint(cairo_);
        cairo_translate(cairo_, -double{1} * area_.x, -static_cast<double>(top));
        cairo_scale(cairo_, x_scale, y_scale);
        set_colour(cairo_, white);
        cairo_rectangle(cairo_, 0, 0, test_sheet_width, height_);
        cairo_fill(cairo_);
        if (draw_)
            draw_({cairo_, static_cast<double>(top) / y_scale,
                   static_cast<double>(top + strip_rows) / y_scale, static_cast<double>(height_)},
                  number_, back_);
        cairo_surface_flush(surface_);
    }

    void copy_row(Pixel *row, unsigned index) const {
        const unsigned char *data = cairo_image_surface_get_data(surface_);
        if (data)
            std::memcpy(row, data + std::size_t{index} * cairo_image_surface_get_stride(surface_),
                        area_.width * sizeof *row);
        else
            std::fill_n(row, area_.width, white);
    }

    void (*draw_)(const Drawing &, unsigned, bool);
    unsigned height_; ///< three-hundredths of an inch
    unsigned number_;
    bool back_;
    ScanArea area_;
    std::uint32_t line_ = 0;
    cairo_surface_t *surface_;
    cairo_t *cairo_;
};

} // namespace

std::optional<TestSheet> find_test_sheet(std::string_view name) {
    const std::size_t colon = std::min(name.find(':'), name.size());
    const auto found = std::ranges::find(sheet_names, name.substr(0, colon), &SheetName::name);
    if (found == sheet_names.end() ||
        (found->picture == TestPicture::tape) == (colon == name.size()))
        return std::nullopt;
    TestSheet sheet{found->picture};
    if (colon == name.size())
        return sheet;
    const auto inches = length_of(name.substr(colon + 1));
    if (!inches)
        return std::nullopt;
    sheet.height = 300 * *inches;
    return sheet;
}

std::string name_of(const TestSheet &sheet) {
    std::string name(row_of(sheet.picture).name);
    if (sheet.picture == TestPicture::tape)
        name += ":" + std::to_string(sheet.height / 300);
    return name;
}

std::unique_ptr<RowSource> scan_test_sheet(const TestSheet &sheet, unsigned number, bool back,
                                           const ScanArea &area) {
    return std::make_unique<DrawnSheet>(sheet, number, back, area);
}

void release_drawing() {
    cairo_debug_reset_static_data();
    FcFini();
}

} // namespace varn::engine
