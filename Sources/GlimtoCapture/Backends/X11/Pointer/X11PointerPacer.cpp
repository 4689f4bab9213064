#include "Backends/X11/Pointer/X11PointerPacer.h"

#include <algorithm>

namespace glimto {

namespace {

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t timeToRest = 2000 * millisecond;
constexpr double nanosecondsPerCredit = 16.0 * millisecond;

} // namespace

X11PointerPacer::Step X11PointerPacer::next(std::int64_t now, bool hasEvents) const
{
    if (!hasAsked_)
        return {.mustAsk = true};
    if (hasEvents) {
        const std::int64_t due = creditsAt(now) >= 1 ? now : lastAsk_ + pace_.gathering;
        return {.mustAsk = now >= due, .until = std::min(due, now + pace_.reading), .wakesOnEvents = false};
    }
    const bool rests = now - lastActivity_ >= timeToRest;
    const std::int64_t due = lastAsk_ + (rests ? pace_.resting : pace_.active);
    return {.mustAsk = now >= due, .until = due, .wakesOnEvents = true};
}

void X11PointerPacer::didAsk(std::int64_t now)
{
    credits_ = std::max(0.0, creditsAt(now) - 1);
    hasAsked_ = true;
    lastAsk_ = now;
}

double X11PointerPacer::creditsAt(std::int64_t now) const
{
    return std::min(pace_.mostCredits, credits_ + static_cast<double>(now - lastAsk_) / nanosecondsPerCredit);
}

} // namespace glimto
