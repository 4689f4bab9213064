#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11PixelRects.h"
#include "Platform/PixelBuffer.h"

namespace glimto {

// How pictures of a window or the screen lie in memory.
struct X11PixelFormat {
    PixelFormat format = PixelFormat::xrgb8888;
    int scanlinePad = 32; // bits; rows begin at multiples of it

    // That of windows of this depth and visual. Throws PlatformError unsupportedVisual when their pixels are
    // in no format that is known; `what` begins its text: "The window".
    static X11PixelFormat of(
        const X11Connection& connection, std::uint8_t depth, xcb_visualid_t visual, const char* what);

    // That of the root window.
    static X11PixelFormat ofRoot(const X11Connection& connection);

    std::size_t bytesPerRow(int width) const;
    std::size_t byteCount(PixelSize size) const;

    // The picture that lies at `bytes`, which `storage` keeps.
    PixelCanvas pixels(std::uint8_t* bytes, PixelSize size, std::shared_ptr<const void> storage) const;
};

// A part of a drawable whose pixels have that format; nothing when the server gives no such picture.
std::optional<PixelCanvas> readX11Image(
    X11Connection& connection, xcb_drawable_t drawable, const PixelRect& part, const X11PixelFormat& format);

} // namespace glimto
