#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "Backends/Tesseract/GrayPicture.h"
#include "Backends/Tesseract/Leptonica.h"
#include "Backends/Tesseract/TextRows.h"

namespace glimto {

// A screen, black on white, 8 bits a pixel.
struct TextScreen {
    PixHandle pixels;
    std::vector<TextRow> rows; // in reading order
    std::size_t graphics = 0; // what was taken out: frames, rules, icons
};

// Light text on dark is turned dark on light, faint text is made strong, what looks like no letters is
// painted over. Absent when there are no surfaces that text could stand on: a photograph, a scanned page.
std::optional<TextScreen> textScreen(const GrayPicture& picture);

// The picture as it is, but turned light when it is dark on the whole.
PixHandle plainPicture(const GrayPicture& picture);

// One row, and white around it, in a size that reads well. Wide white inside of it is made narrower.
PixHandle rowPicture(Pix* pixels, const TextRow& row);

} // namespace glimto
