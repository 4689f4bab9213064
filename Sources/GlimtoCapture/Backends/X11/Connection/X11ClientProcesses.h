#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// The processes that own `windows`, one number for each, as the server itself knows them from its
// sockets: 0 for clients on other machines, and when the server's XRes extension is missing or older
// than version 1.2. Throws PlatformError when the server goes away or does not answer in time.
std::vector<std::int32_t> x11ClientProcesses(
    X11Connection& connection, std::span<const xcb_window_t> windows);

} // namespace glimto
