#include "picture/Painting.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include <cairo.h>

namespace glimto {

namespace {

struct CairoDeleter {
    void operator()(cairo_surface_t* surface) const noexcept { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const noexcept { cairo_destroy(context); }
};

std::uint32_t mixed(double red, double green, double blue)
{
    const auto channel
        = [](double value) { return static_cast<std::uint32_t>(std::clamp(value, 0.0, 255.0)); };
    return channel(blue) | channel(green) << 8U | channel(red) << 16U;
}

// A leaf: an ellipse of one colour with a gradient, a vein and a grain of its own.
struct Leaf {
    double x = 0;
    double y = 0;
    double radius = 0;
    double angle = 0;
    double flatness = 1;
    double red = 0;
    double green = 0;
    double blue = 0;
    double shade = 0;
    double grain = 0;
};

void drawLeaf(Canvas& photo, const Leaf& leaf, Dice& dice)
{
    const int top = std::max(static_cast<int>(leaf.y - leaf.radius), 0);
    const int bottom = std::min(static_cast<int>(leaf.y + leaf.radius) + 1, photo.height);
    const int left = std::max(static_cast<int>(leaf.x - leaf.radius), 0);
    const int right = std::min(static_cast<int>(leaf.x + leaf.radius) + 1, photo.width);
    const double cosine = std::cos(leaf.angle);
    const double sine = std::sin(leaf.angle);
    for (int y = top; y < bottom; ++y) {
        std::uint32_t* row = photo.row(y);
        for (int x = left; x < right; ++x) {
            const double along = ((x - leaf.x) * cosine + (y - leaf.y) * sine) / leaf.radius;
            const double across
                = ((y - leaf.y) * cosine - (x - leaf.x) * sine) / (leaf.radius * leaf.flatness);
            if (along * along + across * across > 1)
                continue;
            const bool isVein = std::abs(across) < 0.04 && leaf.radius > 12;
            const double light
                = 1 + leaf.shade * along + (isVein ? 0.3 : 0) + leaf.grain * (dice.fraction() - 0.5);
            row[x] = mixed(leaf.red * light, leaf.green * light, leaf.blue * light);
        }
    }
}

double mirrored(double value, double limit)
{
    const double period = 2 * (limit - 1);
    double inside = std::fmod(value, period);
    if (inside < 0)
        inside += period;
    return inside > limit - 1 ? period - inside : inside;
}

// Four pixels weighted in steps of 1/16, two channels at a time.
std::uint32_t between(
    const std::uint32_t* above, const std::uint32_t* below, std::uint32_t right, std::uint32_t down)
{
    const auto blended = [](std::uint32_t first, std::uint32_t second, std::uint32_t weight) {
        constexpr std::uint32_t mask = 0x00FF00FF;
        const std::uint32_t even = ((first & mask) * (16 - weight) + (second & mask) * weight) >> 4U;
        const std::uint32_t odd = ((first >> 8U) & mask) * (16 - weight) + ((second >> 8U) & mask) * weight;
        return (even & mask) | ((odd << 4U) & ~mask);
    };
    return blended(blended(above[0], above[1], right), blended(below[0], below[1], right), down);
}

} // namespace

Canvas paintedPhoto(int width, int height, std::uint32_t seed)
{
    Dice dice(seed);
    Canvas photo(width, height, 0x405060);
    const double largest = height / 3.0;
    const double smallest = 3;
    const int count = width * height / 260;
    for (int index = 0; index < count; ++index) {
        // From the back to the front, by and large; sizes as in nature, where small things are many.
        const double rank = 1 - static_cast<double>(index) / count * 0.75;
        const double radius = smallest / std::sqrt(dice.fraction() * 0.98 + 0.02) * (1 + 12 * rank * rank);
        Leaf leaf = {.x = dice.fraction() * width,
            .y = dice.fraction() * height,
            .radius = std::min(radius, largest),
            .angle = dice.fraction() * 3.14159,
            .flatness = 0.3 + 0.7 * dice.fraction(),
            .red = 30 + 210 * dice.fraction(),
            .green = 40 + 200 * dice.fraction(),
            .blue = 20 + 190 * dice.fraction(),
            .shade = 0.6 * (dice.fraction() - 0.5),
            .grain = 0.12 * dice.fraction()};
        drawLeaf(photo, leaf, dice);
    }
    return photo;
}

Canvas paintedSoftPhoto(int width, int height, std::uint32_t seed)
{
    const Canvas small = paintedPhoto(std::max(width / 8, 2), std::max(height / 8, 2), seed);
    Canvas photo(width, height);
    drawView(photo, photo.bounds(), small, small.width / 2.0, small.height / 2.0,
        static_cast<double>(width) / small.width);
    return photo;
}

void drawView(Canvas& target, const PixelRect& rect, const Canvas& source, double centerX, double centerY,
    double zoom, double angle)
{
    const double cosine = std::cos(angle) / zoom;
    const double sine = std::sin(angle) / zoom;
    for (int y = 0; y < rect.height; ++y) {
        std::uint32_t* row = target.row(rect.y + y) + rect.x;
        const double down = y - rect.height / 2.0;
        for (int x = 0; x < rect.width; ++x) {
            const double right = x - rect.width / 2.0;
            const double sourceX = mirrored(centerX + right * cosine - down * sine, source.width - 1);
            const double sourceY = mirrored(centerY + right * sine + down * cosine, source.height - 1);
            const int column = static_cast<int>(sourceX);
            const int line = static_cast<int>(sourceY);
            row[x] = between(source.row(line) + column, source.row(line + 1) + column,
                static_cast<std::uint32_t>((sourceX - column) * 16),
                static_cast<std::uint32_t>((sourceY - line) * 16));
        }
    }
}

void fill(Canvas& target, const PixelRect& rect, std::uint32_t color)
{
    const PixelRect inside = intersection(rect, target.bounds());
    for (int y = inside.y; y < inside.y + inside.height; ++y)
        std::fill_n(target.row(y) + inside.x, inside.width, color);
}

void copy(Canvas& target, const PixelRect& rect, const Canvas& source, int sourceX, int sourceY)
{
    const PixelRect there = {rect.x - sourceX, rect.y - sourceY, source.width, source.height};
    const PixelRect inside = intersection(intersection(rect, target.bounds()), there);
    for (int y = inside.y; y < inside.y + inside.height; ++y)
        std::copy_n(source.row(y - there.y) + inside.x - there.x, inside.width, target.row(y) + inside.x);
}

void drawText(Canvas& target, double x, double y, const std::string& text, const TextLook& look)
{
    const std::unique_ptr<cairo_surface_t, CairoDeleter> surface(
        cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(target.pixels.data()),
            CAIRO_FORMAT_RGB24, target.width, target.height, target.width * 4));
    const std::unique_ptr<cairo_t, CairoDeleter> context(cairo_create(surface.get()));
    cairo_select_font_face(context.get(), look.font.c_str(), CAIRO_FONT_SLANT_NORMAL,
        look.isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context.get(), look.size);
    cairo_set_source_rgb(context.get(), (look.color >> 16U & 0xFFU) / 255.0,
        (look.color >> 8U & 0xFFU) / 255.0, (look.color & 0xFFU) / 255.0);
    cairo_move_to(context.get(), x, y);
    cairo_show_text(context.get(), text.c_str());
}

std::string someWords(Dice& dice, int length)
{
    static constexpr std::array syllables = {
        "ra", "mo", "ti", "len", "ka", "dor", "si", "ver", "un", "pe", "gli", "hau", "no", "be", "st", "ix"};
    std::string text;
    while (static_cast<int>(text.size()) < length) {
        for (int count = 1 + dice.below(4); count > 0; --count)
            text += syllables[static_cast<std::size_t>(dice.below(static_cast<int>(syllables.size())))];
        text += dice.below(9) == 0 ? ", " : " ";
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
}

} // namespace glimto
