#pragma once

#include <vector>

#include "Platform/Geometry.h"

namespace glimto {

// What of a picture is out of date, as few rectangles within it.
class WaylandStaleRects {
public:
    // All of it, to begin with.
    WaylandStaleRects(int width, int height);

    void add(const PixelRect& rect);
    void addAll();
    void clear() { rects_.clear(); }

    // None of them is empty.
    const std::vector<PixelRect>& rects() const { return rects_; }

private:
    PixelRect whole_;
    std::vector<PixelRect> rects_;
};

} // namespace glimto
