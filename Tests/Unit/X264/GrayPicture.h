#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Platform/PixelBuffer.h"

namespace glimto {

// A picture of gray levels, each a function of its place.
class GrayPicture {
public:
    template <typename Level>
    GrayPicture(int width, int height, Level level)
        : bytes_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4)
        , pixels_{width, height, static_cast<std::size_t>(width) * 4, bytes_.data(), nullptr}
    {
        auto pixel = bytes_.begin();
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x, pixel += 4)
                std::fill_n(pixel, 4, static_cast<std::uint8_t>(level(x, y)));
        }
    }

    const PixelBuffer& pixels() const { return pixels_; }
    PixelRect bounds() const { return {0, 0, pixels_.width, pixels_.height}; }

private:
    std::vector<std::uint8_t> bytes_;
    PixelBuffer pixels_;
};

// Grain without a pattern, the same at each place whenever it is asked for; 100 to 131.
inline int grain(int x, int y)
{
    auto value = static_cast<std::uint32_t>(x) * 374761393U + static_cast<std::uint32_t>(y) * 668265263U;
    value = (value ^ (value >> 13U)) * 1274126177U;
    return 100 + static_cast<int>(value >> 27U);
}

// The same between the places.
inline int grainBetween(double x, int y)
{
    const int left = static_cast<int>(std::floor(x));
    const double right = x - left;
    return static_cast<int>(grain(left, y) * (1 - right) + grain(left + 1, y) * right);
}

} // namespace glimto
