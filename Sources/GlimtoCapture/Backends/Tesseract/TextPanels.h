#pragma once

#include <cstddef>
#include <vector>

#include "Backends/Tesseract/FlatZones.h"

namespace glimto {

// The words of a screen by the parts of it that belong together, a bar, a list at the side, a page, in
// reading order: from top to bottom, from left to right where they stand side by side.
//
// Every surface that is large enough for a panel is one, unless it stands on another one that has no words
// beside it; buttons, marked words and the like belong to the panel that they stand on.
std::vector<std::vector<PixelRect>> wordsByPanel(
    const FlatZones& zones, const std::vector<PixelRect>& words, int letterHeight);

// The order in which panels with these bounds are read.
std::vector<std::size_t> readingOrder(const std::vector<PixelRect>& bounds);

} // namespace glimto
