// Full-screen motion for recorders to record: a window that shows a new picture some times a second, all of
// it moving, with edges, gradients and grain as in filmed video. Its number stands in the top left corner,
// see NumberedWindow.h.
//
//     glimto-motion-scene [--size 1920x1080] [--rate 30]    shows the pictures until it is killed
//     glimto-motion-scene [--size 1920x1080] --pictures N,...    writes pictures to standard output, BGRX

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "record/NumberedWindow.h"

namespace {

constexpr int textureSize = 4096; // a power of two, so that panning wraps with a mask

struct Options {
    int width = 1920;
    int height = 1080;
    int picturesPerSecond = 30;
    std::vector<unsigned> pictures; // to be written; shows them all when there are none
};

std::uint32_t noise(std::uint32_t x, std::uint32_t y)
{
    std::uint32_t value = x * 374761393U + y * 668265263U;
    value = (value ^ (value >> 13U)) * 1274126177U;
    return value ^ (value >> 16U);
}

std::uint8_t channel(double value)
{
    return static_cast<std::uint8_t>(std::fmin(std::fmax(value, 0.0), 255.0));
}

// One picture larger than the screen, over which the screen pans.
std::vector<std::uint32_t> makeTexture()
{
    std::vector<std::uint32_t> texture(static_cast<std::size_t>(textureSize) * textureSize);
    constexpr double turn = 6.283185307179586 / textureSize;
    for (std::uint32_t y = 0; y < textureSize; ++y) {
        for (std::uint32_t x = 0; x < textureSize; ++x) {
            const double wave
                = std::sin(turn * 5 * x) + std::cos(turn * 7 * y) + std::sin(turn * 3 * (x + 2 * y));
            const bool isEdge = ((x / 97U) + (y / 61U)) % 5U == 0;
            const double grain = static_cast<double>(noise(x, y) & 15U);
            const double base = 110 + 35 * wave + (isEdge ? 40 : 0) + grain;
            texture[y * textureSize + x] = static_cast<std::uint32_t>(channel(base))
                | (static_cast<std::uint32_t>(channel(base * 0.8 + 20)) << 8U)
                | (static_cast<std::uint32_t>(channel(230 - base)) << 16U);
        }
    }
    return texture;
}

class MotionScene {
public:
    MotionScene(int width, int height)
        : width_(width)
        , height_(height)
        , texture_(makeTexture())
    {
    }

    void draw(std::uint32_t* pixels, unsigned number) const
    {
        number &= 0xFFFFU; // what a marker can tell
        drawBackground(pixels, number);
        for (unsigned ball = 0; ball < 12; ++ball)
            drawBall(pixels, number, ball);
    }

private:
    void drawBackground(std::uint32_t* pixels, unsigned number) const
    {
        const unsigned shiftY = number * 4;
        const unsigned first = number * 9 & (textureSize - 1);
        const unsigned beforeWrap = std::min(static_cast<unsigned>(width_), textureSize - first);
        for (int y = 0; y < height_; ++y) {
            const std::size_t line = (static_cast<unsigned>(y) + shiftY) & (textureSize - 1);
            const std::uint32_t* row = texture_.data() + line * textureSize;
            std::uint32_t* target = pixels + static_cast<std::ptrdiff_t>(y) * width_;
            std::memcpy(target, row + first, beforeWrap * 4UL);
            std::memcpy(target + beforeWrap, row, (static_cast<unsigned>(width_) - beforeWrap) * 4UL);
        }
    }

    // Something that moves against the background.
    void drawBall(std::uint32_t* pixels, unsigned number, unsigned ball) const
    {
        const int centerX
            = static_cast<int>((number * (7 + ball * 3) + ball * 331) % static_cast<unsigned>(width_));
        const int centerY
            = static_cast<int>((number * (5 + ball * 2) + ball * 177) % static_cast<unsigned>(height_));
        const int radius = 40 + static_cast<int>(ball) * 6;
        for (int y = std::max(centerY - radius, 0); y < std::min(centerY + radius, height_); ++y) {
            const int half = static_cast<int>(std::sqrt(radius * radius - (y - centerY) * (y - centerY)));
            const int left = std::max(centerX - half, 0);
            const int right = std::min(centerX + half, width_);
            std::uint32_t* row = pixels + static_cast<std::ptrdiff_t>(y) * width_;
            if (right > left)
                std::fill(row + left, row + right, 0x203040U * (ball + 1) & 0xFFFFFFU);
        }
    }

    int width_;
    int height_;
    std::vector<std::uint32_t> texture_;
};

Options parse(int count, char** arguments)
{
    Options options;
    for (int at = 1; at + 1 < count; at += 2) {
        const std::string name = arguments[at];
        std::istringstream value(arguments[at + 1]);
        char separator = 0;
        if (name == "--size") {
            value >> options.width >> separator >> options.height;
        } else if (name == "--rate") {
            value >> options.picturesPerSecond;
        } else if (name == "--pictures") {
            for (unsigned number = 0; value >> number; value >> separator)
                options.pictures.push_back(number);
        } else {
            throw std::runtime_error("unknown option " + name);
        }
    }
    if (count % 2 == 0 || options.width < 256 || options.width > textureSize || options.height < 256
        || options.height > textureSize || options.picturesPerSecond < 1)
        throw std::runtime_error("an option without a usable value");
    return options;
}

void run(const Options& options)
{
    const MotionScene scene(options.width, options.height);
    if (options.pictures.empty()) {
        glimto::NumberedWindow window(options.width, options.height);
        window.showAll(options.picturesPerSecond,
            [&](std::uint32_t* pixels, unsigned number) { scene.draw(pixels, number); });
    }
    std::vector<std::uint32_t> pixels(
        static_cast<std::size_t>(options.width) * static_cast<std::size_t>(options.height));
    for (const unsigned number : options.pictures) {
        scene.draw(pixels.data(), number);
        glimto::drawMarker(pixels.data(), options.width, number);
        std::fwrite(pixels.data(), 4, pixels.size(), stdout);
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    try {
        run(parse(argumentCount, arguments));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
}
