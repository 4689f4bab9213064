#pragma once

#include "Platform/Geometry.h"

namespace glimto {

// A part of the screen in global display points (origin at the top left of the main display).
struct CaptureRegion {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    Rect rect() const { return {x, y, width, height}; }
    friend bool operator==(const CaptureRegion&, const CaptureRegion&) = default;
};

} // namespace glimto
