#pragma once

#include <wayland-server.h>

namespace glimto {

// Offers the protocols of wlroots that the common ones replace. A client that uses one of them here, where it
// has the better one, is thrown out.
void offerOlderProtocols(wl_display* display, bool hasClipboard);

} // namespace glimto
