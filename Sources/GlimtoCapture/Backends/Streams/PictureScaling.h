#pragma once

#include "Platform/PixelBuffer.h"

namespace glimto {

struct PixelSize {
    int width = 0;
    int height = 0;

    bool isEmpty() const { return width <= 0 || height <= 0; }
    friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

inline PixelRect wholeOf(PixelSize size)
{
    return {0, 0, size.width, size.height};
}

// Where content of one size stands in a picture of another: as large as fits with its aspect ratio
// kept, centred, at least one pixel. Neither size may be empty.
//
// Example: 200x100 in 100x100 stands at (0, 25) with 100x50.
PixelRect aspectFitRect(PixelSize content, PixelSize picture);

// Draws all of `from` over all of `to`, neither of them empty. Both have four bytes a pixel, which are taken
// as they come. Throws PlatformError when there is no memory for it.
void scalePixels(const PixelBuffer& from, const PixelCanvas& to);

} // namespace glimto
