#pragma once

namespace glimto {

// A position in global display points: origin at the top left of the main display, y downwards.
struct Point {
    double x = 0;
    double y = 0;

    friend bool operator==(const Point&, const Point&) = default;
};

// A rectangle in points. The left and top edges belong to it, the right and bottom do not.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double minY() const { return y; }
    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    bool isEmpty() const { return !(width > 0 && height > 0); }
    bool isFinite() const;
    bool contains(Point point) const;
    double area() const { return isEmpty() ? 0 : width * height; }

    friend bool operator==(const Rect&, const Rect&) = default;
};

// The common part of both; an empty rectangle when there is none.
Rect intersection(const Rect& a, const Rect& b);

// The smallest rectangle of whole points that contains `rect`.
Rect integral(const Rect& rect);

// A rectangle in pixels of a picture.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool isEmpty() const { return width <= 0 || height <= 0; }
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

PixelRect intersection(const PixelRect& a, const PixelRect& b);

// The smallest rectangle that contains both; an empty one counts as nothing.
PixelRect boundingRect(const PixelRect& a, const PixelRect& b);

} // namespace glimto
