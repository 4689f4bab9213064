#pragma once

#include "Platform/VideoEncoder.h"

namespace glimto {

// Where a track is cut into segments: near the multiples of the preferred interval, counted from the
// track's start.
class SegmentBoundaries {
public:
    // Both greater than 0. An interval shorter than a frame means one segment a frame.
    SegmentBoundaries(VideoTime interval, VideoTime frameDuration);

    // Whether a frame at `time` starts a segment: the first one does, and the one nearest to each boundary.
    bool startsSegment(VideoTime time) const;

    // Whether the boundary lies so far before `time` that the picture standing there has to be
    // repeated on it; `boundary()` is where.
    bool needsRepeatBefore(VideoTime time) const { return time >= next_ + frameDuration_; }
    VideoTime boundary() const { return next_; }

    // A segment starts at `time`; the next boundary is the first multiple that leaves it a frame's length.
    void startSegment(VideoTime time);

private:
    VideoTime interval_;
    VideoTime frameDuration_;
    VideoTime next_{0};
};

} // namespace glimto
