#include "Backends/FFmpeg/SegmentBoundaries.h"

#include <algorithm>

namespace glimto {

SegmentBoundaries::SegmentBoundaries(std::int64_t intervalTicks, std::int64_t frameTicks)
    : intervalTicks_(std::max(intervalTicks, std::int64_t{1}))
    , frameTicks_(std::max(frameTicks, std::int64_t{1}))
{
}

bool SegmentBoundaries::startsSegment(std::int64_t time) const
{
    // Half a frame early counts as on time: frames are stamped when they were taken, some ten
    // microseconds around the even grid.
    return time >= next_ - frameTicks_ / 2;
}

void SegmentBoundaries::startSegment(std::int64_t time)
{
    const std::int64_t earliest = time + frameTicks_ - frameTicks_ / 4;
    next_ = (earliest + intervalTicks_ - 1) / intervalTicks_ * intervalTicks_;
}

} // namespace glimto
