#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Platform/PixelBuffer.h"

namespace glimto {

// A picture of 8 bits a pixel, 0 black to 255 white, rows from top to bottom without gaps.
struct GrayPicture {
    GrayPicture(int width, int height);

    std::size_t place(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }

    int width; // pixels
    int height;
    std::vector<std::uint8_t> values;
};

// The luma of `pixels`. Pictures of more than `mostPixels` are halved until they are not.
GrayPicture grayPicture(const PixelBuffer& pixels, std::size_t mostPixels);

} // namespace glimto
