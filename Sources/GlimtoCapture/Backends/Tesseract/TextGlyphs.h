#pragma once

#include <vector>

#include "Platform/Geometry.h"

struct Pix;

namespace glimto {

// What looks like letters in a picture of black on white.
struct TextGlyphs {
    std::vector<PixelRect> bounds; // of letters, parts of letters, and signs
    int letterHeight = 0; // pixels; the middle one, between the heights of small and capital letters
    std::vector<PixelRect> rules; // upright ones, from top to bottom of what they part
    std::size_t graphics = 0; // frames, rules, pictures and icons that were taken out
};

// Finds letters in `pixels` (8 bits a pixel) and paints over rules, underlines, frames, icons and pictures,
// so that nothing else is left.
TextGlyphs takeGlyphs(Pix* pixels);

} // namespace glimto
