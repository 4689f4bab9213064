#pragma once

#include "Platform/Geometry.h"

struct Pix;

namespace glimto {

// Whether `area` of `ink` (1 bit a pixel), which holds black up to its left and right edge, looks like a
// column of prose: several lines, wide enough for some words each, most of them reaching far to the right,
// and their words not standing below each other as the fields of a table or a log do.
bool isRunningText(Pix* ink, const PixelRect& area, int letterHeight);

// Whether the lines of two areas side by side continue each other, as those of a table do. True when that
// cannot be told.
bool linesContinue(Pix* ink, const PixelRect& left, const PixelRect& right, int letterHeight);

} // namespace glimto
