#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Platform/Geometry.h"

namespace glimto {

// Pixels to draw on: bytes B, G, R, X, rows from top to bottom without gaps.
struct Canvas {
    Canvas(int canvasWidth, int canvasHeight, std::uint32_t color = 0)
        : width(canvasWidth)
        , height(canvasHeight)
        , pixels(static_cast<std::size_t>(canvasWidth) * static_cast<std::size_t>(canvasHeight), color)
    {
    }

    std::uint32_t* row(int y) { return pixels.data() + static_cast<std::ptrdiff_t>(y) * width; }
    const std::uint32_t* row(int y) const { return pixels.data() + static_cast<std::ptrdiff_t>(y) * width; }
    PixelRect bounds() const { return {0, 0, width, height}; }

    int width;
    int height;
    std::vector<std::uint32_t> pixels;
};

// Numbers that look random and are the same every time.
class Dice {
public:
    explicit Dice(std::uint32_t seed)
        : state_(seed * 2654435761U + 1)
    {
    }

    std::uint32_t next()
    {
        state_ ^= state_ << 13U;
        state_ ^= state_ >> 17U;
        state_ ^= state_ << 5U;
        return state_;
    }

    int below(int limit) { return static_cast<int>(next() % static_cast<std::uint32_t>(limit)); }

    // 0 to 1, without 1.
    double fraction() { return next() / 4294967296.0; }

private:
    std::uint32_t state_;
};

} // namespace glimto
