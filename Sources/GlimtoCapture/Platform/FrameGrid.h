#pragma once

#include <chrono>
#include <cstdint>

#include "Platform/MediaTime.h"
#include "Support/HostClock.h"

namespace glimto {

// How long nothing changes before a stream delivers the last picture again: the first time, which is when an
// encoder may make finer what rests, and from then on.
inline constexpr std::chrono::milliseconds firstRepetitionAfter(250);
inline constexpr std::chrono::milliseconds nextRepetitionAfter(500);

// The moments at which a stream may take pictures: whole multiples of the frame interval after the
// first picture. Absolute, so that delays never add up.
//
// Example: 30 frames a second from 0: the point at or after 40 ms is 66'666'666 ns.
class FrameGrid {
public:
    // An interval that is not a positive time stands for 1/60 s.
    explicit FrameGrid(MediaTime interval);

    // Makes `time` the first point.
    void begin(HostTime time) { origin_ = time; }

    HostTime pointAtOrAfter(HostTime time) const { return point(indexAtOrAfter(time)); }
    HostTime pointAfter(HostTime time) const { return pointAtOrAfter(time + HostClock::duration(1)); }

    // The first point when `time` lies before it.
    HostTime pointAtOrBefore(HostTime time) const;

private:
    HostTime point(std::int64_t index) const;
    std::int64_t indexAtOrAfter(HostTime time) const;

    MediaTime interval_;
    HostTime origin_;
};

} // namespace glimto
