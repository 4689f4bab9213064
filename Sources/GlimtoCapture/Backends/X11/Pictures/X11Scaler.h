#pragma once

#include "Backends/X11/Pictures/X11Canvas.h"

namespace glimto {

// Draws all of `from` into `to`, as large as fits with its aspect ratio kept; what it leaves free is not
// touched. Throws PlatformError when there is no memory for it.
void scaleToFit(const X11Canvas& from, X11Canvas& to);

} // namespace glimto
