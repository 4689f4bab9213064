#include "picture/NatureScenes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace glimto {

namespace {

constexpr int wallSize = 1024; // a power of two, so that walls repeat without a seam

std::uint32_t darkened(std::uint32_t color, std::uint32_t light)
{
    const std::uint32_t even = ((color & 0xFF00FFU) * light >> 8U) & 0xFF00FFU;
    const std::uint32_t odd = ((color & 0x00FF00U) * light >> 8U) & 0x00FF00U;
    return even | odd;
}

// `place` within 0 to `limit` - 1, as if there were mirrors at both ends.
int mirrored(int place, int limit)
{
    const int inside = std::abs(place) % (2 * limit);
    return inside < limit ? inside : 2 * limit - 1 - inside;
}

} // namespace

TunnelScene::TunnelScene(int /*width*/, int /*height*/)
    : wall_(paintedPhoto(wallSize, wallSize, 131))
{
}

std::vector<PixelRect> TunnelScene::draw(int number, Canvas& screen)
{
    const double seconds = static_cast<double>(number) / picturesPerSecond;
    const double centerX = screen.width * (0.5 + 0.15 * std::sin(seconds * 0.9));
    const double centerY = screen.height * (0.5 + 0.1 * std::sin(seconds * 1.3));
    for (int y = 0; y < screen.height; ++y) {
        std::uint32_t* row = screen.row(y);
        for (int x = 0; x < screen.width; ++x) {
            const double fromX = x - centerX;
            const double fromY = y - centerY;
            const double radius = std::sqrt(fromX * fromX + fromY * fromY) + 1;
            const double depth = 140.0 * screen.height / radius + 420 * seconds;
            const double around = (std::atan2(fromY, fromX) / 6.28318530718 + 0.04 * seconds) * wallSize * 2;
            const auto light = static_cast<std::uint32_t>(std::min(256.0, 1400 * radius / screen.height));
            row[x] = darkened(wall_.row(static_cast<int>(depth)
                                  & (wallSize - 1))[static_cast<int>(around + 8 * wallSize) & (wallSize - 1)],
                light);
        }
    }
    return {screen.bounds()};
}

WaterScene::WaterScene(int width, int height)
    : ground_(paintedPhoto(width, height, 132))
{
}

std::vector<PixelRect> WaterScene::draw(int number, Canvas& screen)
{
    const double seconds = static_cast<double>(number) / picturesPerSecond;
    std::vector<int> down(static_cast<std::size_t>(screen.width));
    for (int x = 0; x < screen.width; ++x)
        down[static_cast<std::size_t>(x)] = static_cast<int>(
            std::lround(5 * std::sin(x / 31.0 + seconds * 2.9) + 2 * std::sin(x / 11.0 - seconds * 4.1)));
    for (int y = 0; y < screen.height; ++y) {
        std::uint32_t* row = screen.row(y);
        const double slow = 6 * std::sin(y / 23.0 + seconds * 3.3);
        const int across
            = static_cast<int>(std::lround(slow + 2 * std::sin(y / 9.0 + seconds * 5.7) + 25 * seconds));
        const auto light = static_cast<std::uint32_t>(std::clamp(224 + 5 * slow, 0.0, 256.0));
        for (int x = 0; x < screen.width; ++x) {
            const int fromY = mirrored(y + down[static_cast<std::size_t>(x)], ground_.height);
            row[x] = darkened(ground_.row(fromY)[mirrored(x + across, ground_.width)], light);
        }
    }
    return {screen.bounds()};
}

SnowScene::SnowScene(int width, int height)
    : background_(paintedPhoto(width * 5 / 4, height * 5 / 4, 133))
{
}

std::vector<PixelRect> SnowScene::draw(int number, Canvas& screen)
{
    constexpr int flakes = 900;
    const double seconds = static_cast<double>(number) / picturesPerSecond;
    drawView(screen, screen.bounds(), background_, screen.width / 2.0 + 18 * seconds,
        screen.height / 2.0 + 5 * std::sin(seconds), 1);
    Dice dice(134);
    for (int flake = 0; flake < flakes; ++flake) {
        const int size = 2 + dice.below(5);
        const double x = dice.below(screen.width) + 20 * std::sin(seconds * 1.7 + flake) + 30 * seconds;
        const double y = dice.below(screen.height) + seconds * (60 * size + dice.below(90));
        fill(screen,
            {static_cast<int>(std::fmod(x + screen.width, screen.width)),
                static_cast<int>(std::fmod(y, screen.height)), size, size},
            0xE0E8F0);
    }
    return {screen.bounds()};
}

SmokeScene::SmokeScene(int width, int height)
    : near_(paintedSoftPhoto(width * 3 / 2, height * 3 / 2, 135))
    , far_(paintedPhoto(width * 3 / 2, height * 3 / 2, 136))
{
}

std::vector<PixelRect> SmokeScene::draw(int number, Canvas& screen)
{
    const double seconds = static_cast<double>(number) / picturesPerSecond;
    Canvas front(screen.width, screen.height);
    drawView(front, front.bounds(), near_, near_.width / 2.0 - 70 * seconds,
        near_.height / 2.0 + 40 * seconds, 1.1 + 0.05 * seconds, 0.05 * seconds);
    drawView(
        screen, screen.bounds(), far_, far_.width / 2.0 + 55 * seconds, far_.height / 2.0 + 12 * seconds, 1);
    for (std::size_t index = 0; index < screen.pixels.size(); ++index) {
        const std::uint32_t smoke = front.pixels[index];
        const std::uint32_t density = 64 + (smoke & 0x7FU);
        screen.pixels[index] = darkened(screen.pixels[index], 256 - density) + darkened(smoke, density);
    }
    return {screen.bounds()};
}

} // namespace glimto
