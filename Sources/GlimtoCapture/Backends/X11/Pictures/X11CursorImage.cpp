#include "Backends/X11/Pictures/X11CursorImage.h"

namespace glimto {

namespace {

// value / 255, rounded, for values up to 255 * 255.
std::uint32_t dividedBy255(std::uint32_t value)
{
    return (value + 128 + ((value + 128) >> 8)) >> 8;
}

void blend(std::uint8_t* pixel, std::uint32_t source)
{
    const std::uint32_t alpha = source >> 24;
    for (unsigned channel = 0; channel < 3; ++channel) {
        const std::uint32_t over = (source >> (8 * channel)) & 0xff;
        const std::uint32_t sum = over + dividedBy255(pixel[channel] * (255 - alpha));
        pixel[channel] = static_cast<std::uint8_t>(sum > 255 ? 255 : sum);
    }
}

} // namespace

PixelRect X11CursorImage::rectAt(int x, int y, PixelSize picture) const
{
    return intersection({x - hotspotX, y - hotspotY, size.width, size.height}, wholeOf(picture));
}

X11CursorImage x11CursorImage(const xcb_xfixes_get_cursor_image_reply_t& reply)
{
    const std::size_t count = std::size_t{reply.width} * reply.height;
    if (count > reply.length)
        return {};
    const std::uint32_t* pixels = xcb_xfixes_get_cursor_image_cursor_image(&reply);
    return {.size = {reply.width, reply.height},
        .hotspotX = reply.xhot,
        .hotspotY = reply.yhot,
        .pixels = {pixels, pixels + count}};
}

void X11CursorImage::drawAt(int x, int y, const PixelCanvas& picture) const
{
    const PixelRect rect = rectAt(x, y, {picture.width, picture.height});
    const PixelCanvas target = picture.part(rect);
    const PixelCanvas drawn = inFormat(target, PixelFormat::xrgb8888);
    for (int row = 0; row < rect.height; ++row) {
        const auto sourceRow
            = static_cast<std::size_t>(rect.y + row - (y - hotspotY)) * static_cast<std::size_t>(size.width);
        const std::uint32_t* source
            = pixels.data() + sourceRow + static_cast<std::size_t>(rect.x - (x - hotspotX));
        for (int column = 0; column < rect.width; ++column) {
            // A pixel without alpha may still add light: only an all-zero one changes nothing.
            if (source[column] != 0)
                blend(drawn.pixelAt(column, row), source[column]);
        }
    }
    if (drawn.bytes != target.bytes)
        convertPixels(drawn, target);
}

} // namespace glimto
