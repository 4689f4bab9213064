#include "Backends/MP4/MP4VideoAssetWriter.h"

#include <algorithm>
#include <array>
#include <utility>

namespace glimto {

namespace {

// As many as a stream keeps in flight: at 3840x2160 a keyframe takes longer than two frames last.
constexpr int mostFramesHeld = 3;

// A longer segment is written in several fragments, so that memory stays flat.
constexpr std::size_t largestFragmentBytes = std::size_t{4} * 1024 * 1024;

// The last frame's own duration, at most.
constexpr VideoTime longestLastFrame = VideoTime(std::chrono::seconds(1)) / 30;

} // namespace

std::unique_ptr<MP4VideoAssetWriter> MP4VideoAssetWriter::make(VideoEncoderFactory& encoders,
    const VideoEncodingSettings& settings, MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
{
    auto encoder = encoders.makeEncoder(settings);
    if (!encoder)
        return nullptr;
    return std::unique_ptr<MP4VideoAssetWriter>(
        new MP4VideoAssetWriter(settings, preferredSegmentInterval, delegate, std::move(encoder)));
}

MP4VideoAssetWriter::MP4VideoAssetWriter(const VideoEncodingSettings& settings,
    MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate, std::unique_ptr<VideoEncoder> encoder)
    : settings_(settings)
    , codec_(encoder->codec())
    , frameDuration_(VideoTime(std::chrono::seconds(1)) / std::max(settings.framesPerSecond, 1))
    , encoder_(std::move(encoder))
    , muxer_(VideoTrackDescription{.samples = encoder_->sampleDescription(),
          .timescale = VideoTime::period::den,
          .averageBitRate = settings.averageBitRate})
    , boundaries_(videoTime(preferredSegmentInterval), frameDuration_)
    , task_("glimto.capture.encoder", muxer_, delegate)
{
}

bool MP4VideoAssetWriter::isReadyForMoreMediaData() const
{
    return framesHeld_ < mostFramesHeld && task_.isWriting();
}

bool MP4VideoAssetWriter::append(const VideoFrame& frame)
{
    if (!frame.picture || !frame.presentationTime.isValid() || !isReadyForMoreMediaData())
        return false;
    const VideoTime time = videoTime(frame.presentationTime);
    if (time <= lastAppendedTime_)
        return false;
    if (frame.picture->width() != settings_.width || frame.picture->height() != settings_.height)
        return false;
    lastAppendedTime_ = time;
    framesHeld_ += 1;
    task_.post([this, frame] { encodeFrame(frame); }, [this] { framesHeld_ -= 1; });
    return true;
}

void MP4VideoAssetWriter::encodeFrame(const VideoFrame& frame)
{
    const VideoTime time = videoTime(frame.presentationTime);
    repeatOnBoundariesBefore(time);
    const bool followsLast = lastSequenceNumber_ && *lastSequenceNumber_ + 1 == frame.sequenceNumber;
    lastSequenceNumber_ = frame.sequenceNumber;
    lastTime_ = time;
    if (followsLast && frame.changedRects.empty() && !boundaries_.startsSegment(time))
        return refine(time);
    const PictureKind kind = begin(time);
    if (!followsLast)
        take(encoder_->encode(*frame.picture, std::array{frame.picture->rect()}, time, kind));
    else if (!frame.changedRects.empty())
        take(encoder_->encode(*frame.picture, frame.changedRects, time, kind));
    else
        take(encoder_->repeat(time, kind));
}

// A picture that stands still is not seen again at a segment's start, but the segment needs it there.
void MP4VideoAssetWriter::repeatOnBoundariesBefore(VideoTime time)
{
    while (lastGivenTime_ && !task_.isCancelled() && boundaries_.needsRepeatBefore(time)) {
        const VideoTime boundary = boundaries_.boundary();
        take(encoder_->repeat(boundary, begin(boundary)));
    }
}

void MP4VideoAssetWriter::refine(VideoTime time)
{
    if (auto finer = encoder_->refine(time)) {
        lastGivenTime_ = time;
        take(std::move(*finer));
    }
}

// A picture of that time is about to be given to the encoder.
PictureKind MP4VideoAssetWriter::begin(VideoTime time)
{
    lastGivenTime_ = time;
    if (!boundaries_.startsSegment(time))
        return PictureKind::predicted;
    boundaries_.startSegment(time);
    nextSegmentStarts_.push_back(time);
    return PictureKind::keyframe;
}

void MP4VideoAssetWriter::take(std::vector<EncodedPicture> pictures)
{
    for (EncodedPicture& picture : pictures)
        take(std::move(picture));
}

void MP4VideoAssetWriter::take(EncodedPicture picture)
{
    if (held_)
        writeHeldPicture(picture.decodeTime);
    if (!nextSegmentStarts_.empty() && nextSegmentStarts_.front() == picture.time) {
        if (held_)
            endSegment(picture.time);
        segmentStart_ = picture.time;
        nextSegmentStarts_.pop_front();
    }
    held_ = std::move(picture);
}

void MP4VideoAssetWriter::writeHeldPicture(VideoTime endTime)
{
    muxer_.addSample(held_->data,
        {.decodeTime = held_->decodeTime.count(),
            .duration = (endTime - held_->decodeTime).count(),
            .time = held_->time.count(),
            .isKeyframe = held_->isKeyframe});
    if (muxer_.pendingBytes() >= largestFragmentBytes)
        task_.deliverFragment();
}

void MP4VideoAssetWriter::endSegment(VideoTime endTime)
{
    task_.deliverSegment({.duration = mediaTime(endTime - segmentStart_),
        .earliestPresentationTime = mediaTime(segmentStart_)});
}

void MP4VideoAssetWriter::finishTrack()
{
    if (!lastGivenTime_)
        return;
    // Many readers take a track to end with its last frame's time, so a picture that stood still until
    // the end is there once more.
    if (lastTime_ - *lastGivenTime_ >= frameDuration_)
        take(encoder_->repeat(lastTime_, PictureKind::predicted));
    take(encoder_->finish());
    const VideoTime endTime = lastTime_ + std::min(frameDuration_, longestLastFrame);
    writeHeldPicture(endTime);
    endSegment(endTime);
    held_.reset();
}

} // namespace glimto
