#pragma once

#include <memory>

#include "Platform/StillCapture.h"

namespace glimto {

// Takes single pictures of the X display that DISPLAY names, each on a connection of its own.
//
// The plain screen is read as it is. Where applications are to be hidden, or of a single window, the picture
// comes from where a capture stream has its pictures from. Used by one thread.
std::unique_ptr<StillCapture> makeX11StillCapture();

} // namespace glimto
