#pragma once

#include <optional>
#include <vector>

#include "Backends/Wayland/WaylandConnection.h"
#include "Support/Errors.h"

namespace glimto {

// The windows of the session. Where the compositor has a language of its own for that (CompositorWindows.h),
// with their place and in the order in which they were last used; else what wlr-foreign-toplevel-management
// tells: titles and applications, the active window first, without a place, and with ids that hold for one
// list. Applications carry the names of their desktop files. Throws PlatformError when the compositor does
// not answer.
std::vector<Window> waylandWindows(WaylandConnection& connection);

// Why some of `windows` have no place, or there are none at all; absent where the compositor tells of all.
std::optional<PlatformError> waylandWindowsObstacle(
    const WaylandConnection& connection, const std::vector<Window>& windows);

} // namespace glimto
