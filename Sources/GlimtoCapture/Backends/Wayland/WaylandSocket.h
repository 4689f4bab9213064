#pragma once

#include "Support/FileDescriptor.h"

namespace glimto {

// A connection to the socket that WAYLAND_DISPLAY names: an absolute path, or a name in $XDG_RUNTIME_DIR, or
// "wayland-0" where it is not set. Does not wait: a compositor that accepts nobody any more is as good as
// none. Throws PlatformError cannotConnect or noAnswer.
FileDescriptor connectedWaylandSocket();

} // namespace glimto
