#include "Backends/MP4/SegmentBoundaries.h"

#include <algorithm>

namespace glimto {

SegmentBoundaries::SegmentBoundaries(VideoTime interval, VideoTime frameDuration)
    : interval_(std::max(interval, VideoTime(1)))
    , frameDuration_(std::max(frameDuration, VideoTime(1)))
{
}

bool SegmentBoundaries::startsSegment(VideoTime time) const
{
    // Half a frame early counts as on time: frames are stamped when they were taken, some ten
    // microseconds around the even grid.
    return time >= next_ - frameDuration_ / 2;
}

void SegmentBoundaries::startSegment(VideoTime time)
{
    const VideoTime earliest = time + frameDuration_ - frameDuration_ / 4;
    next_ = (earliest + interval_ - VideoTime(1)) / interval_ * interval_;
}

} // namespace glimto
