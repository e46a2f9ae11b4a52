#include "device/engine/pictures/drawing.h"

#include "device/engine/pictures/test_sheets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace varn::engine {
namespace {

constexpr double page_width = test_sheet_width;
constexpr double page_height = test_sheet_height;
constexpr double margin = 150;
constexpr char sans[] = "DejaVu Sans";
constexpr char serif[] = "DejaVu Serif";

void box(const Drawing &d, double x, double y, double width, double height, Pixel colour) {
    if (!d.shows(y, y + height))
        return;
    set_colour(d.cairo, colour);
    cairo_rectangle(d.cairo, x, y, width, height);
    cairo_fill(d.cairo);
}

void text(const Drawing &d, const char *font, double size, double x, double baseline,
          const std::string &words, bool bold = false) {
    if (!d.shows(baseline - size, baseline + size / 2))
        return;
    set_colour(d.cairo, black);
    cairo_select_font_face(d.cairo, font, CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(d.cairo, size);
    cairo_move_to(d.cairo, x, baseline);
    cairo_show_text(d.cairo, words.c_str());
}

std::string title(const char *name, unsigned number, bool back) {
    return std::string(name) + "  ·  sheet " + std::to_string(number) +
           (back ? "  ·  BACK" : "  ·  FRONT");
}

void frame(const Drawing &d) {
    constexpr double inset = 60;
    constexpr double line = 4;
    box(d, inset, inset, page_width - 2 * inset, line, black);
    box(d, inset, page_height - inset - line, page_width - 2 * inset, line, black);
    box(d, inset, inset, line, page_height - 2 * inset, black);
    box(d, page_width - inset - line, inset, line, page_height - 2 * inset, black);
}

/// Black and white lines of equal width, upright and lying, each group marked with its width.
void line_groups(const Drawing &d, double y) {
    double x = margin;
    for (const int width : {1, 2, 3, 4, 6, 8, 12}) {
        constexpr double size = 240;
        for (double at = 0; at + width <= size; at += 2 * width) {
            box(d, x + at, y, width, size, black);
            box(d, x, y + 280 + at, size, width, black);
        }
        text(d, sans, 36, x, y + 580, std::to_string(width) + "/300 in");
        x += 330;
    }
}

void colour_patches(const Drawing &d, double y) {
    constexpr std::array<Pixel, 12> colours = {0xFF0000, 0x00FF00, 0x0000FF, 0x00FFFF,
                                               0xFF00FF, 0xFFFF00, 0x000000, 0xF2C9A8,
                                               0x7A4B2A, 0x3C6E47, 0x5577AA, 0xE07B39};
    constexpr std::size_t across = 6;
    for (std::size_t i = 0; i < colours.size(); ++i) {
        const std::size_t row = i / across;
        box(d, margin + 375.0 * (i % across), y + 330.0 * row, 345, 300, colours[i]);
    }
}

void grey_steps(const Drawing &d, double y) {
    for (unsigned i = 0; i <= 15; ++i)
        box(d, margin + 140 * i, y, 140, 240, 0x111111 * i);
}

/// Spokes that meet in the middle: where they blur is the limit of the resolution.
void star(const Drawing &d, double x, double y, double radius) {
    if (!d.shows(y - radius, y + radius))
        return;
    set_colour(d.cairo, black);
    constexpr int spokes = 36;
    for (int i = 0; i < spokes; ++i) {
        const double angle = 2 * std::numbers::pi * i / spokes;
        cairo_move_to(d.cairo, x, y);
        cairo_arc(d.cairo, x, y, radius, angle, angle + std::numbers::pi / spokes);
        cairo_close_path(d.cairo);
    }
    cairo_fill(d.cairo);
}

void circles(const Drawing &d, double x, double y, double radius) {
    if (!d.shows(y - radius, y + radius))
        return;
    set_colour(d.cairo, black);
    cairo_set_line_width(d.cairo, 3);
    for (int i = 0; radius - 40 * i > 20; ++i) {
        cairo_new_sub_path(d.cairo);
        cairo_arc(d.cairo, x, y, radius - 40 * i, 0, 2 * std::numbers::pi);
    }
    cairo_stroke(d.cairo);
}

/// Marks along the edges: an inch, half, quarter and eighth of it.
void rulers(const Drawing &d) {
    for (unsigned i = 0; i * 37.5 < page_height; ++i) {
        const double at = i * 37.5;
        const double length = i % 8 == 0 ? 50 : i % 4 == 0 ? 36 : i % 2 == 0 ? 24 : 14;
        box(d, 0, at, length, 2, black);
        if (at < page_width)
            box(d, at, 0, 2, length, black);
    }
}

void big_mark(const Drawing &d, bool back) {
    if (back)
        text(d, sans, 170, 1020, 2110, "BACK", true);
}

constexpr std::array paragraph = {
    "A scanner reads a sheet line by line while the rollers carry it past",
    "the sensor. Each line is a row of numbers, one for each point and each",
    "colour, and nothing in them knows of letters or pictures. What looks",
    "like an even margin on paper is, to the machine, some hundreds of",
    "numbers that happen to be nearly the same.",
    "",
    "This page stands in for an ordinary letter. Its letters are black, its",
    "paper is white, and its lines run straight, so that a crooked feed, a",
    "wrong threshold or a lost row is seen at once. Read it at a low",
    "resolution to find out how small a print remains legible, and as a",
    "black and white page to judge the threshold.",
    "",
};

} // namespace

void set_colour(cairo_t *cairo, Pixel colour) {
    cairo_set_source_rgb(cairo, (colour >> 16 & 0xFF) / 255.0, (colour >> 8 & 0xFF) / 255.0,
                         (colour & 0xFF) / 255.0);
}

void draw_chart(const Drawing &d, unsigned number, bool back) {
    frame(d);
    rulers(d);
    text(d, sans, 84, margin, 240, title("Test chart", number, back), true);
    colour_patches(d, 330);
    grey_steps(d, 1020);
    line_groups(d, 1360);
    star(d, 650, 2600, 450);
    circles(d, 1850, 2600, 450);
    double y = 3160;
    for (const double size : {60.0, 48.0, 36.0, 28.0, 22.0}) {
        text(d, serif, size, margin, y, "Sharp letters stay legible when they are this small.");
        y += size * 1.25;
    }
    big_mark(d, back);
}

void draw_text_page(const Drawing &d, unsigned number, bool back) {
    text(d, serif, 76, 300, 360, title("A page of text", number, back), true);
    for (std::size_t i = 0; i < 45; ++i)
        text(d, serif, 46, 300, 500 + 62.0 * i, paragraph[i % paragraph.size()]);
    text(d, serif, 40, 1180, page_height - 140, "- " + std::to_string(number) + " -");
}

void draw_ramp(const Drawing &d, unsigned number, bool back) {
    text(d, sans, 84, margin, 240, title("Grey ramp", number, back), true);
    constexpr double top = 330;
    constexpr double bottom = 3360;
    if (!d.shows(top, bottom))
        return;
    cairo_pattern_t *grey = cairo_pattern_create_linear(margin, 0, page_width - margin, 0);
    const double start = back ? 1 : 0;
    cairo_pattern_add_color_stop_rgb(grey, 0, start, start, start);
    cairo_pattern_add_color_stop_rgb(grey, 1, 1 - start, 1 - start, 1 - start);
    cairo_set_source(d.cairo, grey);
    cairo_rectangle(d.cairo, margin, top, page_width - 2 * margin, bottom - top);
    cairo_fill(d.cairo);
    cairo_pattern_destroy(grey);
}

void draw_tape(const Drawing &d, unsigned number, bool back) {
    text(d, sans, 84, margin + 300, 240, title("Long sheet", number, back), true);
    constexpr std::array<Pixel, 6> colours = {0xC03030, 0xC08030, 0x70A030,
                                              0x309090, 0x3050B0, 0x803090};
    const auto inches = static_cast<unsigned>(d.height / 300);
    const auto first = static_cast<unsigned>(std::max(d.top / 300 - 1, 0.0));
    const auto last = std::min(inches, static_cast<unsigned>(std::max(d.bottom / 300 + 1, 0.0)));
    for (unsigned inch = first; inch < last; ++inch) {
        const double y = 300.0 * inch;
        box(d, 0, y, 240, 300, colours[inch % colours.size()]);
        box(d, 0, y, page_width, 4, black);
        text(d, sans, 60, margin + 120, y + 80, std::to_string(inch));
    }
}

void draw_back(const Drawing &d, unsigned number, bool back) {
    text(d, sans, 84, margin, 240, title("Unprinted side", number, back), true);
}

} // namespace varn::engine
