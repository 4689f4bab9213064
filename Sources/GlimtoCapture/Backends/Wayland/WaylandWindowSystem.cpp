#include "Backends/Wayland/WaylandWindowSystem.h"

namespace glimto {

WindowSystemCapabilities WaylandWindowSystem::capabilities() const
{
    return {.listsWindows = true,
        .recordsWindows = false,
        .recordsCoveredWindows = false,
        .hidesApplications = false,
        .asksUser = false,
        .placesClicks = false};
}

} // namespace glimto
