#pragma once

#include <memory>

#include "Backends/X11/Pictures/X11PictureSource.h"

namespace glimto {

// One window without its decoration and shadow, wherever it is and whatever covers it.
//
// While the window is minimised its last contents stay. A window that has not been shown yet is black. Throws
// sourceGone when there is no such window.
std::unique_ptr<X11PictureSource> makeX11WindowPicture(X11Connection& connection, xcb_window_t window);

} // namespace glimto
