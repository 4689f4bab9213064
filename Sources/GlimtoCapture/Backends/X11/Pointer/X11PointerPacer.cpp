#include "Backends/X11/Pointer/X11PointerPacer.h"

#include <algorithm>

namespace glimto {

namespace {

constexpr std::chrono::milliseconds gathering(40); // how long events wait for company
constexpr std::chrono::milliseconds reading(4); // how long they may lie unread
constexpr std::chrono::milliseconds resting(250); // how long nothing is asked without events

} // namespace

X11PointerPacer::Step X11PointerPacer::next(HostTime now, bool hasEvents) const
{
    if (!lastAsk_)
        return {.mustAsk = true};
    const HostTime due = *lastAsk_ + (hasEvents ? gathering : resting);
    if (hasEvents)
        return {.mustAsk = now >= due, .until = std::min(due, now + reading), .wakesOnEvents = false};
    return {.mustAsk = now >= due, .until = due, .wakesOnEvents = true};
}

} // namespace glimto
