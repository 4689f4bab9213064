#include "Backends/FFmpeg/SoundSegmentCuts.h"

namespace glimto {

SoundSegmentCuts::SoundSegmentCuts(MediaTime interval, std::int32_t sampleRate, std::int64_t framesPerBlock)
    : interval_(interval)
    , sampleRate_(sampleRate)
    , framesPerBlock_(framesPerBlock)
{
    advance();
}

void SoundSegmentCuts::advance()
{
    const std::int64_t start = next_;
    if (interval_ < MediaTime{framesPerBlock_, sampleRate_}) {
        next_ = start + framesPerBlock_;
        return;
    }
    while (next_ <= start) {
        multiple_ += 1;
        // From the whole multiple, so that a rounded interval does not add up.
        const MediaTime boundary = {multiple_ * interval_.value, interval_.timescale};
        const std::int64_t frames = boundary.converted(sampleRate_).value;
        next_ = (frames + framesPerBlock_ / 2) / framesPerBlock_ * framesPerBlock_;
    }
}

} // namespace glimto
