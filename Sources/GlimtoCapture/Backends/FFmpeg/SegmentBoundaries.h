#pragma once

#include <cstdint>

namespace glimto {

// Where a track is cut into segments: near the multiples of the preferred interval, counted from the
// track's start. All times are in ticks of the track's timescale.
class SegmentBoundaries {
public:
    // Both greater than 0. An interval shorter than a frame means one segment a frame.
    SegmentBoundaries(std::int64_t intervalTicks, std::int64_t frameTicks);

    // Whether a frame at `time` starts a segment: the first one does, and the one nearest to each boundary.
    bool startsSegment(std::int64_t time) const;

    // Whether the boundary lies so far before `time` that the picture standing there has to be
    // repeated on it; `boundary()` is where.
    bool needsRepeatBefore(std::int64_t time) const { return time >= next_ + frameTicks_; }
    std::int64_t boundary() const { return next_; }

    // A segment starts at `time`; the next boundary is the first multiple that leaves it a frame's length.
    void startSegment(std::int64_t time);

private:
    std::int64_t intervalTicks_;
    std::int64_t frameTicks_;
    std::int64_t next_ = 0;
};

} // namespace glimto
