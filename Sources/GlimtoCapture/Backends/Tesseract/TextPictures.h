#pragma once

#include <functional>

#include "Backends/Tesseract/GrayPicture.h"
#include "Backends/Tesseract/Leptonica.h"

namespace glimto {

// A picture of black text on white, 8 bits a pixel, ready to be recognized.
struct TextPicture {
    PixHandle pixels;
    double scale = 1; // enlarged by this
};

// Gives `consume` the text of a picture of a screen, column by column of each panel in reading order: light
// text on dark is turned dark on light, faint text is made strong, small text is enlarged. What has nothing
// on it is left out. Each picture lives only as long as the call.
void forEachTextPicture(
    const GrayPicture& picture, const std::function<void(const TextPicture& picture)>& consume);

// The top of the picture: enough text to tell its language from.
TextPicture sampleOf(const TextPicture& picture);

} // namespace glimto
