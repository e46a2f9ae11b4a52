#include "device/engine/pictures/test_sheets.h"

#include "device/engine/pictures/drawing.h"

#include <algorithm>
#include <array>
#include <cairo.h>
#include <cstring>
#include <fontconfig/fontconfig.h>
#include <string>

namespace varn::engine {
namespace {

struct SheetName {
    std::string_view name;
    TestSheet sheet;
    void (*draw)(const Drawing &, unsigned number, bool back);
};

constexpr std::array<SheetName, 5> sheet_names = {{
    {"chart", TestSheet::chart, draw_chart},
    {"text", TestSheet::text, draw_text_page},
    {"ramp", TestSheet::ramp, draw_ramp},
    {"blank", TestSheet::blank, nullptr},
    {"back", TestSheet::back, draw_back},
}};

const SheetName &row_of(TestSheet sheet) {
    return *std::ranges::find(sheet_names, sheet, &SheetName::sheet);
}

/// Rows drawn at a time: few enough for the processor's cache, many enough that going through the
/// drawing again for each strip costs little.
constexpr unsigned strip_rows = 128;

class DrawnSheet : public RowSource {
public:
    DrawnSheet(TestSheet sheet, unsigned number, bool back, const ScanArea &area)
        : draw_(row_of(sheet).draw), number_(number), back_(back), area_(area),
          surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(area.width),
                                              strip_rows)),
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
                draw_strip(area_.y + line_ - 1);
            copy_row(rows, row);
        }
    }

private:
    void draw_strip(std::uint32_t top) {
        const double x_scale = area_.x_dpi / 300;
        const double y_scale = area_.y_dpi / 300;
        cairo_identity_matrix(cairo_);
        set_colour(cairo_, area_.background);
        cairo_paint(cairo_);
        cairo_translate(cairo_, -double{1} * area_.x, -double{1} * top);
        cairo_scale(cairo_, x_scale, y_scale);
        set_colour(cairo_, white);
        cairo_rectangle(cairo_, 0, 0, test_sheet_width, test_sheet_height);
        cairo_fill(cairo_);
        if (draw_)
            draw_({cairo_, top / y_scale, (top + strip_rows) / y_scale}, number_, back_);
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
    unsigned number_;
    bool back_;
    ScanArea area_;
    std::uint32_t line_ = 0;
    cairo_surface_t *surface_;
    cairo_t *cairo_;
};

} // namespace

std::optional<TestSheet> find_test_sheet(std::string_view name) {
    const auto found = std::ranges::find(sheet_names, name, &SheetName::name);
    return found == sheet_names.end() ? std::nullopt : std::optional(found->sheet);
}

std::string_view name_of(TestSheet sheet) { return row_of(sheet).name; }

std::unique_ptr<RowSource> scan_test_sheet(TestSheet sheet, unsigned number, bool back,
                                           const ScanArea &area) {
    return std::make_unique<DrawnSheet>(sheet, number, back, area);
}

void release_drawing() {
    cairo_debug_reset_static_data();
    FcFini();
}

} // namespace varn::engine
