#pragma once

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11PixelRects.h"
#include "Backends/X11/Connection/X11Resource.h"

namespace glimto {

// What the root window shows where no window is.
class X11RootBackground {
public:
    explicit X11RootBackground(X11Connection& connection);

    // A picture of it, of the root's depth and of this size, made when there is none yet.
    xcb_pixmap_t pixmap(PixelSize rootSize);

    // It may have another background now.
    void forget() { pixmap_.reset(); }

private:
    void paint(xcb_window_t window);
    xcb_pixmap_t announcedPixmap();

    X11Connection& connection_;
    X11Pixmap pixmap_;
    PixelSize size_;
};

} // namespace glimto
