#include "Backends/Streams/PictureScaling.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include <libyuv/scale_argb.h>

#include "Support/Errors.h"

namespace glimto {

namespace {

// value * numerator / denominator, rounded half up; all positive.
int scaled(int value, int numerator, int denominator)
{
    const std::int64_t product = static_cast<std::int64_t>(value) * numerator;
    return static_cast<int>((2 * product + denominator) / (2 * static_cast<std::int64_t>(denominator)));
}

} // namespace

PixelRect aspectFitRect(PixelSize content, PixelSize picture)
{
    const bool widthDecides = static_cast<std::int64_t>(content.width) * picture.height
        >= static_cast<std::int64_t>(content.height) * picture.width;
    const int width
        = widthDecides ? picture.width : std::max(1, scaled(content.width, picture.height, content.height));
    const int height
        = widthDecides ? std::max(1, scaled(content.height, picture.width, content.width)) : picture.height;
    return {(picture.width - width) / 2, (picture.height - height) / 2, width, height};
}

void scalePixels(const PixelBuffer& from, const PixelCanvas& to)
{
    // The box filter takes every source pixel into account when shrinking and is bilinear otherwise.
    if (libyuv::ARGBScale(from.bytes, static_cast<int>(from.bytesPerRow), from.width, from.height, to.bytes,
            static_cast<int>(to.bytesPerRow), to.width, to.height, libyuv::kFilterBox)
        != 0)
        throw PlatformError::posix("Could not scale a picture", ENOMEM);
}

} // namespace glimto
