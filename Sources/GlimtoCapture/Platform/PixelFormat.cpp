#include "Platform/PixelFormat.h"

#include <algorithm>
#include <array>

namespace glimto {

namespace {

constexpr std::array formats = {PixelFormat::xrgb8888, PixelFormat::argb8888, PixelFormat::xbgr8888,
    PixelFormat::abgr8888, PixelFormat::rgbx8888, PixelFormat::rgba8888, PixelFormat::bgrx8888,
    PixelFormat::bgra8888, PixelFormat::rgb888, PixelFormat::bgr888, PixelFormat::xrgb2101010,
    PixelFormat::argb2101010, PixelFormat::xbgr2101010, PixelFormat::abgr2101010, PixelFormat::rgb565,
    PixelFormat::bgr565, PixelFormat::xrgb1555, PixelFormat::xbgr1555};

// The same with red and blue exchanged.
constexpr PixelLayout mirrored(const PixelLayout& layout)
{
    return {layout.bytesPerPixel, layout.blue, layout.green, layout.red};
}

constexpr PixelLayout rgb32 = {4, {16, 8}, {8, 8}, {0, 8}};
constexpr PixelLayout rgbWithX = {4, {24, 8}, {16, 8}, {8, 8}};
constexpr PixelLayout rgb24 = {3, {16, 8}, {8, 8}, {0, 8}};
constexpr PixelLayout rgb30 = {4, {20, 10}, {10, 10}, {0, 10}};
constexpr PixelLayout rgb16 = {2, {11, 5}, {5, 6}, {0, 5}};
constexpr PixelLayout rgb15 = {2, {10, 5}, {5, 5}, {0, 5}};

} // namespace

std::span<const PixelFormat> pixelFormats()
{
    return formats;
}

PixelLayout layoutOf(PixelFormat format)
{
    switch (format) {
    case PixelFormat::xrgb8888:
    case PixelFormat::argb8888:
        break;
    case PixelFormat::xbgr8888:
    case PixelFormat::abgr8888:
        return mirrored(rgb32);
    case PixelFormat::rgbx8888:
    case PixelFormat::rgba8888:
        return rgbWithX;
    case PixelFormat::bgrx8888:
    case PixelFormat::bgra8888:
        return mirrored(rgbWithX);
    case PixelFormat::rgb888:
        return rgb24;
    case PixelFormat::bgr888:
        return mirrored(rgb24);
    case PixelFormat::xrgb2101010:
    case PixelFormat::argb2101010:
        return rgb30;
    case PixelFormat::xbgr2101010:
    case PixelFormat::abgr2101010:
        return mirrored(rgb30);
    case PixelFormat::rgb565:
        return rgb16;
    case PixelFormat::bgr565:
        return mirrored(rgb16);
    case PixelFormat::xrgb1555:
        return rgb15;
    case PixelFormat::xbgr1555:
        return mirrored(rgb15);
    }
    return rgb32;
}

bool hasAlpha(PixelFormat format)
{
    switch (format) {
    case PixelFormat::argb8888:
    case PixelFormat::abgr8888:
    case PixelFormat::rgba8888:
    case PixelFormat::bgra8888:
    case PixelFormat::argb2101010:
    case PixelFormat::abgr2101010:
        return true;
    default:
        return false;
    }
}

std::optional<PixelFormat> pixelFormatOfCode(std::uint32_t fourCharacterCode)
{
    const auto format = static_cast<PixelFormat>(fourCharacterCode);
    return std::ranges::count(formats, format) > 0 ? std::optional(format) : std::nullopt;
}

std::optional<PixelFormat> pixelFormatOfMasks(
    std::size_t bytesPerPixel, std::uint32_t red, std::uint32_t green, std::uint32_t blue)
{
    for (const PixelFormat format : formats) {
        const PixelLayout layout = layoutOf(format);
        if (!hasAlpha(format) && layout.bytesPerPixel == bytesPerPixel && layout.red.mask() == red
            && layout.green.mask() == green && layout.blue.mask() == blue)
            return format;
    }
    return std::nullopt;
}

} // namespace glimto
