#include "Backends/Wayland/WaylandPicture.h"

#include <cerrno>
#include <cstring>

#include <libyuv/planar_functions.h>
#include <libyuv/rotate_argb.h>
#include <wayland-client.h>

#include "Backends/Streams/PictureScaling.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

void require(int result)
{
    if (result != 0)
        throw PlatformError::posix("Could not convert a picture", ENOMEM);
}

int rowLength(std::size_t bytesPerRow)
{
    return static_cast<int>(bytesPerRow);
}

PixelBuffer turnedOver(const PixelBuffer& picture)
{
    const PixelCanvas result = makeCanvas(picture.width, picture.height);
    // A negative height is upside down to libyuv.
    require(libyuv::ARGBCopy(picture.bytes, rowLength(picture.bytesPerRow), result.bytes,
        rowLength(result.bytesPerRow), picture.width, -picture.height));
    return result;
}

PixelBuffer rotated(const PixelBuffer& picture, libyuv::RotationMode mode)
{
    const bool isQuarter = mode == libyuv::kRotate90 || mode == libyuv::kRotate270;
    const PixelCanvas result
        = makeCanvas(isQuarter ? picture.height : picture.width, isQuarter ? picture.width : picture.height);
    require(libyuv::ARGBRotate(picture.bytes, rowLength(picture.bytesPerRow), result.bytes,
        rowLength(result.bytesPerRow), picture.width, picture.height, mode));
    return result;
}

PixelBuffer mirrored(const PixelBuffer& picture)
{
    const PixelCanvas result = makeCanvas(picture.width, picture.height);
    require(libyuv::ARGBMirror(picture.bytes, rowLength(picture.bytesPerRow), result.bytes,
        rowLength(result.bytesPerRow), picture.width, picture.height));
    return result;
}

// Takes back what the display's transform did to the picture: it turned it counter-clockwise, after flipping
// it about its vertical axis where it is a flipped one.
PixelBuffer upright(PixelBuffer picture, std::int32_t transform)
{
    switch (transform % 4) {
    case WL_OUTPUT_TRANSFORM_90:
        picture = rotated(picture, libyuv::kRotate90);
        break;
    case WL_OUTPUT_TRANSFORM_180:
        picture = rotated(picture, libyuv::kRotate180);
        break;
    case WL_OUTPUT_TRANSFORM_270:
        picture = rotated(picture, libyuv::kRotate270);
        break;
    default:
        break;
    }
    return transform >= WL_OUTPUT_TRANSFORM_FLIPPED ? mirrored(picture) : picture;
}

PixelBuffer scaled(const PixelBuffer& picture, int width, int height)
{
    const PixelCanvas frame = makeCanvas(width, height);
    const PixelCanvas place = frame.part(picture.rect().isEmpty()
            ? PixelRect{}
            : aspectFitRect({picture.width, picture.height}, {width, height}));
    if (place.rect() != frame.rect())
        std::memset(frame.bytes, 0, frame.bytesPerRow * static_cast<std::size_t>(height));
    if (!place.rect().isEmpty())
        scalePixels(picture, place);
    return frame;
}

} // namespace

std::optional<PixelRect> WaylandPictureChange::unchangedPart(int pictureWidth, int pictureHeight) const
{
    const PixelRect whole = {0, 0, pictureWidth, pictureHeight};
    const PixelRect part = crop ? intersection(*crop, whole) : whole;
    const bool isFrame = part.width == width && part.height == height;
    if (!isFrame || transform != WL_OUTPUT_TRANSFORM_NORMAL || isUpsideDown)
        return std::nullopt;
    return part;
}

PixelBuffer changedWaylandPicture(const PixelBuffer& picture, const WaylandPictureChange& change)
{
    PixelBuffer result = inFormat(picture, PixelFormat::xrgb8888);
    if (change.isUpsideDown)
        result = turnedOver(result);
    result = upright(result, change.transform);
    if (change.crop)
        result = result.part(*change.crop);
    if (result.width != change.width || result.height != change.height)
        return scaled(result, change.width, change.height);
    // What is still the compositor's memory has to be left.
    return result.storage ? result : copyOf(result, PixelFormat::xrgb8888);
}

} // namespace glimto
