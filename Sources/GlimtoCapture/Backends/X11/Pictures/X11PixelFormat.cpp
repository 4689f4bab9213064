#include "Backends/X11/Pictures/X11PixelFormat.h"

#include <bit>
#include <cstring>
#include <string>

namespace glimto {

namespace {

constexpr int mostBits = 16;

const xcb_visualtype_t* visualType(const xcb_screen_t& screen, xcb_visualid_t visual)
{
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth)) {
        for (auto each = xcb_depth_visuals_iterator(depth.data); each.rem > 0; xcb_visualtype_next(&each)) {
            if (each.data->visual_id == visual)
                return each.data;
        }
    }
    return nullptr;
}

const xcb_format_t* pixmapFormat(const xcb_setup_t& setup, std::uint8_t depth)
{
    for (auto each = xcb_setup_pixmap_formats_iterator(&setup); each.rem > 0; xcb_format_next(&each)) {
        if (each.data->depth == depth)
            return each.data;
    }
    return nullptr;
}

} // namespace

X11ColourChannel X11ColourChannel::fromMask(std::uint32_t mask)
{
    if (mask == 0)
        return {};
    const int shift = std::countr_zero(mask);
    const int bits = std::popcount(mask);
    const bool hasGaps = std::countr_one(mask >> shift) != bits;
    return hasGaps || bits > mostBits ? X11ColourChannel{} : X11ColourChannel{shift, bits};
}

X11PixelFormat X11PixelFormat::ofRoot(const X11Connection& connection)
{
    const xcb_screen_t& screen = connection.screen();
    return of(connection, screen.root_depth, screen.root_visual, "The X display");
}

X11PixelFormat X11PixelFormat::of(
    const X11Connection& connection, std::uint8_t depth, xcb_visualid_t visualID, const char* what)
{
    const xcb_setup_t& setup = *xcb_get_setup(connection.xcb());
    const auto* visual = visualType(connection.screen(), visualID);
    const auto* stored = pixmapFormat(setup, depth);
    X11PixelFormat format;
    bool isKnown = visual && stored && setup.image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST
        && visual->_class == XCB_VISUAL_CLASS_TRUE_COLOR
        && (stored->bits_per_pixel == 16 || stored->bits_per_pixel == 32);
    if (isKnown) {
        format.bitsPerPixel = stored->bits_per_pixel;
        format.scanlinePad = stored->scanline_pad;
        format.red = X11ColourChannel::fromMask(visual->red_mask);
        format.green = X11ColourChannel::fromMask(visual->green_mask);
        format.blue = X11ColourChannel::fromMask(visual->blue_mask);
        isKnown = format.red.bits > 0 && format.green.bits > 0 && format.blue.bits > 0;
    }
    if (!isKnown) {
        throw x11Error(X11Failure::unsupportedVisual,
            std::string(what) + " has " + std::to_string(depth)
                + "-bit colour in a format that cannot be captured. Switch it to 24-bit colour.");
    }
    return format;
}

bool X11PixelFormat::isPlain() const
{
    return bitsPerPixel == 32 && red.shift == 16 && green.shift == 8 && blue.shift == 0 && red.bits == 8
        && green.bits == 8 && blue.bits == 8;
}

std::size_t X11PixelFormat::bytesPerRow(int width) const
{
    const auto pad = static_cast<std::size_t>(scanlinePad);
    const std::size_t bits = static_cast<std::size_t>(width) * static_cast<std::size_t>(bitsPerPixel);
    return (bits + pad - 1) / pad * pad / 8;
}

X11PixelConverter::X11PixelConverter(const X11PixelFormat& format)
    : bitsPerPixel_(format.bitsPerPixel)
    , channels_{channel(format.blue), channel(format.green), channel(format.red)}
{
}

X11PixelConverter::Channel X11PixelConverter::channel(const X11ColourChannel& colour)
{
    Channel result;
    result.shift = colour.shift;
    result.mask = (std::uint32_t(1) << colour.bits) - 1;
    for (std::uint32_t value = 0; value <= result.mask; ++value)
        result.values.push_back(static_cast<std::uint8_t>((value * 255 + result.mask / 2) / result.mask));
    return result;
}

void X11PixelConverter::convertRow(const std::uint8_t* source, std::uint8_t* target, int width) const
{
    const std::size_t bytes = static_cast<std::size_t>(bitsPerPixel_) / 8;
    for (int x = 0; x < width; ++x, source += bytes, target += 4) {
        std::uint32_t pixel = 0; // the machine is little endian as the picture is
        std::memcpy(&pixel, source, bytes);
        for (std::size_t index = 0; index < channels_.size(); ++index) {
            const Channel& each = channels_[index];
            target[index] = each.values[(pixel >> each.shift) & each.mask];
        }
        target[3] = 255;
    }
}

} // namespace glimto
