#include "Backends/FFmpeg/FFmpegAssetWriter.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace glimto {

namespace {

constexpr std::int32_t timescale = 90'000;
constexpr int mostFramesHeld = 2;

// A longer segment is written in several fragments, so that memory stays flat.
constexpr std::size_t largestFragmentBytes = std::size_t{4} * 1024 * 1024;

// A picture coarser than this is refined while it stands still, this much at a time.
constexpr int quantizerOfRest = 22;
constexpr int refinementStep = 8;

// The last frame's own duration, at most.
constexpr std::int64_t longestLastFrameTicks = timescale / 30;

PixelRect wholePicture(const PixelBuffer& pixels)
{
    return {0, 0, pixels.width, pixels.height};
}

} // namespace

std::unique_ptr<FFmpegAssetWriter> FFmpegAssetWriter::make(
    const VideoEncodingSettings& settings, MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
{
    auto encoder = X264Encoder::make(settings, timescale);
    if (!encoder)
        return nullptr;
    return std::unique_ptr<FFmpegAssetWriter>(
        new FFmpegAssetWriter(settings, preferredSegmentInterval, delegate, std::move(encoder)));
}

FFmpegAssetWriter::FFmpegAssetWriter(const VideoEncodingSettings& settings,
    MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate, std::unique_ptr<X264Encoder> encoder)
    : settings_(settings)
    , frameTicks_(timescale / std::max(settings.framesPerSecond, 1))
    , encoder_(std::move(encoder))
    , picture_(settings.width, settings.height)
    , muxer_(VideoTrackDescription{.width = picture_.width(),
          .height = picture_.height(),
          .timescale = timescale,
          .decoderConfiguration = encoder_->decoderConfiguration(),
          .averageBitRate = settings.averageBitRate})
    , boundaries_(preferredSegmentInterval.converted(timescale).value, frameTicks_)
    , rate_(settings.averageBitRate, settings.framesPerSecond, picture_.macroblockCount())
    , task_("glimto.capture.encoder", muxer_, delegate)
{
}

bool FFmpegAssetWriter::startWriting()
{
    return task_.start();
}

bool FFmpegAssetWriter::isReadyForMoreMediaData() const
{
    return framesHeld_ < mostFramesHeld && task_.isWriting();
}

bool FFmpegAssetWriter::append(const VideoFrame& frame)
{
    if (!frame.pixels || !frame.presentationTime.isValid() || !isReadyForMoreMediaData())
        return false;
    const std::int64_t time = frame.presentationTime.converted(timescale).value;
    if (time <= lastAppendedTime_)
        return false;
    if (frame.pixels->width != settings_.width || frame.pixels->height != settings_.height)
        return false;
    lastAppendedTime_ = time;
    framesHeld_ += 1;
    task_.post([this, frame] { encodeFrame(frame); }, [this] { framesHeld_ -= 1; });
    return true;
}

AssetWriterStatus FFmpegAssetWriter::finishWriting()
{
    return task_.finish([this] { finishTrack(); });
}

void FFmpegAssetWriter::cancelWriting()
{
    task_.cancel();
}

AssetWriterStatus FFmpegAssetWriter::status() const
{
    return task_.status();
}

std::string FFmpegAssetWriter::error() const
{
    return task_.error();
}

void FFmpegAssetWriter::encodeFrame(const VideoFrame& frame)
{
    const std::int64_t time = frame.presentationTime.converted(timescale).value;
    repeatOnBoundariesBefore(time);
    const bool followsLast = lastSequenceNumber_ && *lastSequenceNumber_ + 1 == frame.sequenceNumber;
    const bool startsSegment = boundaries_.startsSegment(time);
    lastSequenceNumber_ = frame.sequenceNumber;
    if (followsLast && frame.changedRects.empty()) {
        refineOrHold(time, startsSegment);
        return;
    }
    if (followsLast)
        picture_.update(*frame.pixels, frame.changedRects);
    else
        picture_.update(*frame.pixels, std::vector{wholePicture(*frame.pixels)});
    encodePicture(time, startsSegment);
}

// A picture that stands still is not seen again at a segment's start, but the segment needs it there.
void FFmpegAssetWriter::repeatOnBoundariesBefore(std::int64_t time)
{
    while (held_ && !task_.isCancelled() && boundaries_.needsRepeatBefore(time)) {
        picture_.markAllUnchanged();
        encodePicture(boundaries_.boundary(), true);
    }
}

void FFmpegAssetWriter::refineOrHold(std::int64_t time, bool startsSegment)
{
    picture_.markAllUnchanged();
    if (startsSegment)
        encodePicture(time, true);
    else if (heldQuantizer_ > quantizerOfRest)
        encodePicture(time, false, std::max(heldQuantizer_ - refinementStep, quantizerOfRest));
    else
        lastTime_ = time;
}

void FFmpegAssetWriter::encodePicture(std::int64_t time, bool startsSegment, std::optional<int> quantizer)
{
    const auto kind = startsSegment ? PictureKind::keyframe : PictureKind::predicted;
    const double secondsSinceLast = held_ ? static_cast<double>(time - held_->time) / timescale : 0;
    // What is refined changes all over, whatever the screen did.
    const int changed = quantizer ? picture_.macroblockCount() : picture_.changedMacroblockCount();
    const int chosen = rate_.chooseQuantizer(kind, changed, secondsSinceLast);
    const int used = quantizer.value_or(chosen);
    EncodedPicture encoded = encoder_->encode(picture_, time, kind, used);
    rate_.pictureEncoded(kind, used, static_cast<std::int64_t>(encoded.data.size()) * 8);
    if (held_)
        writeHeldPicture(time);
    if (startsSegment) {
        if (held_)
            endSegment(time);
        segmentStart_ = time;
        boundaries_.startSegment(time);
    }
    held_ = std::move(encoded);
    heldQuantizer_ = used;
    lastTime_ = time;
}

void FFmpegAssetWriter::writeHeldPicture(std::int64_t endTime)
{
    muxer_.addSample(held_->data, held_->time, endTime - held_->time, held_->isKeyframe);
    if (muxer_.pendingBytes() >= largestFragmentBytes)
        task_.deliverFragment();
}

void FFmpegAssetWriter::endSegment(std::int64_t endTime)
{
    task_.deliverSegment({.duration = MediaTime{endTime - segmentStart_, timescale},
        .earliestPresentationTime = MediaTime{segmentStart_, timescale}});
}

void FFmpegAssetWriter::finishTrack()
{
    if (!held_)
        return;
    // Many readers take a track to end with its last frame's time, so a picture that stood still until
    // the end is there once more.
    if (lastTime_ - held_->time >= frameTicks_) {
        picture_.markAllUnchanged();
        encodePicture(lastTime_, false);
    }
    const std::int64_t endTime = lastTime_ + std::min(frameTicks_, longestLastFrameTicks);
    writeHeldPicture(endTime);
    endSegment(endTime);
    held_.reset();
}

} // namespace glimto
