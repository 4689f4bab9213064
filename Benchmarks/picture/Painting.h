#pragma once

#include <string>

#include "picture/Canvas.h"

namespace glimto {

// Like a sharp photo: shaded leaves of all sizes that cover each other, which has the edges and the spectrum
// of one.
Canvas paintedPhoto(int width, int height, std::uint32_t seed);

// One without edges, as out of focus.
Canvas paintedSoftPhoto(int width, int height, std::uint32_t seed);

// The part of `source` around (centerX, centerY) as large as the target's rectangle over `zoom`, turned by
// `angle` (radians), between pixels by their weights. It does not reach outside `source`: that is mirrored.
void drawView(Canvas& target, const PixelRect& rect, const Canvas& source, double centerX, double centerY,
    double zoom, double angle = 0);

void fill(Canvas& target, const PixelRect& rect, std::uint32_t color);

// Copies the part of `source` that begins at (sourceX, sourceY); what lies outside of either is left out.
void copy(Canvas& target, const PixelRect& rect, const Canvas& source, int sourceX, int sourceY);

struct TextLook {
    std::string font = "DejaVu Sans";
    double size = 14; // pixels
    std::uint32_t color = 0x202020;
    bool isBold = false;
};

// Draws one line with its baseline at `y`.
void drawText(Canvas& target, double x, double y, const std::string& text, const TextLook& look);

// Words that make no sense, up to `length` characters.
std::string someWords(Dice& dice, int length);

} // namespace glimto
