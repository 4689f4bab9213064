#include "Backends/Wayland/WaylandPicture.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

#include <libyuv/convert_argb.h>
#include <libyuv/planar_functions.h>
#include <libyuv/rotate_argb.h>
#include <libyuv/scale_argb.h>

#include "Support/Errors.h"

namespace glimto {

namespace {

// A picture B, G, R, X that is worked on.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;

    Picture(int theWidth, int theHeight)
        : width(theWidth)
        , height(theHeight)
        , bytes(4 * static_cast<std::size_t>(theWidth) * static_cast<std::size_t>(theHeight))
    {
    }
    int bytesPerRow() const { return 4 * width; }
};

void require(int result)
{
    if (result != 0)
        throw PlatformError::posix("Could not convert a picture", ENOMEM);
}

using Conversion = int (*)(const std::uint8_t*, int, std::uint8_t*, int, int, int);

// libyuv names formats by the bytes of a little-endian word too, but not always from the same end.
Conversion conversion(std::uint32_t format)
{
    switch (format) {
    case WL_SHM_FORMAT_XBGR8888:
    case WL_SHM_FORMAT_ABGR8888:
        return libyuv::ABGRToARGB;
    case WL_SHM_FORMAT_RGBX8888:
    case WL_SHM_FORMAT_RGBA8888:
        return libyuv::RGBAToARGB;
    case WL_SHM_FORMAT_BGRX8888:
    case WL_SHM_FORMAT_BGRA8888:
        return libyuv::BGRAToARGB;
    case WL_SHM_FORMAT_XRGB2101010:
    case WL_SHM_FORMAT_ARGB2101010:
        return libyuv::AR30ToARGB;
    case WL_SHM_FORMAT_XBGR2101010:
    case WL_SHM_FORMAT_ABGR2101010:
        return libyuv::AB30ToARGB;
    case WL_SHM_FORMAT_RGB888:
        return libyuv::RGB24ToARGB;
    case WL_SHM_FORMAT_BGR888:
        return libyuv::RAWToARGB;
    case WL_SHM_FORMAT_RGB565:
        return libyuv::RGB565ToARGB;
    default:
        return libyuv::ARGBCopy;
    }
}

// Upside down is a negative height to libyuv.
Picture inUsualFormat(const std::uint8_t* bytes, const WaylandPictureFormat& format, bool isUpsideDown)
{
    Picture result(static_cast<int>(format.width), static_cast<int>(format.height));
    require(conversion(format.format)(bytes, static_cast<int>(format.bytesPerRow), result.bytes.data(),
        result.bytesPerRow(), result.width, isUpsideDown ? -result.height : result.height));
    return result;
}

Picture rotated(const Picture& picture, libyuv::RotationMode mode)
{
    const bool isQuarter = mode == libyuv::kRotate90 || mode == libyuv::kRotate270;
    Picture result(isQuarter ? picture.height : picture.width, isQuarter ? picture.width : picture.height);
    require(libyuv::ARGBRotate(picture.bytes.data(), picture.bytesPerRow(), result.bytes.data(),
        result.bytesPerRow(), picture.width, picture.height, mode));
    return result;
}

Picture mirrored(const Picture& picture)
{
    Picture result(picture.width, picture.height);
    require(libyuv::ARGBMirror(picture.bytes.data(), picture.bytesPerRow(), result.bytes.data(),
        result.bytesPerRow(), picture.width, picture.height));
    return result;
}

// Takes back what the display's transform did to the picture: it turned it counter-clockwise, after flipping
// it about its vertical axis where it is a flipped one.
Picture upright(Picture picture, std::int32_t transform)
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

// The largest rectangle of the picture's shape in the middle of the frame.
PixelRect fitted(const PixelRect& picture, int width, int height)
{
    const double scale
        = std::min(static_cast<double>(width) / picture.width, static_cast<double>(height) / picture.height);
    const int fittedWidth = std::clamp(static_cast<int>(std::lround(picture.width * scale)), 1, width);
    const int fittedHeight = std::clamp(static_cast<int>(std::lround(picture.height * scale)), 1, height);
    return {(width - fittedWidth) / 2, (height - fittedHeight) / 2, fittedWidth, fittedHeight};
}

std::shared_ptr<const PixelBuffer> shared(Picture&& picture)
{
    const auto storage = std::make_shared<Picture>(std::move(picture));
    return std::make_shared<const PixelBuffer>(PixelBuffer{.width = storage->width,
        .height = storage->height,
        .bytesPerRow = static_cast<std::size_t>(storage->bytesPerRow()),
        .bytes = storage->bytes.data(),
        .storage = storage});
}

} // namespace

std::optional<PixelRect> WaylandPictureChange::unchangedPart(const WaylandPictureFormat& format) const
{
    const PixelRect whole = {0, 0, static_cast<int>(format.width), static_cast<int>(format.height)};
    const PixelRect part = crop ? intersection(*crop, whole) : whole;
    const bool isPart = part.width == width && part.height == height;
    if (!isPart || transform != WL_OUTPUT_TRANSFORM_NORMAL || isUpsideDown || !format.isBGRX())
        return std::nullopt;
    return part;
}

std::shared_ptr<const PixelBuffer> changedWaylandPicture(
    const std::uint8_t* bytes, const WaylandPictureFormat& format, const WaylandPictureChange& change)
{
    Picture picture = upright(inUsualFormat(bytes, format, change.isUpsideDown), change.transform);
    const PixelRect whole = {0, 0, picture.width, picture.height};
    const PixelRect part = change.crop ? intersection(*change.crop, whole) : whole;
    if (part == whole && picture.width == change.width && picture.height == change.height)
        return shared(std::move(picture));

    Picture frame(change.width, change.height);
    if (!part.isEmpty()) {
        const PixelRect place = fitted(part, change.width, change.height);
        const std::uint8_t* source = picture.bytes.data()
            + static_cast<std::size_t>(part.y) * static_cast<std::size_t>(picture.bytesPerRow())
            + 4 * static_cast<std::size_t>(part.x);
        std::uint8_t* target = frame.bytes.data()
            + static_cast<std::size_t>(place.y) * static_cast<std::size_t>(frame.bytesPerRow())
            + 4 * static_cast<std::size_t>(place.x);
        // The box filter takes every source pixel into account when shrinking and is bilinear otherwise.
        require(libyuv::ARGBScale(source, picture.bytesPerRow(), part.width, part.height, target,
            frame.bytesPerRow(), place.width, place.height, libyuv::kFilterBox));
    }
    return shared(std::move(frame));
}

} // namespace glimto
