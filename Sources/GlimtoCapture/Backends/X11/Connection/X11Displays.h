#pragma once

#include <vector>

#include "Backends/X11/Connection/X11Connection.h"
#include "Platform/ShareableContent.h"

namespace glimto {

// The displays in the server's order: its RandR monitors, or the whole screen as one display when it
// has none. Points are pixels, global points are root-window coordinates.
//
// A monitor's `displayID` is the server's atom for the monitor's name: two monitors never share one,
// and it stays the same until the server is reset. The whole screen has the root window's id.
//
// Throws PlatformError when the server goes away or does not answer in time.
std::vector<Display> x11Displays(X11Connection& connection);

} // namespace glimto
