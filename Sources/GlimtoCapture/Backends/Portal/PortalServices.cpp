#include "Backends/Portal/PortalServices.h"

#include <chrono>
#include <exception>
#include <string>

#include "Backends/Portal/ScreenCastSession.h"
#include "Backends/Portal/SessionBus.h"
#include "Backends/Streams/WakeUp.h"

namespace glimto {

namespace {

// A portal may have to be started by the question.
constexpr std::chrono::seconds answerLimit{20};

} // namespace

ScreenCaptureAccess PortalScreenAccess::preflightScreenCaptureAccess()
{
    try {
        WakeUp wakeUp;
        SessionBus bus(wakeUp);
        const auto abilities = screenCastAbilities(bus, answerLimit);
        if (!abilities.has(PortalSourceKind::monitor) && !abilities.has(PortalSourceKind::window))
            return ScreenCaptureAccess::denied("The desktop portal of this session shares no screens.");
        return {.verdict = ScreenCaptureAccess::Verdict::onlyAskingTells, .obstacle = {}};
    } catch (const std::exception& error) {
        return ScreenCaptureAccess::denied(error.what());
    }
}

std::optional<std::uint32_t> PortalScreenAccess::displayIDAt(Point point)
{
    const auto known = beside_.displayIDAt(point);
    return known ? known : PortalContent::pickedDisplayID;
}

ShareableContent PortalContent::fetch(const ContentQuery& query)
{
    ShareableContent content;
    try {
        content.displays = beside_.fetch(query).displays;
    } catch (const std::exception&) {
        // The portal needs nobody beside it.
    }
    if (content.displays.empty())
        content.displays = {{.displayID = pickedDisplayID, .frame = {}}};
    return content;
}

} // namespace glimto
