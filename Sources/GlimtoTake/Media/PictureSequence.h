#pragma once

#include <cstdint>
#include <optional>

#include "GlimtoTake/Media/Decoder.h"
#include "GlimtoTake/Media/TakeSpan.h"

namespace glimto {

// The pictures of a span as they change, at most so many a second: a picture that stands is there once. The
// first one has time 0, whenever it was taken. Times are in ticks of the track from the span's start.
class PictureSequence {
public:
    // `framesPerSecond` of 0 gives every picture.
    PictureSequence(
        const ExaminedTrack& video, const TakeSpan& span, double framesPerSecond, int threadCount);

    // False at the end.
    bool next(AVFrame& frame);

    std::int64_t end() const { return end_; }

private:
    bool decode();
    std::int64_t shownAt(std::int64_t time) const;

    TrackDecoder decoder_;
    FrameHandle ahead_;
    bool hasAhead_ = false;
    const std::int64_t start_;
    const std::int64_t end_;
    double stepTicks_ = 0;
    bool isFirst_ = true;
};

} // namespace glimto
