#include "Backends/X11/Pictures/X11RootBackground.h"

#include <string_view>

#include <xcb/composite.h>
#include <xcb/shape.h>

#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Connection/X11Regions.h"

namespace glimto {

X11RootBackground::X11RootBackground(X11Connection& connection)
    : connection_(connection)
{
}

// No request reads a window's background. But the server paints it into a window that takes its
// background from the root; redirected by hand and without shape for input, that window is never seen
// or felt, and its picture stays when the window is gone again.
xcb_pixmap_t X11RootBackground::pixmap(PixelSize rootSize)
{
    if (pixmap_ != XCB_NONE && size_ == rootSize)
        return pixmap_;
    forget();
    xcb_connection_t* xcb = connection_.xcb();
    const xcb_window_t window = xcb_generate_id(xcb);
    const std::uint32_t values[] = {XCB_BACK_PIXMAP_PARENT_RELATIVE, 1};
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window, connection_.root(), 0, 0,
        static_cast<std::uint16_t>(rootSize.width), static_cast<std::uint16_t>(rootSize.height), 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT,
        values);
    if (connection_.hasExtension(xcb_shape_id))
        xcb_shape_rectangles(
            xcb, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 0, nullptr);
    xcb_composite_redirect_window(xcb, window, XCB_COMPOSITE_REDIRECT_MANUAL);
    const std::uint32_t below = XCB_STACK_MODE_BELOW;
    xcb_configure_window(xcb, window, XCB_CONFIG_WINDOW_STACK_MODE, &below);
    xcb_map_window(xcb, window);
    size_ = rootSize;
    paint(window);
    pixmap_ = X11Pixmap(connection_);
    xcb_composite_name_window_pixmap(xcb, window, pixmap_);
    xcb_destroy_window(xcb, window);
    return pixmap_;
}

// A new window holds what the screen shows in its place, and a root without a background, as compositing
// managers make it, would leave it there. So it is painted with what these show instead: the picture that
// was announced to them, or grey.
void X11RootBackground::paint(xcb_window_t window)
{
    xcb_connection_t* xcb = connection_.xcb();
    const xcb_rectangle_t whole = xcbRectangle(wholeOf(size_));
    const X11GraphicsContext grey(connection_);
    const std::uint32_t foreground = 0x808080;
    xcb_create_gc(xcb, grey, window, XCB_GC_FOREGROUND, &foreground);
    xcb_poly_fill_rectangle(xcb, window, grey, 1, &whole);
    if (const xcb_pixmap_t announced = announcedPixmap(); announced != XCB_NONE) {
        const X11GraphicsContext tiled(connection_);
        const std::uint32_t values[] = {XCB_FILL_STYLE_TILED, announced};
        xcb_create_gc(xcb, tiled, window, XCB_GC_FILL_STYLE | XCB_GC_TILE, values);
        xcb_poly_fill_rectangle(xcb, window, tiled, 1, &whole);
    }
    // The root's own background over all that, if it has one.
    xcb_clear_area(xcb, 0, window, 0, 0, 0, 0);
}

xcb_pixmap_t X11RootBackground::announcedPixmap()
{
    constexpr std::string_view name = "_XROOTPMAP_ID";
    const auto atom = connection_.reply<xcb_intern_atom_reply_t>(
        xcb_intern_atom(connection_.xcb(), 1, static_cast<std::uint16_t>(name.size()), name.data()));
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return XCB_NONE;
    const auto property
        = X11Property::receive(connection_, X11Property::ask(connection_, connection_.root(), atom->atom));
    return property.type() == XCB_ATOM_PIXMAP ? property.firstNumber().value_or(XCB_NONE) : XCB_NONE;
}

} // namespace glimto
