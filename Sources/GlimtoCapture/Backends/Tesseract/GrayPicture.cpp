#include "Backends/Tesseract/GrayPicture.h"

namespace glimto {

namespace {

// BT.601 in 256ths.
std::uint8_t luma(const std::uint8_t* pixel)
{
    return static_cast<std::uint8_t>((29 * pixel[0] + 150 * pixel[1] + 77 * pixel[2]) >> 8);
}

// The mean of the luma of `step` by `step` pixels.
std::uint8_t meanLuma(const PixelBuffer& pixels, int left, int top, int step)
{
    int sum = 0;
    for (int y = top; y < top + step; ++y) {
        const std::uint8_t* row = pixels.bytes + static_cast<std::size_t>(y) * pixels.bytesPerRow;
        for (int x = left; x < left + step; ++x)
            sum += luma(row + 4 * static_cast<std::size_t>(x));
    }
    return static_cast<std::uint8_t>(sum / (step * step));
}

} // namespace

GrayPicture::GrayPicture(int width_, int height_)
    : width(width_)
    , height(height_)
    , values(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_))
{
}

GrayPicture grayPicture(const PixelBuffer& pixels, std::size_t mostPixels)
{
    const auto count = static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height);
    int step = 1;
    while (count / static_cast<std::size_t>(step * step) > mostPixels && pixels.width >= 2 * step
        && pixels.height >= 2 * step)
        step *= 2;

    GrayPicture gray(pixels.width / step, pixels.height / step);
    for (int y = 0; y < gray.height; ++y) {
        for (int x = 0; x < gray.width; ++x)
            gray.values[gray.place(x, y)] = meanLuma(pixels, x * step, y * step, step);
    }
    return gray;
}

} // namespace glimto
