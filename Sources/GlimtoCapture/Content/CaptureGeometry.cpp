#include "Content/CaptureGeometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Support/Errors.h"

namespace glimto {

namespace {

bool isUsableScale(double scale)
{
    return std::isfinite(scale) && scale > 0;
}

double pixelsPerPoint(int pixels, double points)
{
    return points > 0 ? pixels / points : 0;
}

} // namespace

std::optional<double> measuredDisplayScale(const Display& display)
{
    const double pointWidth = display.frame.width > 0 ? display.frame.width : display.width;
    const double pointHeight = display.frame.height > 0 ? display.frame.height : display.height;
    const double scale = std::max(
        pixelsPerPoint(display.pixelsWide, pointWidth), pixelsPerPoint(display.pixelsHigh, pointHeight));
    return isUsableScale(scale) ? std::optional(scale) : std::nullopt;
}

double displayScale(const Display& display)
{
    return measuredDisplayScale(display).value_or(1.0);
}

double pixelScale(const ContentFilter& filter, double displayScale)
{
    if (filter.pointPixelScale && isUsableScale(*filter.pointPixelScale))
        return *filter.pointPixelScale;
    return displayScale;
}

int wholePixels(double value)
{
    const double rounded = std::round(value);
    if (!(rounded >= std::numeric_limits<int>::min() && rounded <= std::numeric_limits<int>::max()))
        throw CLIError("The capture source is too large.");
    return static_cast<int>(rounded);
}

} // namespace glimto
