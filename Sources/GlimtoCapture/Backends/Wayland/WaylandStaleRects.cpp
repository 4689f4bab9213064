#include "Backends/Wayland/WaylandStaleRects.h"

#include <algorithm>
#include <cstddef>

namespace glimto {

namespace {

// More rectangles than these are not worth telling apart.
constexpr std::size_t mostStaleRects = 64;

} // namespace

WaylandStaleRects::WaylandStaleRects(int width, int height)
    : whole_{0, 0, width, height}
{
    addAll();
}

void WaylandStaleRects::add(const PixelRect& rect)
{
    const PixelRect inside = intersection(rect, whole_);
    const bool isKnown = std::any_of(rects_.begin(), rects_.end(),
        [&](const PixelRect& known) { return intersection(inside, known) == inside; });
    if (inside.isEmpty() || isKnown)
        return;
    if (rects_.size() < mostStaleRects)
        rects_.push_back(inside);
    else
        addAll();
}

void WaylandStaleRects::addAll()
{
    rects_ = {whole_};
}

} // namespace glimto
