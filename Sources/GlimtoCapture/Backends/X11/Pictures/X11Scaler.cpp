#include "Backends/X11/Pictures/X11Scaler.h"

#include <cerrno>

#include <libyuv/scale_argb.h>

namespace glimto {

void scaleToFit(const X11Canvas& from, X11Canvas& to)
{
    const PixelRect rect = aspectFitRect(from.size(), to.size());
    std::uint8_t* target = to.bytes() + static_cast<std::size_t>(rect.y) * to.bytesPerRow()
        + 4 * static_cast<std::size_t>(rect.x);
    // The box filter takes every source pixel into account when shrinking and is bilinear otherwise.
    if (libyuv::ARGBScale(from.bytes(), static_cast<int>(from.bytesPerRow()), from.size().width,
            from.size().height, target, static_cast<int>(to.bytesPerRow()), rect.width, rect.height,
            libyuv::kFilterBox)
        != 0)
        throw PlatformError::posix("Could not scale a picture", ENOMEM);
}

} // namespace glimto
