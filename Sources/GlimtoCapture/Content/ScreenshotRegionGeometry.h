#pragma once

#include "Platform/Geometry.h"

namespace glimto {

// How a part of a display becomes a still picture: whole points are captured, and the exact region is
// cut out of the captured picture.
//
// Example: region (0.6, 0.6, 10.3 x 10.3) at scale 2: captured is (0, 0, 11 x 11) as 22 x 22 pixels, of
// which (1, 1, 21 x 21) is kept.
struct ScreenshotRegionGeometry {
    Rect sourceRect; // `region` expanded to whole points, in points from the display's top left
    int pixelWidth = 0; // of the captured picture, at least 1
    int pixelHeight = 0;
    PixelRect pixelCropRect; // the region within the captured picture; never empty, never outside

    // `region` in points from the display's top left, `scale` in pixels a point. Throws CLIError when
    // an int cannot hold a size in pixels.
    ScreenshotRegionGeometry(const Rect& region, double scale);
};

} // namespace glimto
