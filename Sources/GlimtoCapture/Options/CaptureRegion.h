#pragma once

#include "Platform/Geometry.h"

namespace glimto {

// A part of the screen in global display points (origin at the top left of the main display).
using CaptureRegion = Rect;

} // namespace glimto
