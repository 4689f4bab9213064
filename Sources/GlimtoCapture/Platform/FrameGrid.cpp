#include "Platform/FrameGrid.h"

namespace glimto {

FrameGrid::FrameGrid(MediaTime interval)
    : interval_(interval.isValid() && interval.value > 0 ? interval : MediaTime{1, 60})
{
}

HostTime FrameGrid::pointAtOrBefore(HostTime time) const
{
    const std::int64_t index = indexAtOrAfter(time);
    const HostTime after = point(index);
    return after > time && index > 0 ? point(index - 1) : after;
}

HostTime FrameGrid::point(std::int64_t index) const
{
    // Whole seconds and the rest apart: their product with 10^9 would not fit for long.
    const std::int64_t ticks = index * interval_.value;
    const std::int64_t rest = ticks % interval_.timescale;
    return origin_ + std::chrono::seconds(ticks / interval_.timescale)
        + HostClock::duration(rest * MediaTime::nanosecondTimescale / interval_.timescale);
}

std::int64_t FrameGrid::indexAtOrAfter(HostTime time) const
{
    if (time <= origin_)
        return 0;
    const std::chrono::duration<double> elapsed = time - origin_;
    auto index = static_cast<std::int64_t>(
        elapsed.count() * static_cast<double>(interval_.timescale) / static_cast<double>(interval_.value));
    // The quotient is inexact by at most a few units.
    while (point(index) < time)
        ++index;
    while (index > 0 && point(index - 1) >= time)
        --index;
    return index;
}

} // namespace glimto
