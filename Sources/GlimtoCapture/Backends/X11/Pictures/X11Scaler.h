#pragma once

#include "Platform/PixelBuffer.h"

namespace glimto {

// Draws all of `from` into `to`, as large as fits with its aspect ratio kept; what it leaves free is not
// touched. Throws PlatformError when there is no memory for it.
void scaleToFit(const PixelBuffer& from, const PixelCanvas& to);

} // namespace glimto
