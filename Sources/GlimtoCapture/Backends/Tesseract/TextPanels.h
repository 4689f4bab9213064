#pragma once

#include <cstdint>
#include <vector>

#include "Backends/Tesseract/FlatZones.h"

namespace glimto {

// Parts of a picture whose text belongs together: a bar, a list at the side, a page.
struct TextPanels {
    // In reading order: from top to bottom, from left to right where they stand side by side.
    std::vector<PixelRect> bounds;
    std::vector<std::int32_t> panelOfPixel; // index into `bounds`
};

// Every surface that is large enough for a panel is one; buttons, marked words and the like belong to the
// panel that they stand on. A picture with more than `mostPanels` of them is taken as one panel.
TextPanels findTextPanels(const GrayPicture& picture, const FlatZones& zones, std::size_t mostPanels);

// The order in which panels with these bounds are read.
std::vector<std::size_t> readingOrder(const std::vector<PixelRect>& bounds);

} // namespace glimto
