#include "Backends/X11/Connection/X11PixelRects.h"

#include <algorithm>
#include <cmath>

namespace glimto {

std::vector<PixelRect> coalesced(std::vector<PixelRect> rects, std::size_t most)
{
    if (rects.size() <= most)
        return rects;
    PixelRect bounds;
    for (const PixelRect& rect : rects)
        bounds = boundingRect(bounds, rect);
    const int tiles = std::max(1, static_cast<int>(std::sqrt(static_cast<double>(most))));
    const int tileWidth = (bounds.width + tiles - 1) / tiles;
    const int tileHeight = (bounds.height + tiles - 1) / tiles;
    std::vector<PixelRect> boxes;
    for (int y = bounds.y; y < bounds.y + bounds.height; y += tileHeight) {
        for (int x = bounds.x; x < bounds.x + bounds.width; x += tileWidth) {
            PixelRect box;
            for (const PixelRect& rect : rects)
                box = boundingRect(box, intersection(rect, {x, y, tileWidth, tileHeight}));
            if (!box.isEmpty())
                boxes.push_back(box);
        }
    }
    return boxes;
}

int clampedOrigin(int origin, int length, int limit)
{
    return std::max(0, std::min(origin, limit - length));
}

} // namespace glimto
