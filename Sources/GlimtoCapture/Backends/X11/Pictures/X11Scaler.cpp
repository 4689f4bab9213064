#include "Backends/X11/Pictures/X11Scaler.h"

#include <cerrno>

#include <libyuv/scale_argb.h>

#include "Backends/X11/Connection/X11PixelRects.h"
#include "Support/Errors.h"

namespace glimto {

void scaleToFit(const PixelBuffer& from, const PixelCanvas& to)
{
    const PixelCanvas target = to.part(aspectFitRect({from.width, from.height}, {to.width, to.height}));
    const PixelBuffer source = inFormat(from, PixelFormat::xrgb8888);
    const bool isPlain = servesAs(to.format, PixelFormat::xrgb8888);
    const PixelCanvas scaled = isPlain ? target : makeCanvas(target.width, target.height);
    // The box filter takes every source pixel into account when shrinking and is bilinear otherwise.
    if (libyuv::ARGBScale(source.bytes, static_cast<int>(source.bytesPerRow), source.width, source.height,
            scaled.bytes, static_cast<int>(scaled.bytesPerRow), scaled.width, scaled.height,
            libyuv::kFilterBox)
        != 0)
        throw PlatformError::posix("Could not scale a picture", ENOMEM);
    if (!isPlain)
        convertPixels(scaled, target);
}

} // namespace glimto
