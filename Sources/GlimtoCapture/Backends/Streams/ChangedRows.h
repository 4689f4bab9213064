#pragma once

#include "Platform/PixelBuffer.h"

namespace glimto {

// The rows of `after` from the first to the last one that differs from `before`, which has the same size.
// Empty when none does; all of them where the formats differ.
//
// For pictures of which all is said to have changed: looking is a third of the cost of encoding a picture
// that is the same.
PixelRect changedRows(const PixelBuffer& before, const PixelBuffer& after);

} // namespace glimto
