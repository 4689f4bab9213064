#pragma once

#include <memory>
#include <vector>

#include "Backends/Wayland/WaylandConnection.h"

namespace glimto {

// The windows that the compositor tells of, where it does (wlr-foreign-toplevel-management): what they and
// their applications are called. Where they lie, and how they are stacked, nobody tells; they stand in the
// order in which the compositor named them, the active one first. An id holds for one list.
std::vector<Window> waylandWindows(WaylandConnection& connection);

} // namespace glimto
