#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// One colour of the pixels of a screen: `bits` bits from `shift` upwards.
struct X11ColourChannel {
    int shift = 0;
    int bits = 0; // 1 to 16

    // The only channel that `mask` can mean. Zero bits when it is none: empty, with gaps, or too wide.
    static X11ColourChannel fromMask(std::uint32_t mask);
};

// How the picture of a screen lies in memory, and how it becomes one of 8 bits a channel.
struct X11PixelFormat {
    int bitsPerPixel = 32; // 16 or 32
    int scanlinePad = 32; // bits; rows begin at multiples of it
    X11ColourChannel red{16, 8};
    X11ColourChannel green{8, 8};
    X11ColourChannel blue{0, 8};

    // That of windows of this depth and visual. Throws PlatformError unsupportedVisual when their pixels are
    // not 16 or 32 bits of red, green and blue, least significant byte first; `what` begins its text: "The
    // window".
    static X11PixelFormat of(
        const X11Connection& connection, std::uint8_t depth, xcb_visualid_t visual, const char* what);

    // That of the root window.
    static X11PixelFormat ofRoot(const X11Connection& connection);

    // Whether the bytes are B, G, R, X already.
    bool isPlain() const;

    std::size_t bytesPerPixel() const { return static_cast<std::size_t>(bitsPerPixel) / 8; }
    std::size_t bytesPerRow(int width) const;
};

// Turns rows of a format into bytes B, G, R, X. A channel of fewer or more bits is scaled to 0 to 255,
// rounded to nearest, so that its darkest and brightest values stay so.
class X11PixelConverter {
public:
    explicit X11PixelConverter(const X11PixelFormat& format);

    // `width` pixels from `source` to `target`, which do not overlap.
    void convertRow(const std::uint8_t* source, std::uint8_t* target, int width) const;

private:
    struct Channel {
        int shift = 0;
        std::uint32_t mask = 0; // after the shift
        std::vector<std::uint8_t> values;
    };
    static Channel channel(const X11ColourChannel& colour);

    int bitsPerPixel_;
    std::array<Channel, 3> channels_; // blue, green, red
};

} // namespace glimto
