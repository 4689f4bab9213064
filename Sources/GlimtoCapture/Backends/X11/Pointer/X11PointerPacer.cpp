#include "Backends/X11/Pointer/X11PointerPacer.h"

#include <algorithm>

namespace glimto {

namespace {

constexpr std::int64_t gathering = 40'000'000; // how long events wait for company
constexpr std::int64_t reading = 4'000'000; // how long they may lie unread
constexpr std::int64_t resting = 250'000'000; // how long nothing is asked without events

} // namespace

X11PointerPacer::Step X11PointerPacer::next(std::int64_t now, bool hasEvents) const
{
    if (!lastAsk_)
        return {.mustAsk = true};
    const std::int64_t due = *lastAsk_ + (hasEvents ? gathering : resting);
    if (hasEvents)
        return {.mustAsk = now >= due, .until = std::min(due, now + reading), .wakesOnEvents = false};
    return {.mustAsk = now >= due, .until = due, .wakesOnEvents = true};
}

} // namespace glimto
