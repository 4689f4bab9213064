#include "GlimtoTake/Media/PictureSequence.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/frame.h>
}

#include "GlimtoTake/Media/TakeMediaHandles.h"

namespace glimto {

PictureSequence::PictureSequence(
    const ExaminedTrack& video, const TakeSpan& span, double framesPerSecond, int threadCount)
    : decoder_(video, pieceAt(video, span.from), threadCount)
    , ahead_(makeFrame())
    , start_(std::llround(span.from * video.facts.timescale))
    , end_(std::llround(span.duration() * video.facts.timescale))
    , stepTicks_(framesPerSecond > 0 ? video.facts.timescale / framesPerSecond : 0)
{
    decode();
}

bool PictureSequence::decode()
{
    hasAhead_ = decoder_.next(*ahead_);
    return hasAhead_;
}

// The next point of the grid, or the time itself without one.
std::int64_t PictureSequence::shownAt(std::int64_t time) const
{
    if (time <= 0)
        return 0;
    if (stepTicks_ <= 0)
        return time;
    constexpr double early = 0.25; // of a step: stamps lie a little around the even grid
    return std::llround(std::ceil(static_cast<double>(time) / stepTicks_ - early) * stepTicks_);
}

bool PictureSequence::next(AVFrame& frame)
{
    av_frame_unref(&frame);
    if (!hasAhead_)
        return false;
    const std::int64_t shown = isFirst_ ? 0 : shownAt(ahead_->pts - start_);
    if (shown >= end_)
        return false;
    // Of several pictures for one point the last one is seen.
    do {
        av_frame_unref(&frame);
        av_frame_move_ref(&frame, ahead_.get());
    } while (decode() && shownAt(ahead_->pts - start_) <= shown);
    frame.pts = shown;
    frame.pict_type = AV_PICTURE_TYPE_NONE;
    isFirst_ = false;
    return true;
}

} // namespace glimto
