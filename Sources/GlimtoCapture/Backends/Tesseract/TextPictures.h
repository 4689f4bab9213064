#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "Backends/Tesseract/Leptonica.h"
#include "Backends/Tesseract/TextRows.h"
#include "Platform/PixelBuffer.h"

namespace glimto {

// All pictures have 8 bits a pixel.

// The luma of `pixels`. Pictures of more than `mostPixels` are halved until they are not.
PixHandle grayPicture(const PixelBuffer& pixels, std::size_t mostPixels);

struct TextScreen {
    PixHandle pixels; // black on white, what looks like no letters painted over
    std::vector<TextRow> rows; // in reading order
    std::size_t graphics = 0; // what was taken out: frames, rules, icons
};

// Light text on dark is turned dark on light, faint text is made strong. Absent when there are no surfaces
// that text could stand on: a photograph, a scanned page.
std::optional<TextScreen> textScreen(Pix* picture);

// The picture as it is, but turned light when it is dark on the whole.
PixHandle plainPicture(Pix* picture);

// One row, and white around it, in a size that reads well. Wide white inside of it is made narrower.
PixHandle rowPicture(Pix* pixels, const TextRow& row);

} // namespace glimto
