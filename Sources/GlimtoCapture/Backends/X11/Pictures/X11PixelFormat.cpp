#include "Backends/X11/Pictures/X11PixelFormat.h"

#include <string>
#include <utility>

#include "Backends/X11/Connection/X11Regions.h"

namespace glimto {

namespace {

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
    const bool hasColours = visual && stored && setup.image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST
        && visual->_class == XCB_VISUAL_CLASS_TRUE_COLOR && stored->bits_per_pixel % 8 == 0;
    const auto format = hasColours ? pixelFormatOfMasks(stored->bits_per_pixel / 8, visual->red_mask,
                            visual->green_mask, visual->blue_mask)
                                   : std::nullopt;
    if (!format) {
        throw x11Error(X11Failure::unsupportedVisual,
            std::string(what) + " has " + std::to_string(depth)
                + "-bit colour in a format that cannot be captured. Switch it to 24-bit colour.");
    }
    return {.format = *format, .scanlinePad = stored->scanline_pad};
}

std::size_t X11PixelFormat::bytesPerRow(int width) const
{
    const auto pad = static_cast<std::size_t>(scanlinePad);
    const std::size_t bits = static_cast<std::size_t>(width) * 8 * layoutOf(format).bytesPerPixel;
    return (bits + pad - 1) / pad * pad / 8;
}

std::size_t X11PixelFormat::byteCount(PixelSize size) const
{
    return bytesPerRow(size.width) * static_cast<std::size_t>(size.height);
}

PixelCanvas X11PixelFormat::pixels(
    std::uint8_t* bytes, PixelSize size, std::shared_ptr<const void> storage) const
{
    return {size.width, size.height, bytesPerRow(size.width), bytes, std::move(storage), format};
}

std::optional<PixelCanvas> readX11Image(
    X11Connection& connection, xcb_drawable_t drawable, const PixelRect& part, const X11PixelFormat& format)
{
    constexpr std::uint32_t allPlanes = ~0U;
    const xcb_rectangle_t area = xcbRectangle(part);
    const PixelSize size = {part.width, part.height};
    const auto cookie = xcb_get_image(connection.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, area.x, area.y,
        area.width, area.height, allPlanes);
    const std::shared_ptr<xcb_get_image_reply_t> image(connection.reply<xcb_get_image_reply_t>(cookie));
    if (!image || static_cast<std::size_t>(xcb_get_image_data_length(image.get())) < format.byteCount(size))
        return std::nullopt;
    return format.pixels(xcb_get_image_data(image.get()), size, image);
}

} // namespace glimto
