#include "Backends/X11/Pointer/X11ServerClock.h"

#include <algorithm>

namespace glimto {

namespace {

constexpr HostClock::duration millisecond = std::chrono::milliseconds(1);
constexpr HostClock::duration zero(0);

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
    const bool mayBeTheSameClock = common.least <= zero && common.most >= zero;
    offset_ = mayBeTheSameClock ? zero : common.least + (common.most - common.least) / 2;
}

X11ServerClock::Offset X11ServerClock::offset(const Measurement& measurement) const
{
    const HostTime begin = unwrapped(measurement.stamp, measurement.after);
    return {measurement.before - (begin + millisecond), measurement.after - begin};
}

HostTime X11ServerClock::unwrapped(std::uint32_t stamp, HostTime now) const
{
    const auto expected = (now - offset_).time_since_epoch() / millisecond;
    const auto difference = static_cast<std::int32_t>(stamp - static_cast<std::uint32_t>(expected));
    return HostTime(std::chrono::milliseconds(expected + difference));
}

HostTime X11ServerClock::hostTime(std::uint32_t stamp, HostTime now) const
{
    return unwrapped(stamp, now) + millisecond / 2 + offset_;
}

} // namespace glimto
