#include "Backends/Wayland/WaylandPictureFormat.h"

#include <wayland-client.h>

namespace glimto {

namespace {

constexpr std::uint32_t longestSide = 32767;
// Rows may be padded, but not without end.
constexpr std::uint32_t mostBytesPerRow = 16 * longestSide;
constexpr std::size_t largestPicture = std::size_t{1} << 30U;

} // namespace

std::optional<PixelFormat> WaylandPictureFormat::pixelFormat() const
{
    // The two that every compositor has were there before the others were numbered as DRM does.
    if (format == WL_SHM_FORMAT_XRGB8888)
        return PixelFormat::xrgb8888;
    if (format == WL_SHM_FORMAT_ARGB8888)
        return PixelFormat::argb8888;
    return pixelFormatOfCode(format);
}

bool WaylandPictureFormat::isUsable() const
{
    const auto pixels = pixelFormat();
    const bool hasSize = width > 0 && height > 0 && width <= longestSide && height <= longestSide;
    return pixels && hasSize && bytesPerRow >= width * layoutOf(*pixels).bytesPerPixel
        && bytesPerRow <= mostBytesPerRow && size() <= largestPicture;
}

} // namespace glimto
