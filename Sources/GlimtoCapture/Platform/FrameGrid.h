#pragma once

#include <cstdint>

#include "Platform/MediaTime.h"

namespace glimto {

// The moments at which a stream may take pictures: whole multiples of the frame interval after the
// first picture. Absolute, so that delays never add up. All times are nanoseconds of the host clock.
//
// Example: 30 frames a second from 0: the point at or after 40'000'000 is 66'666'666.
class FrameGrid {
public:
    // An interval that is not a positive time stands for 1/60 s.
    explicit FrameGrid(MediaTime interval);

    // Makes `nanoseconds` the first point.
    void begin(std::int64_t nanoseconds) { origin_ = nanoseconds; }

    std::int64_t pointAtOrAfter(std::int64_t nanoseconds) const { return point(indexAtOrAfter(nanoseconds)); }
    std::int64_t pointAfter(std::int64_t nanoseconds) const { return pointAtOrAfter(nanoseconds + 1); }

    // The first point when `nanoseconds` lies before it.
    std::int64_t pointAtOrBefore(std::int64_t nanoseconds) const;

private:
    std::int64_t point(std::int64_t index) const;
    std::int64_t indexAtOrAfter(std::int64_t nanoseconds) const;

    MediaTime interval_;
    std::int64_t origin_ = 0;
};

} // namespace glimto
