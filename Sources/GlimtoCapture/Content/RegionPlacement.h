#pragma once

#include <span>

#include "Options/CaptureRegion.h"
#include "Platform/Geometry.h"
#include "Platform/ShareableContent.h"

namespace glimto {

// The display that holds all of `region`, both in global display points.
//
// An edge may lie up to 0.001 points outside. Throws CLIError when no display overlaps the region by
// more than 0.001 square points, when it reaches outside the only display that it overlaps, and when
// it spans several without lying inside one.
//
// Example: displays (0,0 1920x1080) and (1920,0 1280x1024), region (1900,10 100x100): throws, because
// the region spans both.
const Display& displayContainingRegion(const CaptureRegion& region, std::span<const Display> displays);

// The first display with the largest common area with `rect`; null when none has any.
const Display* displayContainingLargestIntersection(const Rect& rect, std::span<const Display> displays);

} // namespace glimto
