#include "Platform/Geometry.h"

#include <algorithm>
#include <cmath>

namespace glimto {

bool Rect::isFinite() const
{
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(width) && std::isfinite(height);
}

bool Rect::contains(Point point) const
{
    return point.x >= minX() && point.x < maxX() && point.y >= minY() && point.y < maxY();
}

Rect intersection(const Rect& a, const Rect& b)
{
    const double left = std::max(a.minX(), b.minX());
    const double top = std::max(a.minY(), b.minY());
    const double right = std::min(a.maxX(), b.maxX());
    const double bottom = std::min(a.maxY(), b.maxY());
    if (!(right > left && bottom > top))
        return {};
    return {left, top, right - left, bottom - top};
}

Rect integral(const Rect& rect)
{
    const double left = std::floor(rect.minX());
    const double top = std::floor(rect.minY());
    return {left, top, std::ceil(rect.maxX()) - left, std::ceil(rect.maxY()) - top};
}

PixelRect intersection(const PixelRect& a, const PixelRect& b)
{
    const int left = std::max(a.x, b.x);
    const int top = std::max(a.y, b.y);
    const int right = std::min(a.x + a.width, b.x + b.width);
    const int bottom = std::min(a.y + a.height, b.y + b.height);
    if (right <= left || bottom <= top)
        return {};
    return {left, top, right - left, bottom - top};
}

PixelRect boundingRect(const PixelRect& a, const PixelRect& b)
{
    if (a.isEmpty())
        return b;
    if (b.isEmpty())
        return a;
    const int left = std::min(a.x, b.x);
    const int top = std::min(a.y, b.y);
    const int right = std::max(a.x + a.width, b.x + b.width);
    const int bottom = std::max(a.y + a.height, b.y + b.height);
    return {left, top, right - left, bottom - top};
}

} // namespace glimto
