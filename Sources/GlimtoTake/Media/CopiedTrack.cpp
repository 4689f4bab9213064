#include "GlimtoTake/Media/CopiedTrack.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "GlimtoTake/Media/Decoder.h"
#include "GlimtoTake/Media/SoundSegments.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"

namespace glimto {

namespace {

constexpr const char* failure = "Could not copy the take";

std::int64_t ticks(const ExaminedTrack& track, double seconds)
{
    return static_cast<std::int64_t>(std::llround(seconds * track.facts.timescale));
}

} // namespace

std::unique_ptr<CopiedTrack> CopiedTrack::ofPictures(const ExaminedTrack& video, const TakeSpan& span)
{
    const std::int64_t start = ticks(video, span.from);
    const std::size_t first = pieceAt(video, span.from + 0.5 / video.facts.timescale);
    const bool isAtKeyframe = start <= video.pieces[first].content.start;
    const std::size_t copied = isAtKeyframe ? first : first + 1;
    const std::int64_t copiedFrom
        = copied < video.pieces.size() ? video.pieces[copied].content.start : video.pieces.back().content.end;
    std::unique_ptr<CopiedTrack> track(new CopiedTrack(
        video, std::min(copied, video.pieces.size() - 1), start, copiedFrom, ticks(video, span.to)));
    if (!isAtKeyframe)
        track->putFirst(encodeFirstPictures(video, first, start));
    return track;
}

std::unique_ptr<CopiedTrack> CopiedTrack::ofSound(const ExaminedTrack& audio, const TakeSpan& span)
{
    const std::int64_t start = ticks(audio, span.from);
    const std::int64_t earliest = start - 2 * soundBlockTicks + 1;
    const double seconds = std::max(0.0, audio.facts.seconds(earliest));
    std::unique_ptr<CopiedTrack> track(
        new CopiedTrack(audio, pieceAt(audio, seconds), start, earliest, ticks(audio, span.to)));
    track->parameters_->frame_size = static_cast<int>(soundBlockTicks);
    return track;
}

CopiedTrack::CopiedTrack(const ExaminedTrack& track, std::size_t firstPiece, std::int64_t origin,
    std::int64_t earliest, std::int64_t end)
    : reader_(*track.files.initializationSegment, track.mediaPieces(firstPiece))
    , parameters_(requireAllocated(avcodec_parameters_alloc(), failure))
    , origin_(origin)
    , earliest_(earliest)
    , end_(std::min(end, track.pieces.back().content.end))
    , next_(makePacket())
{
    requireFFmpeg(avcodec_parameters_copy(parameters_.get(), reader_.stream().codecpar), failure);
}

void CopiedTrack::putFirst(FirstPictures pictures)
{
    const auto& bytes = pictures.decoderConfiguration;
    auto* data = static_cast<std::uint8_t*>(
        requireAllocated(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE), failure));
    std::memcpy(data, bytes.data(), bytes.size());
    av_freep(&parameters_->extradata);
    parameters_->extradata = data;
    parameters_->extradata_size = static_cast<int>(bytes.size());
    first_ = std::move(pictures.packets);
}

double CopiedTrack::nextSeconds() const
{
    return static_cast<double>(next_->dts) / reader_.stream().time_base.den;
}

void CopiedTrack::advance()
{
    hasNext_ = false;
    if (!first_.empty()) {
        next_ = std::move(first_.front());
        first_.pop_front();
        if (next_->pts < end_)
            return take();
        first_.clear();
    }
    while (reader_.read(*next_)) {
        if (next_->pts < earliest_)
            continue;
        // What is decoded later and shown earlier is predicted from it, so it is left out as well.
        if (next_->pts >= end_)
            return;
        return take();
    }
}

// The last packet lasts as long as is left; each before it until the next one.
void CopiedTrack::take()
{
    next_->duration = end_ - next_->pts;
    next_->pts -= origin_;
    next_->dts -= origin_;
    hasNext_ = true;
}

} // namespace glimto
