#include "Backends/Portal/PortalWindowSystem.h"

namespace glimto {

PortalWindowSystem::PortalWindowSystem(WindowSystem& beside)
    : beside_(beside)
    , access_(beside.access())
    , content_(beside.content())
    , capture_(RestoreTokens(RestoreTokens::usualFile()), pointer_)
    , eventTaps_(pointer_)
{
}

WindowSystemCapabilities PortalWindowSystem::capabilities() const
{
    return {.listsWindows = false,
        .recordsWindows = true,
        .recordsCoveredWindows = true,
        .hidesApplications = false,
        .asksUser = true,
        .placesClicks = true,
        .hearsClicks = false};
}

} // namespace glimto
