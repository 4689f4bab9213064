#pragma once

#include "Platform/CaptureOpening.h"

namespace glimto {

// Opens a capture of a display, a part of it or a window, on a connection and a thread of its own, by the
// best way that the compositor offers. A window is captured in the size that it has. Throws PlatformError.
OpenedCapture openWaylandCapture(const CaptureRequest& request);

} // namespace glimto
