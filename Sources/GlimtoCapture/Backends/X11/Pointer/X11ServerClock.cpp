#include "Backends/X11/Pointer/X11ServerClock.h"

#include <algorithm>

namespace glimto {

namespace {

constexpr std::int64_t millisecond = 1'000'000;

} // namespace

void X11ServerClock::add(const Measurement& measurement)
{
    if (measurement.after < measurement.before)
        return;
    measurements_.push_back(measurement);
    if (measurements_.size() > mostMeasurements)
        measurements_.pop_front();
    settle();
}

// All measurements together narrow the offset down. When they contradict each other the clocks drift, or
// a stamp was old when it was sent: then the older ones are given up.
void X11ServerClock::settle()
{
    Offset common = offset(measurements_.back());
    for (auto measurement = std::next(measurements_.rbegin()); measurement != measurements_.rend();
         ++measurement) {
        const Offset other = offset(*measurement);
        const Offset both{std::max(common.least, other.least), std::min(common.most, other.most)};
        if (both.least > both.most) {
            measurements_.erase(measurements_.begin(), measurement.base());
            break;
        }
        common = both;
    }
    // A server on this machine counts the milliseconds of the host clock itself.
    const bool mayBeTheSameClock = common.least <= 0 && common.most >= 0;
    offset_ = mayBeTheSameClock ? 0 : common.least + (common.most - common.least) / 2;
}

X11ServerClock::Offset X11ServerClock::offset(const Measurement& measurement) const
{
    const std::int64_t begin = unwrapped(measurement.stamp, measurement.after) * millisecond;
    return {measurement.before - (begin + millisecond), measurement.after - begin};
}

std::int64_t X11ServerClock::unwrapped(std::uint32_t stamp, std::int64_t now) const
{
    const std::int64_t expected = (now - offset_) / millisecond;
    const auto difference = static_cast<std::int32_t>(stamp - static_cast<std::uint32_t>(expected));
    return expected + difference;
}

std::int64_t X11ServerClock::hostTime(std::uint32_t stamp, std::int64_t now) const
{
    return unwrapped(stamp, now) * millisecond + millisecond / 2 + offset_;
}

} // namespace glimto
