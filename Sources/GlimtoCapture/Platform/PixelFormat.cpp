#include "Platform/PixelFormat.h"

#include <algorithm>
#include <array>

namespace glimto {

namespace {

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

struct KnownFormat {
    PixelFormat format;
    PixelLayout layout;
    bool hasAlpha = false;
};

constexpr std::array<KnownFormat, 18> known = {{
    {PixelFormat::xrgb8888, rgb32},
    {PixelFormat::argb8888, rgb32, true},
    {PixelFormat::xbgr8888, mirrored(rgb32)},
    {PixelFormat::abgr8888, mirrored(rgb32), true},
    {PixelFormat::rgbx8888, rgbWithX},
    {PixelFormat::rgba8888, rgbWithX, true},
    {PixelFormat::bgrx8888, mirrored(rgbWithX)},
    {PixelFormat::bgra8888, mirrored(rgbWithX), true},
    {PixelFormat::rgb888, rgb24},
    {PixelFormat::bgr888, mirrored(rgb24)},
    {PixelFormat::xrgb2101010, rgb30},
    {PixelFormat::argb2101010, rgb30, true},
    {PixelFormat::xbgr2101010, mirrored(rgb30)},
    {PixelFormat::abgr2101010, mirrored(rgb30), true},
    {PixelFormat::rgb565, rgb16},
    {PixelFormat::bgr565, mirrored(rgb16)},
    {PixelFormat::xrgb1555, rgb15},
    {PixelFormat::xbgr1555, mirrored(rgb15)},
}};

constexpr auto formats = [] {
    std::array<PixelFormat, known.size()> result = {};
    std::ranges::transform(known, result.begin(), &KnownFormat::format);
    return result;
}();

// The usual one comes first, so that looking for it costs nothing.
const KnownFormat& entryOf(PixelFormat format)
{
    const auto found = std::ranges::find(known, format, &KnownFormat::format);
    return found == known.end() ? known.front() : *found;
}

} // namespace

std::span<const PixelFormat> pixelFormats()
{
    return formats;
}

PixelLayout layoutOf(PixelFormat format)
{
    return entryOf(format).layout;
}

bool hasAlpha(PixelFormat format)
{
    return entryOf(format).hasAlpha;
}

std::optional<PixelFormat> pixelFormatOfCode(std::uint32_t fourCharacterCode)
{
    const auto format = static_cast<PixelFormat>(fourCharacterCode);
    return std::ranges::count(formats, format) > 0 ? std::optional(format) : std::nullopt;
}

std::optional<PixelFormat> pixelFormatOfMasks(
    std::size_t bytesPerPixel, std::uint32_t red, std::uint32_t green, std::uint32_t blue)
{
    for (const auto& [format, layout, hasAlpha] : known) {
        if (!hasAlpha && layout.bytesPerPixel == bytesPerPixel && layout.red.mask() == red
            && layout.green.mask() == green && layout.blue.mask() == blue)
            return format;
    }
    return std::nullopt;
}

} // namespace glimto
