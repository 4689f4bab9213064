#pragma once

#include <cstdint>
#include <vector>

#include <xcb/xfixes.h>

#include "Backends/X11/Connection/X11PixelRects.h"
#include "Platform/PixelBuffer.h"

namespace glimto {

// A pointer's picture: pixels 0xAARRGGBB, premultiplied with their alpha, rows from top to bottom.
struct X11CursorImage {
    PixelSize size;
    int hotspotX = 0; // the pixel that points
    int hotspotY = 0;
    std::vector<std::uint32_t> pixels;

    // What it covers of a picture when it points at (x, y) there.
    PixelRect rectAt(int x, int y, PixelSize picture) const;

    // Draws it over a picture, pointing at (x, y). What lies outside the picture is left out.
    void drawAt(int x, int y, const PixelCanvas& picture) const;
};

// The image that a server has answered with; none when it does not have as many pixels as it says.
X11CursorImage x11CursorImage(const xcb_xfixes_get_cursor_image_reply_t& reply);

} // namespace glimto
