#include "Backends/X11/X11RootBackground.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

namespace glimto {

X11RootBackground::X11RootBackground(X11Connection& connection)
    : connection_(connection)
{
}

X11RootBackground::~X11RootBackground()
{
    forget();
}

void X11RootBackground::forget()
{
    if (pixmap_ != XCB_NONE)
        xcb_free_pixmap(connection_.xcb(), pixmap_);
    pixmap_ = XCB_NONE;
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
    pixmap_ = xcb_generate_id(xcb);
    xcb_composite_name_window_pixmap(xcb, window, pixmap_);
    xcb_destroy_window(xcb, window);
    size_ = rootSize;
    return pixmap_;
}

} // namespace glimto
