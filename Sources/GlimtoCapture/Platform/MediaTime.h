#pragma once

#include <chrono>
#include <cstdint>

#include "Support/HostClock.h"

namespace glimto {

// A duration as users and documents have it.
using Seconds = std::chrono::duration<double>;

// A time or duration as an exact fraction: `value` over `timescale` seconds. Invalid when the
// timescale is not positive. Times of live media are on the host clock (monotonic).
struct MediaTime {
    std::int64_t value = 0;
    std::int32_t timescale = 0;

    static constexpr std::int32_t nanosecondTimescale = 1'000'000'000;
    static MediaTime fromNanoseconds(std::int64_t nanoseconds) { return {nanoseconds, nanosecondTimescale}; }

    static MediaTime at(HostTime time) { return fromNanoseconds(time.time_since_epoch().count()); }

    // `seconds` over `timescale`, rounded half away from zero.
    static MediaTime fromSeconds(double seconds, std::int32_t timescale);

    bool isValid() const { return timescale > 0; }
    double seconds() const;

    // The same time over another timescale, rounded half away from zero. Must be valid.
    MediaTime converted(std::int32_t newTimescale) const;
    std::int64_t nanoseconds() const { return converted(nanosecondTimescale).value; }

    friend bool operator==(const MediaTime&, const MediaTime&) = default;
};

// Over the timescale of `a` when both have the same, else in nanoseconds.
MediaTime operator-(const MediaTime& a, const MediaTime& b);
bool operator<(const MediaTime& a, const MediaTime& b);

} // namespace glimto
