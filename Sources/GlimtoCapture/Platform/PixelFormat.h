#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace glimto {

constexpr std::uint32_t fourCharacterCode(char a, char b, char c, char d)
{
    const auto byte = [](char character) { return std::uint32_t{static_cast<unsigned char>(character)}; };
    return byte(a) | byte(b) << 8U | byte(c) << 16U | byte(d) << 24U;
}

// How one pixel lies in memory: a word of 16, 24 or 32 bits, least significant byte first, whose parts are
// named from the most significant bits to the least. Names and numbers are those of DRM (drm_fourcc.h). So
// xrgb8888 is the bytes B, G, R, X. X is undefined; what is captured is opaque, so A is not looked at.
enum class PixelFormat : std::uint32_t {
    xrgb8888 = fourCharacterCode('X', 'R', '2', '4'), // the usual one
    argb8888 = fourCharacterCode('A', 'R', '2', '4'),
    xbgr8888 = fourCharacterCode('X', 'B', '2', '4'),
    abgr8888 = fourCharacterCode('A', 'B', '2', '4'),
    rgbx8888 = fourCharacterCode('R', 'X', '2', '4'),
    rgba8888 = fourCharacterCode('R', 'A', '2', '4'),
    bgrx8888 = fourCharacterCode('B', 'X', '2', '4'),
    bgra8888 = fourCharacterCode('B', 'A', '2', '4'),
    rgb888 = fourCharacterCode('R', 'G', '2', '4'),
    bgr888 = fourCharacterCode('B', 'G', '2', '4'),
    xrgb2101010 = fourCharacterCode('X', 'R', '3', '0'),
    argb2101010 = fourCharacterCode('A', 'R', '3', '0'),
    xbgr2101010 = fourCharacterCode('X', 'B', '3', '0'),
    abgr2101010 = fourCharacterCode('A', 'B', '3', '0'),
    rgb565 = fourCharacterCode('R', 'G', '1', '6'),
    bgr565 = fourCharacterCode('B', 'G', '1', '6'),
    xrgb1555 = fourCharacterCode('X', 'R', '1', '5'),
    xbgr1555 = fourCharacterCode('X', 'B', '1', '5'),
};

// The bits of one colour in a pixel's word.
struct PixelChannel {
    unsigned shift = 0;
    unsigned bits = 0; // 5 to 10

    constexpr std::uint32_t mask() const { return ((1U << bits) - 1U) << shift; }
    friend bool operator==(const PixelChannel&, const PixelChannel&) = default;
};

struct PixelLayout {
    std::size_t bytesPerPixel = 0;
    PixelChannel red;
    PixelChannel green;
    PixelChannel blue;

    friend bool operator==(const PixelLayout&, const PixelLayout&) = default;
};

// All there are.
std::span<const PixelFormat> pixelFormats();

// What X and A have in common is the same layout.
PixelLayout layoutOf(PixelFormat format);

// Whether pixels have an A that others may look at.
bool hasAlpha(PixelFormat format);

// The format with that number, if it is one of these.
std::optional<PixelFormat> pixelFormatOfCode(std::uint32_t fourCharacterCode);

// The format without A whose colours lie where these masks of a word say, if it is one of these.
std::optional<PixelFormat> pixelFormatOfMasks(
    std::size_t bytesPerPixel, std::uint32_t red, std::uint32_t green, std::uint32_t blue);

} // namespace glimto
