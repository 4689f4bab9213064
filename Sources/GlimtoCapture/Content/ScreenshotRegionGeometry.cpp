#include "Content/ScreenshotRegionGeometry.h"

#include <algorithm>

#include "Content/CaptureGeometry.h"

namespace glimto {

namespace {

// One direction of the crop.
struct Span {
    int start = 0;
    int length = 0;
};

// `pixels` is the size of the captured picture in this direction.
Span cropSpan(double offsetInPoints, double lengthInPoints, double scale, int pixels)
{
    const int length = std::clamp(wholePixels(scale * lengthInPoints), 1, pixels);
    return {std::min(wholePixels(scale * offsetInPoints), pixels - length), length};
}

} // namespace

ScreenshotRegionGeometry::ScreenshotRegionGeometry(const Rect& region, double scale)
    : sourceRect(integral(region))
    , pixelWidth(std::max(wholePixels(scale * sourceRect.width), 1))
    , pixelHeight(std::max(wholePixels(scale * sourceRect.height), 1))
{
    const Span across = cropSpan(region.minX() - sourceRect.minX(), region.width, scale, pixelWidth);
    const Span down = cropSpan(region.minY() - sourceRect.minY(), region.height, scale, pixelHeight);
    pixelCropRect = {across.start, down.start, across.length, down.length};
}

} // namespace glimto
