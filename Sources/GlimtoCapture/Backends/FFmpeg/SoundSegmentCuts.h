#pragma once

#include <cstdint>

#include "Platform/MediaTime.h"

namespace glimto {

// Where a track of encoded sound is cut into segments: at the ends of the encoder's blocks that are nearest
// to the multiples of the preferred interval, counted from the track's start. Times are in frames.
class SoundSegmentCuts {
public:
    // All greater than 0. An interval shorter than a block means one segment a block.
    SoundSegmentCuts(MediaTime interval, std::int32_t sampleRate, std::int64_t framesPerBlock);

    // Where the current segment ends.
    std::int64_t next() const { return next_; }

    // The current segment has ended at next().
    void advance();

private:
    MediaTime interval_;
    std::int32_t sampleRate_;
    std::int64_t framesPerBlock_;
    std::int64_t multiple_ = 0; // next_ lies near this many intervals
    std::int64_t next_ = 0;
};

} // namespace glimto
