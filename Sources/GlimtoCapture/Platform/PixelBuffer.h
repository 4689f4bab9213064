#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "Platform/Geometry.h"
#include "Platform/PixelFormat.h"

namespace glimto {

// A picture in memory, rows from top to bottom. Copies of this object share the pixels.
template <typename Byte> struct Pixels {
    int width = 0;
    int height = 0;
    std::size_t bytesPerRow = 0; // at least that of `width` pixels
    Byte* bytes = nullptr; // valid as long as this object, unless `storage` is null: then its owner says
    std::shared_ptr<const void> storage; // keeps `bytes` alive; its release gives the memory back to its pool
    PixelFormat format = PixelFormat::xrgb8888;

    PixelRect rect() const { return {0, 0, width, height}; }

    Byte* pixelAt(int x, int y) const
    {
        return bytes + static_cast<std::size_t>(y) * bytesPerRow
            + static_cast<std::size_t>(x) * layoutOf(format).bytesPerPixel;
    }

    // What `part` covers of it; shares the pixels.
    Pixels part(const PixelRect& part) const
    {
        const PixelRect inside = intersection(part, rect());
        return {inside.width, inside.height, bytesPerRow, pixelAt(inside.x, inside.y), storage, format};
    }

    // The same picture for those who only look at it.
    operator Pixels<const Byte>() const requires(!std::is_const_v<Byte>)
    {
        return {width, height, bytesPerRow, bytes, storage, format};
    }
};

// One that nobody changes any more, and one that its owner may draw into: they differ as a span of const
// bytes and a span of bytes do.
using PixelBuffer = Pixels<const std::uint8_t>;
using PixelCanvas = Pixels<std::uint8_t>;

// Memory for a picture, not cleared. Throws std::bad_alloc.
PixelCanvas makeCanvas(int width, int height, PixelFormat format = PixelFormat::xrgb8888);

// Brings `from` into `to`, which has the same size and does not overlap it. A channel of fewer or more bits
// is scaled and rounded to nearest, so that its darkest and brightest values stay so. What is not colour
// becomes opaque (all ones), unless no pixel changes.
void convertPixels(const PixelBuffer& from, const PixelCanvas& to);

// A copy in `format` that nobody else has, without what lies between the rows. Throws std::bad_alloc.
PixelCanvas copyOf(const PixelBuffer& pixels, PixelFormat format);

// Whether pixels of one format are pixels of the other as they stand.
bool servesAs(PixelFormat format, PixelFormat wanted);

// The picture itself when its pixels serve as they stand, else a copy in `format`. Throws std::bad_alloc.
template <typename Byte> Pixels<Byte> inFormat(const Pixels<Byte>& pixels, PixelFormat format)
{
    return servesAs(pixels.format, format) ? pixels : Pixels<Byte>(copyOf(pixels, format));
}

} // namespace glimto
