#include "Backends/FFmpeg/FFmpegAudioAssetWriter.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace glimto {

namespace {

constexpr std::int64_t framesPerBlock = AACEncoder::framesPerBlock;
constexpr int mostWaitingSeconds = 2;
constexpr int heldSeconds = 1;

// A longer segment is written in several fragments, so that memory stays flat.
constexpr std::size_t largestFragmentBytes = std::size_t{256} * 1024;

// Room for the buffer that comes when not quite all of the waiting sound is there.
constexpr int spareSeconds = 1;

constexpr int tolerancePerSecond = 1000; // a millisecond

SoundQueue makeSoundQueue(const AudioEncodingSettings& settings)
{
    const int frames = (mostWaitingSeconds + spareSeconds) * settings.sampleRate;
    return SoundQueue(settings.channelCount, static_cast<std::size_t>(frames),
        std::max(settings.sampleRate / tolerancePerSecond, 1));
}

} // namespace

std::unique_ptr<FFmpegAudioAssetWriter> FFmpegAudioAssetWriter::make(
    const AudioEncodingSettings& settings, MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
{
    auto encoder = AACEncoder::make(settings);
    if (!encoder)
        return nullptr;
    return std::unique_ptr<FFmpegAudioAssetWriter>(
        new FFmpegAudioAssetWriter(settings, preferredSegmentInterval, delegate, std::move(encoder)));
}

FFmpegAudioAssetWriter::FFmpegAudioAssetWriter(const AudioEncodingSettings& settings,
    MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate, std::unique_ptr<AACEncoder> encoder)
    : format_{settings.sampleRate, settings.channelCount, AudioSampleType::float32, AudioLayout::interleaved}
    , state_(State(makeSoundQueue(settings)))
    , encoder_(std::move(encoder))
    , muxer_(AudioTrackDescription{.sampleRate = settings.sampleRate,
          .channelCount = settings.channelCount,
          .decoderConfiguration = encoder_->decoderConfiguration(),
          .averageBitRate = settings.averageBitRate})
    , cuts_(preferredSegmentInterval, settings.sampleRate, framesPerBlock)
    , block_(static_cast<std::size_t>(framesPerBlock * settings.channelCount))
    , task_("glimto.capture.audio-encoder", muxer_, delegate)
{
}

bool FFmpegAudioAssetWriter::isReadyForMoreMediaData() const
{
    const auto most = static_cast<std::size_t>(mostWaitingSeconds * format_.sampleRate);
    return task_.isWriting()
        && state_.with([&](const State& state) { return state.sound.soundFrameCount() < most; });
}

bool FFmpegAudioAssetWriter::append(const AudioBuffer& buffer)
{
    if (buffer.format != format_ || !buffer.isReady || !buffer.presentationTime.isValid()
        || buffer.dataStatus() != AudioDataStatus::whole || !isReadyForMoreMediaData())
        return false;
    const std::int64_t start = buffer.presentationTime.converted(format_.sampleRate).value;
    const auto samples = buffer.bytes.first(buffer.frameCount * format_.bytesPerFrame());
    post([&](State& state) { state.sound.append(start, samples); });
    return true;
}

void FFmpegAudioAssetWriter::fillWithSilence(MediaTime end)
{
    if (end.isValid() && task_.isWriting())
        post([&](State& state) { state.sound.fillWithSilence(end.converted(format_.sampleRate).value); });
}

void FFmpegAudioAssetWriter::endSession(MediaTime end)
{
    if (end.isValid())
        state_.with([&](State& state) {
            state.sessionEnd = std::max(end.converted(format_.sampleRate).value, std::int64_t{0});
        });
}

// Changes what waits to be encoded and sees that it will be.
void FFmpegAudioAssetWriter::post(const std::function<void(State&)>& change)
{
    const bool isFirst = state_.with([&](State& state) {
        change(state);
        return !std::exchange(state.isEncodingPosted, true);
    });
    if (isFirst)
        task_.post([this] { encodeWaitingSound(); });
}

void FFmpegAudioAssetWriter::encodeWaitingSound()
{
    state_.with([](State& state) { state.isEncodingPosted = false; });
    while (!task_.isCancelled() && fillBlock())
        encodeBlock();
}

// Whether the block is full.
bool FFmpegAudioAssetWriter::fillBlock()
{
    const auto channelCount = static_cast<std::size_t>(format_.channelCount);
    const auto rest = std::span(block_).subspan(blockFrames_ * channelCount);
    blockFrames_ += state_.with([&](State& state) { return state.sound.take(rest); });
    return blockFrames_ == static_cast<std::size_t>(framesPerBlock);
}

void FFmpegAudioAssetWriter::encodeBlock()
{
    auto sound = encoder_->encode(block_);
    blockFrames_ = 0;
    // The encoder's first output, for before time zero, is left out, so that sound lies right without an
    // edit list. Measured with clicks: so decoded, they lie to the sample where they were appended with
    // ffmpeg, GStreamer (avdec_aac), both from the playlist as well, and Chromium (media source). With that
    // output and an edit list, Chromium and qtdemux were right, but hlsdemux was 1024 frames late, as was
    // the sound that ffmpeg writes to a file. The price: the first 21 ms fade in.
    if (!sound || sound->time < 0)
        return;
    held_.push_back(std::move(*sound));
    writeHeldSound(heldSeconds * format_.sampleRate);
}

void FFmpegAudioAssetWriter::writeHeldSound(std::int64_t keptFrames)
{
    while (!task_.isCancelled() && static_cast<std::int64_t>(held_.size()) * framesPerBlock > keptFrames) {
        writeSound(held_.front(), held_.front().time + framesPerBlock);
        held_.pop_front();
    }
}

void FFmpegAudioAssetWriter::writeSound(const EncodedSound& sound, std::int64_t endTime)
{
    assert(sound.time == writtenEnd_);
    muxer_.addSample(sound.data,
        {.decodeTime = sound.time, .duration = endTime - sound.time, .time = sound.time, .isKeyframe = true});
    writtenEnd_ = endTime;
    if (writtenEnd_ == cuts_.next()) {
        endSegment();
        cuts_.advance();
    } else if (muxer_.pendingBytes() >= largestFragmentBytes) {
        task_.deliverFragment();
    }
}

void FFmpegAudioAssetWriter::endSegment()
{
    if (writtenEnd_ == segmentStart_)
        return;
    const SegmentReport report = {.duration = MediaTime{writtenEnd_ - segmentStart_, format_.sampleRate},
        .earliestPresentationTime = MediaTime{segmentStart_, format_.sampleRate}};
    segmentStart_ = writtenEnd_;
    task_.deliverSegment(report);
}

void FFmpegAudioAssetWriter::finishTrack()
{
    const std::int64_t end = settleEnd();
    encodeUntil(end);
    while (!held_.empty() && !task_.isCancelled()) {
        const EncodedSound& sound = held_.front();
        if (sound.time < end)
            writeSound(sound, std::min(sound.time + framesPerBlock, end));
        held_.pop_front();
    }
    endSegment();
}

// Where the track ends, in frames. What waits reaches exactly there, or further where it was encoded already.
std::int64_t FFmpegAudioAssetWriter::settleEnd()
{
    return state_.with([](State& state) {
        const std::int64_t end = state.sessionEnd.value_or(state.sound.end());
        state.sound.fillWithSilence(end);
        return end;
    });
}

// Encodes sound, and silence after its end, until all before `end` has come out of the encoder.
void FFmpegAudioAssetWriter::encodeUntil(std::int64_t end)
{
    const auto outputEnd
        = [this] { return held_.empty() ? writtenEnd_ : held_.back().time + framesPerBlock; };
    while (!task_.isCancelled() && outputEnd() < end) {
        if (!fillBlock()) {
            state_.with(
                [](State& state) { state.sound.fillWithSilence(state.sound.end() + framesPerBlock); });
            continue;
        }
        encodeBlock();
    }
}

} // namespace glimto
