#include "Platform/FrameGrid.h"

namespace glimto {

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

} // namespace

FrameGrid::FrameGrid(MediaTime interval)
    : interval_(interval.isValid() && interval.value > 0 ? interval : MediaTime{1, 60})
{
}

std::int64_t FrameGrid::pointAtOrBefore(std::int64_t nanoseconds) const
{
    const std::int64_t index = indexAtOrAfter(nanoseconds);
    const std::int64_t after = point(index);
    return after > nanoseconds && index > 0 ? point(index - 1) : after;
}

std::int64_t FrameGrid::point(std::int64_t index) const
{
    // Whole seconds and the rest apart: their product with 10^9 would not fit for long.
    const std::int64_t ticks = index * interval_.value;
    const std::int64_t seconds = ticks / interval_.timescale;
    const std::int64_t rest = ticks % interval_.timescale;
    return origin_ + seconds * nanosecondsPerSecond + rest * nanosecondsPerSecond / interval_.timescale;
}

std::int64_t FrameGrid::indexAtOrAfter(std::int64_t nanoseconds) const
{
    if (nanoseconds <= origin_)
        return 0;
    const double seconds
        = static_cast<double>(nanoseconds - origin_) / static_cast<double>(nanosecondsPerSecond);
    auto index = static_cast<std::int64_t>(
        seconds * static_cast<double>(interval_.timescale) / static_cast<double>(interval_.value));
    // The quotient is inexact by at most a few units.
    while (point(index) < nanoseconds)
        ++index;
    while (index > 0 && point(index - 1) >= nanoseconds)
        --index;
    return index;
}

} // namespace glimto
