#include "Backends/Wayland/WaylandPictureFormat.h"

#include <wayland-client.h>

namespace glimto {

namespace {

constexpr std::uint32_t longestSide = 32767;
// As many as 16 bytes a pixel: rows may be padded, but not without end.
constexpr std::uint32_t mostBytesPerRow = 16 * longestSide;
constexpr std::size_t largestPicture = std::size_t{1} << 30U;

} // namespace

std::uint32_t waylandBytesPerPixel(std::uint32_t format)
{
    switch (format) {
    case WL_SHM_FORMAT_XRGB8888:
    case WL_SHM_FORMAT_ARGB8888:
    case WL_SHM_FORMAT_XBGR8888:
    case WL_SHM_FORMAT_ABGR8888:
    case WL_SHM_FORMAT_RGBX8888:
    case WL_SHM_FORMAT_RGBA8888:
    case WL_SHM_FORMAT_BGRX8888:
    case WL_SHM_FORMAT_BGRA8888:
    case WL_SHM_FORMAT_XRGB2101010:
    case WL_SHM_FORMAT_ARGB2101010:
    case WL_SHM_FORMAT_XBGR2101010:
    case WL_SHM_FORMAT_ABGR2101010:
        return 4;
    case WL_SHM_FORMAT_RGB888:
    case WL_SHM_FORMAT_BGR888:
        return 3;
    case WL_SHM_FORMAT_RGB565:
        return 2;
    default:
        return 0;
    }
}

bool WaylandPictureFormat::isUsable() const
{
    const std::uint32_t bytesPerPixel = waylandBytesPerPixel(format);
    const bool hasSize = width > 0 && height > 0 && width <= longestSide && height <= longestSide;
    return bytesPerPixel > 0 && hasSize && bytesPerRow >= width * bytesPerPixel
        && bytesPerRow <= mostBytesPerRow && size() <= largestPicture;
}

bool WaylandPictureFormat::isBGRX() const
{
    return format == WL_SHM_FORMAT_XRGB8888 || format == WL_SHM_FORMAT_ARGB8888;
}

} // namespace glimto
