#pragma once

#include <vector>

#include <xcb/xfixes.h>

#include "Backends/X11/Connection/X11PixelRects.h"

namespace glimto {

xcb_rectangle_t xcbRectangle(const PixelRect& rect);

// The rectangles of a region that the server was asked for. An empty list when there is no answer.
std::vector<PixelRect> pixelRects(const xcb_xfixes_fetch_region_reply_t* reply);

} // namespace glimto
