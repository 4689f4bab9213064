#include "Backends/X11/Connection/X11Regions.h"

#include <cstdint>

namespace glimto {

xcb_rectangle_t xcbRectangle(const PixelRect& rect)
{
    return {static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y),
        static_cast<std::uint16_t>(rect.width), static_cast<std::uint16_t>(rect.height)};
}

std::vector<PixelRect> pixelRects(const xcb_xfixes_fetch_region_reply_t* reply)
{
    std::vector<PixelRect> rects;
    if (!reply)
        return rects;
    const xcb_rectangle_t* first = xcb_xfixes_fetch_region_rectangles(reply);
    const int count = xcb_xfixes_fetch_region_rectangles_length(reply);
    rects.reserve(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index)
        rects.push_back({first[index].x, first[index].y, first[index].width, first[index].height});
    return rects;
}

} // namespace glimto
