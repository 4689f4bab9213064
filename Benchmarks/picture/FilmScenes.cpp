#include "picture/FilmScenes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace glimto {

namespace {

constexpr int picturesOfASlide = 24;
constexpr int filmCut = 60;

void addGrain(Canvas& screen, const PixelRect& rect, int number)
{
    Dice dice(static_cast<std::uint32_t>(number) + 77);
    for (int y = rect.y; y < rect.y + rect.height; ++y) {
        std::uint32_t* row = screen.row(y);
        for (int x = rect.x; x < rect.x + rect.width; ++x) {
            const std::uint32_t value = dice.next();
            const int grain = static_cast<int>(value & 7U) + static_cast<int>(value >> 8U & 7U) - 7;
            const auto channel = [&](unsigned shift) {
                const int old = static_cast<int>(row[x] >> shift & 0xFFU);
                return static_cast<std::uint32_t>(std::clamp(old + grain, 0, 255)) << shift;
            };
            row[x] = channel(0) | channel(8) | channel(16);
        }
    }
}

} // namespace

ZoomScene::ZoomScene(int width, int height)
    : photo_(paintedPhoto(width * 3 / 2, height * 3 / 2, 1))
{
}

std::vector<PixelRect> ZoomScene::draw(int number, Canvas& screen)
{
    const double zoom = 0.75 * std::exp(number * 0.0025);
    drawView(screen, screen.bounds(), photo_, photo_.width * 0.52, photo_.height * 0.47, zoom);
    return {screen.bounds()};
}

SoftZoomScene::SoftZoomScene(int width, int height)
    : photo_(paintedSoftPhoto(width * 3 / 2, height * 3 / 2, 2))
{
}

std::vector<PixelRect> SoftZoomScene::draw(int number, Canvas& screen)
{
    const double zoom = 0.75 * std::exp(number * 0.004);
    drawView(screen, screen.bounds(), photo_, photo_.width * 0.52, photo_.height * 0.47, zoom);
    return {screen.bounds()};
}

PanScene::PanScene(int width, int height)
    : photo_(paintedPhoto(width * 3 / 2, height * 3 / 2, 3))
{
}

std::vector<PixelRect> PanScene::draw(int number, Canvas& screen)
{
    drawView(screen, screen.bounds(), photo_, screen.width / 2.0 + number * 1.37,
        screen.height / 2.0 + number * 0.43, 1);
    return {screen.bounds()};
}

FilmScene::FilmScene(int width, int height)
    : background_(paintedPhoto(width, height, 4))
    , actor_(paintedSoftPhoto(width / 2, height / 2, 5))
    , desktop_(width, height, 0x2E3440)
{
    Dice dice(6);
    for (int y = 20; y < height; y += 22)
        drawText(desktop_, 10, y, someWords(dice, width / 9), {.size = 13, .color = 0xD8DEE9});
}

std::vector<PixelRect> FilmScene::draw(int number, Canvas& screen)
{
    const PixelRect window
        = {screen.width / 6, screen.height / 6, screen.width * 2 / 3, screen.height * 2 / 3};
    if (number == 0)
        screen.pixels = desktop_.pixels;
    else if (number % 5 == 4)
        return {}; // 24 pictures in 30
    const double time = number / 30.0;
    const bool isSecondShot = number >= filmCut;
    drawView(screen, window, background_, background_.width / 2.0 + 40 * time * (isSecondShot ? -1 : 1),
        background_.height / 2.0 + 12 * std::sin(time * 2), isSecondShot ? 1.3 : 0.9 + 0.03 * time,
        isSecondShot ? 0.3 : 0.02 * std::sin(time));
    const int side = window.height / 2;
    const PixelRect actor = {window.x + window.width / 4 + static_cast<int>(60 * std::sin(time * 1.7)),
        window.y + window.height / 4, side, side};
    drawView(screen, actor, actor_, actor_.width / 2.0, actor_.height / 2.0, 0.8, time);
    addGrain(screen, window, number);
    return {window};
}

MixedScene::MixedScene(int width, int height)
    : background_(paintedSoftPhoto(width * 3 / 2, height * 3 / 2, 7))
    , things_(paintedPhoto(width / 2, height / 2, 8))
{
}

std::vector<PixelRect> MixedScene::draw(int number, Canvas& screen)
{
    const double time = number / 30.0;
    drawView(screen, screen.bounds(), background_, screen.width / 2.0 + 90 * time,
        screen.height / 2.0 + 30 * time, 1);
    const int side = screen.height / 3;
    const auto box = [&](double x, double y) {
        return intersection({static_cast<int>(x), static_cast<int>(y), side, side}, screen.bounds());
    };
    drawView(screen, box(screen.width * 0.1, screen.height * 0.1), things_, 200, 150, 1, time * 0.9);
    drawView(screen, box(screen.width * 0.6 - 120 * std::sin(time * 2), screen.height * 0.5), things_, 300,
        150, 0.8 + 0.2 * std::sin(time * 3));
    drawView(screen, box(screen.width * 0.35 + 150 * time, screen.height * 0.3), things_, 150, 170, 1.2);
    const int baseline = screen.height * 9 / 10;
    drawText(screen, screen.width - 220 * time, baseline,
        "Headlines that run along the lower edge, one by one",
        {.size = screen.height / 24.0, .color = 0xFFFFFF, .isBold = true});
    return {screen.bounds()};
}

CutsScene::CutsScene(int width, int height)
    : width_(width)
    , height_(height)
{
}

std::vector<PixelRect> CutsScene::draw(int number, Canvas& screen)
{
    if (number % picturesOfASlide != 0)
        return {};
    const int slide = number / picturesOfASlide;
    fill(screen, screen.bounds(), slide % 2 == 0 ? 0xF4F1EA : 0x1B2430);
    const Canvas photo = paintedPhoto(width_ / 2, height_ / 2, static_cast<std::uint32_t>(slide) + 20);
    copy(screen, {width_ / 4 + slide * 13, height_ / 3, photo.width, photo.height}, photo, 0, 0);
    Dice dice(static_cast<std::uint32_t>(slide) + 9);
    const std::uint32_t color = slide % 2 == 0 ? 0x303030 : 0xE0E8F0;
    drawText(screen, 60, 80, someWords(dice, 24), {.size = 42, .color = color, .isBold = true});
    for (int line = 0; line < 4; ++line)
        drawText(screen, 60, 130 + 26 * line, someWords(dice, 70), {.size = 18, .color = color});
    return {screen.bounds()};
}

FractalScene::FractalScene(int /*width*/, int /*height*/) { }

std::vector<PixelRect> FractalScene::draw(int number, Canvas& screen)
{
    constexpr int steps = 96;
    const double scale = 0.012 * std::exp(-number * 0.012) / screen.height;
    std::array<std::uint32_t, steps + 1> palette{};
    for (int step = 0; step < steps; ++step) {
        const auto channel = [&](double phase) {
            return static_cast<std::uint32_t>(127 + 120 * std::sin(step * 0.21 + phase));
        };
        palette[static_cast<std::size_t>(step)] = channel(0) | channel(2) << 8U | channel(4) << 16U;
    }
    for (int y = 0; y < screen.height; ++y) {
        const double imaginary = 0.13182 + (y - screen.height / 2.0) * scale;
        std::uint32_t* row = screen.row(y);
        for (int x = 0; x < screen.width; ++x) {
            const double real = -0.74364 + (x - screen.width / 2.0) * scale;
            double a = 0;
            double b = 0;
            int step = 0;
            for (; step < steps && a * a + b * b < 16; ++step) {
                const double next = a * a - b * b + real;
                b = 2 * a * b + imaginary;
                a = next;
            }
            row[x] = palette[static_cast<std::size_t>(step)];
        }
    }
    return {screen.bounds()};
}

} // namespace glimto
