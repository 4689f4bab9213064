#pragma once

#include <optional>

#include "Platform/ContentFilter.h"
#include "Platform/Geometry.h"
#include "Platform/ShareableContent.h"

namespace glimto {

// How global display points map to the captured picture.
struct CaptureGeometry {
    Rect globalFrame; // what is captured, in global display points
    double pointScale = 1; // pixels a point, finite and greater than 0
    int capturePixelWidth = 0; // size of the captured picture
    int capturePixelHeight = 0;

    friend bool operator==(const CaptureGeometry&, const CaptureGeometry&) = default;
};

// Pixels a point of a display: the larger of its horizontal and vertical scale. The size in points is
// the frame's where that is greater than 0, else `width` and `height`. Absent when the result is not
// a finite number greater than 0.
std::optional<double> measuredDisplayScale(const Display& display);

// measuredDisplayScale(), or 1.
double displayScale(const Display& display);

// The filter's own scale when it has a usable one, else `displayScale`.
double pixelScale(const ContentFilter& filter, double displayScale);

// `value` pixels as a whole number, rounded half away from zero. Throws CLIError when an int cannot
// hold it.
int wholePixels(double value);

} // namespace glimto
