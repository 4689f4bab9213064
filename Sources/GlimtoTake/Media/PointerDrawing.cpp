#include "GlimtoTake/Media/PointerDrawing.h"

#include <array>
#include <cmath>
#include <numbers>
#include <utility>

#include <cairo/cairo.h>

namespace glimto {

namespace {

constexpr double pressedScale = 0.88;
constexpr double smallestRing = 9; // pixels
constexpr double largestRing = 26;

// The arrow's outline, clockwise from its tip.
constexpr std::array<std::pair<double, double>, 7> arrow
    = {{{0, 0}, {15.4, 15.1}, {8.8, 15.7}, {12.4, 23.4}, {9.2, 24.8}, {5.7, 17}, {0, 21.6}}};

} // namespace

void drawPointer(cairo_t* cairo, double x, double y, double scale, bool isPressed)
{
    cairo_save(cairo);
    cairo_translate(cairo, x, y);
    const double size = scale * (isPressed ? pressedScale : 1);
    cairo_scale(cairo, size, size);
    for (const auto& [cornerX, cornerY] : arrow)
        cairo_line_to(cairo, cornerX, cornerY);
    cairo_close_path(cairo);
    // The edge lies half outside of the outline; joins are round, so that the tip stays where it is.
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    cairo_set_source_rgba(cairo, 1, 1, 1, 1);
    cairo_set_line_width(cairo, 2);
    cairo_stroke_preserve(cairo);
    cairo_set_source_rgba(cairo, 0.07, 0.07, 0.09, 1);
    cairo_fill(cairo);
    cairo_restore(cairo);
}

void drawClickRing(cairo_t* cairo, double x, double y, double scale, double age)
{
    const double grown = 1 - (1 - age) * (1 - age);
    const double radius = (smallestRing + (largestRing - smallestRing) * grown) * scale;
    cairo_save(cairo);
    cairo_new_sub_path(cairo);
    cairo_arc(cairo, x, y, radius, 0, 2 * std::numbers::pi);
    cairo_set_line_width(cairo, 4 * scale);
    cairo_set_source_rgba(cairo, 1, 0.72, 0.1, 0.9 * (1 - age));
    cairo_stroke(cairo);
    cairo_restore(cairo);
}

void drawScrollArrow(cairo_t* cairo, double x, double y, double scale, double amount)
{
    cairo_save(cairo);
    cairo_translate(cairo, x, y);
    cairo_scale(cairo, scale, amount > 0 ? -scale : scale);
    const double strength = std::abs(amount);
    // Moves on in the direction of the scrolling while it fades.
    const double at = (amount > 0 ? 10 : 30) + 4 * (1 - strength);
    cairo_move_to(cairo, 1, at - 6);
    cairo_line_to(cairo, 8, at);
    cairo_line_to(cairo, 15, at - 6);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    cairo_set_source_rgba(cairo, 1, 1, 1, 0.9 * strength);
    cairo_set_line_width(cairo, 5);
    cairo_stroke_preserve(cairo);
    cairo_set_source_rgba(cairo, 0.1, 0.1, 0.12, 0.9 * strength);
    cairo_set_line_width(cairo, 2.5);
    cairo_stroke(cairo);
    cairo_restore(cairo);
}

} // namespace glimto
