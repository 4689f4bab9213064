#include "picture/MotionScenes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace glimto {

namespace {

constexpr std::array<std::uint32_t, 2> slideColors = {0xF4F1EA, 0x1B2430};
constexpr std::array<std::uint32_t, 2> slideInks = {0x202020, 0xE0E0E0};

void mix(Canvas& screen, const Canvas& first, const Canvas& second, std::uint32_t sixteenths)
{
    for (std::size_t index = 0; index < screen.pixels.size(); ++index) {
        std::uint32_t mixed = 0;
        for (unsigned shift = 0; shift < 24; shift += 8) {
            const std::uint32_t from = first.pixels[index] >> shift & 0xFFU;
            const std::uint32_t to = second.pixels[index] >> shift & 0xFFU;
            mixed |= (from * (16 - sixteenths) + to * sixteenths) / 16 << shift;
        }
        screen.pixels[index] = mixed;
    }
}

} // namespace

GameScene::GameScene(int width, int height)
    : ground_(paintedPhoto(1024, 1024, 51))
    , sky_(paintedSoftPhoto(width * 2, height, 52))
{
}

std::vector<PixelRect> GameScene::draw(int number, Canvas& screen)
{
    const double seconds = static_cast<double>(number) / picturesPerSecond;
    const double angle = 0.3 * std::sin(seconds * 0.7);
    const int horizon = screen.height * 2 / 5;
    copy(screen, {0, 0, screen.width, horizon}, sky_, static_cast<int>(screen.width / 2.0 + angle * 600), 0);
    drawGround(screen, horizon, seconds, angle);
    drawThings(screen, horizon, seconds);
    fill(screen, {20, 20, 260, 60}, 0x101820);
    drawText(screen, 32, 58, "SCORE " + std::to_string(1000 + number * 7),
        {.size = 26, .color = 0xFFE060, .isBold = true});
    return {screen.bounds()};
}

void GameScene::drawGround(Canvas& screen, int horizon, double seconds, double angle) const
{
    for (int y = horizon; y < screen.height; ++y) {
        const double distance = 60.0 * screen.height / (y - horizon + 6);
        std::uint32_t* row = screen.row(y);
        for (int x = 0; x < screen.width; ++x) {
            const double side = (x - screen.width / 2.0) / screen.height * distance;
            const double groundX = 512 + 40 * seconds + side * std::cos(angle) + distance * std::sin(angle);
            const double groundY = 100 + 180 * seconds + distance * std::cos(angle) - side * std::sin(angle);
            row[x] = ground_.row(static_cast<int>(groundY) & 1023)[static_cast<int>(groundX) & 1023];
        }
    }
}

void GameScene::drawThings(Canvas& screen, int horizon, double seconds)
{
    Dice dice(5);
    for (std::uint32_t thing = 0; thing < 12; ++thing) {
        const double distance = std::fmod(dice.below(2000) - 180 * seconds + 20000, 2000) + 80;
        const int size = static_cast<int>(45.0 * screen.height / distance);
        const int x
            = static_cast<int>(screen.width / 2.0 + (dice.below(1600) - 800) / distance * screen.height);
        const int y = horizon + static_cast<int>(60.0 * screen.height / distance) - size;
        fill(screen, {x, y, size, size}, 0x802020 + thing * 0x0A1408);
        fill(screen, {x, y, size / 5, size}, 0x202020);
    }
}

FadeScene::FadeScene(int width, int height)
{
    for (unsigned slide = 0; slide < 4; ++slide) {
        Canvas canvas(width, height, slideColors.at(slide % 2));
        Dice dice(slide + 60);
        const Canvas photo = paintedPhoto(width / 2, height / 2, 60 + slide);
        copy(canvas, {width / 3, height / 4, photo.width, photo.height}, photo, 0, 0);
        for (int line = 0; line < 5; ++line)
            drawText(canvas, 40, 80 + 30 * line, someWords(dice, 40),
                {.size = 20, .color = slideInks.at(slide % 2)});
        slides_.push_back(std::move(canvas));
    }
}

std::vector<PixelRect> FadeScene::draw(int number, Canvas& screen)
{
    constexpr int picturesOfASlide = 45;
    constexpr int picturesOfAChange = 20;
    const auto slide = static_cast<std::size_t>(number / picturesOfASlide);
    const int step = number % picturesOfASlide;
    if (number > 0 && step >= picturesOfAChange)
        return {};
    const Canvas& first = slides_.at(slide % slides_.size());
    const Canvas& second = slides_.at((slide + 1) % slides_.size());
    const double part = number == 0 ? 0 : (step + 1.0) / picturesOfAChange;
    if (slide % 2 == 0) {
        mix(screen, first, second, static_cast<std::uint32_t>(part * 16));
    } else {
        const int offset = static_cast<int>(screen.width * (1 - (1 - part) * (1 - part)));
        copy(screen, {-offset, 0, screen.width, screen.height}, first, 0, 0);
        copy(screen, {screen.width - offset, 0, offset, screen.height}, second, 0, 0);
    }
    return {screen.bounds()};
}

TurnScene::TurnScene(int width, int height)
    : leaving_(paintedPhoto(width, height, 93))
    , below_(width, height, 0x203040)
{
    Dice dice(94);
    for (int y = 60; y < height; y += 40)
        drawText(below_, 60, y, someWords(dice, 50), {.size = 26, .color = 0xE8E8E8});
}

std::vector<PixelRect> TurnScene::draw(int number, Canvas& screen)
{
    const int step = number % 50;
    if (step >= 30)
        return {};
    const double part = step / 30.0;
    const double size = 1 - 0.8 * part;
    const int width = static_cast<int>(screen.width * size);
    const int height = static_cast<int>(screen.height * size);
    screen.pixels = below_.pixels;
    drawView(screen, {(screen.width - width) / 2, (screen.height - height) / 2, width, height}, leaving_,
        leaving_.width / 2.0, leaving_.height / 2.0, size, part * 0.6);
    return {screen.bounds()};
}

CallScene::CallScene(int width, int height)
    : face_(paintedSoftPhoto(500, 600, 91))
    , document_(width, height, 0xFFFFFF)
{
    Dice dice(92);
    for (int y = 30; y < height; y += 24)
        drawText(document_, 20, y, someWords(dice, width / 20), {.size = 15});
}

std::vector<PixelRect> CallScene::draw(int number, Canvas& screen)
{
    const PixelRect window
        = {screen.width / 2, screen.height / 6, screen.width / 2 - 20, screen.height * 2 / 3};
    if (number == 0)
        screen.pixels = document_.pixels;
    else if (number % 2 != 0)
        return {};
    const double seconds = static_cast<double>(number) / picturesPerSecond;
    fill(screen, window, 0x9098A0);
    drawView(screen,
        {window.x + window.width / 4, window.y + window.height / 6, window.width / 2, window.height * 5 / 6},
        face_, 250 + 6 * std::sin(seconds * 2.3), 300 + 4 * std::sin(seconds * 3.1), 1.1,
        0.04 * std::sin(seconds * 1.9));
    Dice dice(static_cast<std::uint32_t>(number) + 5);
    for (int y = window.y; y < window.y + window.height; ++y) {
        std::uint32_t* row = screen.row(y);
        for (int x = window.x; x < window.x + window.width; ++x)
            row[x] = (row[x] & 0xFCFCFCU) + (dice.next() & 3U) * 0x010101U;
    }
    return {number == 0 ? screen.bounds() : window};
}

} // namespace glimto
