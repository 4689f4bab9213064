#include "picture/DesktopScenes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace glimto {

namespace {

constexpr std::array<std::uint32_t, 6> inks = {0xD4D4D4, 0x569CD6, 0xCE9178, 0x6A9955, 0xDCDCAA, 0xC586C0};
constexpr int lineHeight = 18;
constexpr int characterWidth = 9;
constexpr int toolbarHeight = 60;

TextLook code(Dice& dice)
{
    return {.font = "DejaVu Sans Mono",
        .size = 15,
        .color = inks[static_cast<std::size_t>(dice.below(static_cast<int>(inks.size())))]};
}

void drawCode(Canvas& target, const PixelRect& rect, std::uint32_t seed)
{
    Dice dice(seed);
    fill(target, rect, 0x1E1E1E);
    for (int y = rect.y + lineHeight; y < rect.y + rect.height; y += lineHeight) {
        int x = rect.x + 8 + 4 * characterWidth * dice.below(4);
        while (x + 14 * characterWidth < rect.x + rect.width && dice.below(6) != 0) {
            const int length = 2 + dice.below(11);
            drawText(target, x, y, someWords(dice, length), code(dice));
            x += (length + 1) * characterWidth;
        }
    }
}

// Eases in and out of each second of motion, then rests for half a second.
int scrolled(int number)
{
    constexpr int period = 45;
    constexpr int moving = 30;
    constexpr double pixels = 620;
    const int step = number / period;
    const double phase = std::min(number % period, moving) / static_cast<double>(moving);
    return static_cast<int>(std::lround(pixels * (step + phase * phase * (3 - 2 * phase))));
}

} // namespace

TypingScene::TypingScene(int width, int height)
    : desktop_(width, height, 0x252526)
{
    drawCode(desktop_, {width / 6, 40, width * 5 / 6, height - 40}, 10);
    fill(desktop_, {width / 6, height / 2, width * 5 / 6, 6 * lineHeight}, 0x1E1E1E);
    Dice dice(12);
    text_ = someWords(dice, 2000);
    for (int y = 60; y < height; y += 24)
        drawText(desktop_, 12, y, someWords(dice, width / 6 / 9 - 2), {.size = 13, .color = 0xCCCCCC});
}

std::vector<PixelRect> TypingScene::draw(int number, Canvas& screen)
{
    if (number == 0) {
        screen.pixels = desktop_.pixels;
        return {screen.bounds()};
    }
    if (number % 3 == 0) // two characters in three pictures
        return {};
    const PixelRect cell = {screen.width / 6 + 8 + column_ * characterWidth,
        screen.height / 2 + line_ * lineHeight, characterWidth * 2, lineHeight};
    const auto index = static_cast<std::size_t>(number);
    drawText(screen, cell.x, cell.y + 14, text_.substr(index, 1),
        {.font = "DejaVu Sans Mono", .size = 15, .color = inks[index / 9 % inks.size()]});
    if (++column_ * characterWidth > screen.width / 2) {
        column_ = 0;
        line_ = (line_ + 1) % 6;
    }
    return {cell};
}

LogScene::LogScene(int width, int height)
{
    static_cast<void>(width);
    static_cast<void>(height);
}

std::vector<PixelRect> LogScene::draw(int number, Canvas& screen)
{
    const PixelRect terminal = {screen.width / 12, screen.height / 12, screen.width * 5 / 6,
        screen.height * 5 / 6 / lineHeight * lineHeight};
    if (number == 0) {
        fill(screen, screen.bounds(), 0x3B4252);
        fill(screen, terminal, 0x101010);
        return {screen.bounds()};
    }
    if (number % 2 != 0)
        return {};
    constexpr int lines = 5;
    const Canvas before = screen;
    copy(screen, {terminal.x, terminal.y, terminal.width, terminal.height - lines * lineHeight}, before,
        terminal.x, terminal.y + lines * lineHeight);
    for (int line = lines; line > 0; --line) {
        const int y = terminal.y + terminal.height - line * lineHeight;
        fill(screen, {terminal.x, y, terminal.width, lineHeight}, 0x101010);
        const std::string time = std::to_string(100000 + number * 7 + line) + " ";
        drawText(screen, terminal.x + 6, y + 14, time,
            {.font = "DejaVu Sans Mono", .size = 15, .color = 0x7FB069});
        drawText(screen, terminal.x + 6 + 9 * characterWidth, y + 14,
            someWords(dice_, 20 + dice_.below(terminal.width / characterWidth - 40)), code(dice_));
    }
    return {terminal};
}

PageScene::PageScene(int width, int height)
    : page_(width, height + 3000, 0xFFFFFF)
{
    Dice dice(13);
    int y = 40;
    std::uint32_t picture = 40;
    while (y < page_.height - 300) {
        drawText(
            page_, width / 8.0, y + 30, someWords(dice, 30), {.size = 30, .color = 0x1A3E72, .isBold = true});
        y += 64;
        for (int line = 6 + dice.below(6); line > 0; --line) {
            drawText(page_, width / 8.0, y, someWords(dice, width / 14), {.size = 16});
            drawText(page_, width * 0.76, y, someWords(dice, 20), {.size = 14, .color = 0xB01E5A});
            y += 25;
        }
        const Canvas photo = paintedPhoto(width / 3, 220, picture++);
        copy(page_, {width / 8, y, photo.width, photo.height}, photo, 0, 0);
        fill(page_, {width / 2, y, width / 5, 220}, 0xE8EEF6);
        drawText(page_, width / 2 + 16, y + 40, someWords(dice, 16), {.size = 18, .color = 0xC0392B});
        y += 260;
    }
}

std::vector<PixelRect> PageScene::draw(int number, Canvas& screen)
{
    const PixelRect view = {0, toolbarHeight, screen.width, screen.height - toolbarHeight};
    const int offset = scrolled(number) % (page_.height - screen.height);
    if (number == 0) {
        fill(screen, screen.bounds(), 0xDEE1E6);
        drawText(screen, 120, 38, "example.org/a/long/page", {.size = 16});
    }
    const bool isSame = offset == lastOffset_;
    lastOffset_ = offset;
    if (isSame)
        return {};
    copy(screen, view, page_, 0, offset);
    return {number == 0 ? screen.bounds() : view};
}

DragScene::DragScene(int width, int height)
    : desktop_(paintedSoftPhoto(width, height, 14))
    , window_(width / 2, height / 2, 0xFFFFFF)
{
    drawCode(desktop_, {width / 10, height / 10, width / 3, height / 2}, 15);
    fill(window_, {0, 0, window_.width, 28}, 0x4C566A);
    drawText(window_, 12, 20, "Document", {.size = 14, .color = 0xFFFFFF});
    Dice dice(16);
    for (int y = 56; y < window_.height; y += 22)
        drawText(window_, 16, y, someWords(dice, window_.width / 9), {.size = 14});
}

std::vector<PixelRect> DragScene::draw(int number, Canvas& screen)
{
    const double time = number / 30.0;
    const PixelRect place = {static_cast<int>(screen.width * (0.25 + 0.2 * std::sin(time * 2.1))),
        static_cast<int>(screen.height * (0.25 + 0.2 * std::sin(time * 1.3 + 1))), window_.width,
        window_.height};
    if (number == 0)
        screen.pixels = desktop_.pixels;
    copy(screen, last_, desktop_, last_.x, last_.y);
    copy(screen, place, window_, 0, 0);
    const std::vector<PixelRect> changed
        = number == 0 ? std::vector{screen.bounds()} : std::vector{last_, place};
    last_ = place;
    return changed;
}

MapScene::MapScene(int width, int height)
    : map_(width * 2, height * 2, 0xF2EFE9)
{
    constexpr std::array<std::uint32_t, 3> areas = {0xC8E6C0, 0xE4DFD6, 0xAAD3DF};
    constexpr std::array<std::uint32_t, 4> roads = {0xF9B29C, 0xFFFFFF, 0x999999, 0x999999};
    Dice dice(31);
    const auto place = [&] { return std::pair(dice.below(map_.width), dice.below(map_.height)); };
    for (std::size_t area = 0; area < 60; ++area) {
        const auto [x, y] = place();
        fill(map_, {x, y, 40 + dice.below(200), 40 + dice.below(160)}, areas.at(area % areas.size()));
    }
    for (std::size_t road = 0; road < 160; ++road) {
        const auto [left, top] = place();
        double x = left;
        double y = top;
        double angle = dice.fraction() * 6.28;
        const int thickness = road % 4 == 2 ? 1 : 3;
        for (int length = 100 + dice.below(700); length > 0; --length) {
            angle += (dice.fraction() - 0.5) * 0.05;
            x += std::cos(angle);
            y += std::sin(angle);
            fill(map_, {static_cast<int>(x), static_cast<int>(y), thickness, thickness},
                roads.at(road % roads.size()));
        }
    }
    for (int name = 0; name < 220; ++name) {
        const auto [x, y] = place();
        drawText(map_, x, y, someWords(dice, 6 + dice.below(10)),
            {.size = 10.0 + dice.below(7), .color = 0x404050});
    }
}

std::vector<PixelRect> MapScene::draw(int number, Canvas& screen)
{
    constexpr int picturesOfADrag = 50;
    constexpr double picturesInMotion = 36;
    constexpr std::array<std::array<double, 2>, 5> way
        = {{{0, 0}, {260, 90}, {60, 240}, {380, 200}, {120, 60}}};
    const auto drag = static_cast<std::size_t>(number / picturesOfADrag);
    const double left = 1 - std::min(1.0, number % picturesOfADrag / picturesInMotion);
    const double part = 1 - left * left * left;
    const auto& from = way.at(drag % way.size());
    const auto& to = way.at((drag + 1) % way.size());
    const PixelRect view = {static_cast<int>(std::lround(from[0] + (to[0] - from[0]) * part)),
        static_cast<int>(std::lround(from[1] + (to[1] - from[1]) * part)), screen.width, screen.height};
    if (number > 0 && view == last_)
        return {};
    last_ = view;
    copy(screen, screen.bounds(), map_, view.x, view.y);
    return {screen.bounds()};
}

CodeScene::CodeScene(int width, int height)
    : code_(width * 5 / 6, height + 4200)
{
    drawCode(code_, code_.bounds(), 71);
}

std::vector<PixelRect> CodeScene::draw(int number, Canvas& screen)
{
    constexpr int notch = 3 * lineHeight;
    const int offset = std::min(
        notch * (number / 6) + notch * std::min(number % 6 + 1, 4) / 4, code_.height - screen.height);
    if (number == 0)
        fill(screen, screen.bounds(), 0x252526);
    else if (number % 60 >= 40 || offset == lastOffset_)
        return {};
    lastOffset_ = offset;
    const PixelRect view = {screen.width / 6, 40, screen.width * 5 / 6, screen.height - 64};
    copy(screen, view, code_, 0, offset);
    return {number == 0 ? screen.bounds() : view};
}

} // namespace glimto
