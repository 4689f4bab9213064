#pragma once

#include <cstddef>
#include <vector>

#include "Platform/Geometry.h"

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

// The smallest rectangle that contains both; an empty one counts as nothing.
PixelRect boundingRect(const PixelRect& a, const PixelRect& b);

// At most `most` rectangles that together cover all of `rects`, and the very same ones when they are few
// enough. Else their bounds are divided into tiles, with one box for what lies in each.
std::vector<PixelRect> coalesced(std::vector<PixelRect> rects, std::size_t most);

// Where content of one size stands in a picture of another: as large as fits with its aspect ratio
// kept, centred, at least one pixel. Neither size may be empty.
//
// Example: 200x100 in 100x100 stands at (0, 25) with 100x50.
PixelRect aspectFitRect(PixelSize content, PixelSize picture);

// An origin for a piece of `length` inside 0 to `limit`: moved in where it would stick out, 0 when the
// piece is too long.
int clampedOrigin(int origin, int length, int limit);

} // namespace glimto
