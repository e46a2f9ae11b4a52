/// The drawings on the test sheets, in three-hundredths of an inch from the sheet's top left.
#pragma once

#include "device/engine/pictures/rows.h"

#include <cairo.h>
#include <string>

namespace varn::engine {

/// A drawing is gone through once for each strip of the page; what lies outside the strip is
/// passed over.
struct Drawing {
    cairo_t *cairo;
    double top; ///< of the strip
    double bottom;
    double height; ///< of the whole sheet

    bool shows(double from, double to) const { return to >= top && from <= bottom; }
};

void set_colour(cairo_t *cairo, Pixel colour);

void draw_chart(const Drawing &drawing, unsigned number, bool back);
void draw_text_page(const Drawing &drawing, unsigned number, bool back);
void draw_ramp(const Drawing &drawing, unsigned number, bool back);
void draw_tape(const Drawing &drawing, unsigned number, bool back);
void draw_back(const Drawing &drawing, unsigned number, bool back);

} // namespace varn::engine
