#pragma once

#include <cstddef>
#include <vector>

#include "Backends/Streams/PictureScaling.h"

namespace glimto {

// At most `most` rectangles that together cover all of `rects`, and the very same ones when they are few
// enough. Else their bounds are divided into tiles, with one box for what lies in each.
std::vector<PixelRect> coalesced(std::vector<PixelRect> rects, std::size_t most);

// An origin for a piece of `length` inside 0 to `limit`: moved in where it would stick out, 0 when the
// piece is too long.
int clampedOrigin(int origin, int length, int limit);

} // namespace glimto
