#include "Recording/SegmentedMP4Writer.h"

#include <algorithm>

#include "Recording/VideoEncodingRules.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr std::int64_t audioBitRate = 128'000;

std::chrono::nanoseconds duration(MediaTime time)
{
    return std::chrono::nanoseconds(time.nanoseconds());
}

std::chrono::nanoseconds duration(const AudioBuffer& buffer)
{
    return duration(MediaTime{static_cast<std::int64_t>(buffer.frameCount), buffer.format.sampleRate});
}

std::unique_ptr<AudioAssetWriter> makeAudioWriter(const SegmentedMP4Writer::Settings& settings,
    const Service<AudioAssetWriterFactory>& factory, AssetWriterDelegate& delegate)
{
    if (!settings.includeAudio)
        return nullptr;
    auto writer = factory.get().makeAudioWriter({.sampleRate = settings.audioSampleRate,
                                                    .channelCount = settings.audioChannelCount,
                                                    .averageBitRate = audioBitRate},
        preferredSegmentInterval(settings.segmentSeconds), delegate);
    if (!writer)
        throw CLIError("AVAssetWriter refused the AAC audio input.");
    return writer;
}

// The end of the last segment, all of which follow each other from zero on.
MediaTime endOf(const std::vector<CapturedSegment>& segments)
{
    double seconds = 0;
    for (const auto& segment : segments)
        seconds += segment.duration;
    return MediaTime::fromSeconds(seconds, MediaTime::nanosecondTimescale);
}

} // namespace

SegmentedMP4Writer::SegmentedMP4Writer(const OutputPlan& plan, const Settings& settings,
    VideoAssetWriterFactory& videoWriters, const Service<AudioAssetWriterFactory>& audioWriters,
    LineOutput& standardError)
    : standardError_(standardError)
    , figures_(settings.figures)
    , videoTrack_(plan.root, "video", settings.segmentSeconds, files_, figures_)
    , audioTrack_(plan.root, "audio", settings.segmentSeconds, files_, figures_)
    , videoWriter_(videoWriters.makeVideoWriter(videoEncodingSettings(settings.width, settings.height,
                                                    settings.framesPerSecond, settings.segmentSeconds),
          preferredSegmentInterval(settings.segmentSeconds), videoTrack_))
    , writerQueue_("glimto.capture.segmented-writer", SerialQueue::Thread::none)
{
    if (!videoWriter_)
        throw CLIError("AVAssetWriter refused the H.264 video input.");
    audioWriter_ = makeAudioWriter(settings, audioWriters, audioTrack_);
}

SegmentedMP4Writer::~SegmentedMP4Writer()
{
    cancel();
}

void SegmentedMP4Writer::appendVideoFrame(const VideoFrame& frame)
{
    writerQueue_.sync([&] { appendVideoOnQueue(frame); });
}

void SegmentedMP4Writer::appendVideoOnQueue(const VideoFrame& frame)
{
    if (!frame.picture)
        return;
    if (state_.lifecycle != Lifecycle::initialized && state_.lifecycle != Lifecycle::writing)
        return;
    // A frame without a time has no place on the timeline, least of all at its beginning.
    if (!frame.presentationTime.isValid()) {
        noteDropped();
        return;
    }
    if (state_.lifecycle == Lifecycle::initialized && !startSession(frame.presentationTime))
        return;
    VideoFrame retimed = frame;
    retimed.presentationTime = frame.presentationTime - *state_.sessionStartTime;
    fillAudioLag(duration(retimed.presentationTime));
    if (!videoWriter_->isReadyForMoreMediaData() || !videoWriter_->append(retimed)) {
        noteDropped();
        return;
    }
    ++state_.appendedFrames;
    figures_->noteFrame();
}

void SegmentedMP4Writer::noteDropped()
{
    ++state_.appendFailures;
    figures_->noteDropped();
}

// Fills half of the lag at once, so that this is seldom done.
void SegmentedMP4Writer::fillAudioLag(std::chrono::nanoseconds videoTime)
{
    if (!audioWriter_ || videoTime - state_.audioEnd <= longestAudioLag)
        return;
    state_.audioEnd = videoTime - longestAudioLag / 2;
    audioWriter_->fillWithSilence(MediaTime::fromNanoseconds(state_.audioEnd.count()));
}

void SegmentedMP4Writer::appendAudioSampleBuffer(const AudioBuffer& buffer)
{
    writerQueue_.sync([&] { appendAudioOnQueue(buffer); });
}

void SegmentedMP4Writer::appendAudioOnQueue(const AudioBuffer& buffer)
{
    if (!audioWriter_ || !buffer.isReady || state_.lifecycle != Lifecycle::writing)
        return;
    const MediaTime start = *state_.sessionStartTime;
    if (!buffer.presentationTime.isValid() || buffer.presentationTime < start)
        return;
    AudioBuffer retimed = buffer;
    retimed.presentationTime = buffer.presentationTime - start;
    if (!audioWriter_->isReadyForMoreMediaData() || !audioWriter_->append(retimed)) {
        noteDropped();
        return;
    }
    state_.appendedAudioSamples += static_cast<std::int64_t>(buffer.frameCount);
    state_.audioEnd = std::max(state_.audioEnd, duration(retimed.presentationTime) + duration(retimed));
}

bool SegmentedMP4Writer::startSession(MediaTime firstTime)
{
    state_.firstSample = firstTime;
    if (!startWriter(*videoWriter_, "video") || (audioWriter_ && !startWriter(*audioWriter_, "audio"))) {
        state_.lifecycle = Lifecycle::cancelled;
        videoWriter_->cancelWriting();
        if (audioWriter_)
            audioWriter_->cancelWriting();
        return false;
    }
    state_.sessionStartTime = firstTime;
    state_.lifecycle = Lifecycle::writing;
    return true;
}

bool SegmentedMP4Writer::startWriter(AssetWriter& writer, const char* track)
{
    if (writer.startWriting())
        return true;
    ++state_.appendFailures;
    noteEncoderFailure(writer, track);
    return false;
}

void SegmentedMP4Writer::noteEncoderFailure(const AssetWriter& writer, const char* track)
{
    if (state_.encoderFailure)
        return;
    const std::string cause = writer.error();
    state_.encoderFailure = std::make_exception_ptr(
        CLIError(cause.empty() ? "The " + std::string(track) + " encoder failed." : cause));
}

SegmentedMP4Writer::State SegmentedMP4Writer::stateNow()
{
    State state;
    writerQueue_.sync([&] { state = state_; });
    return state;
}

CapturedTracks SegmentedMP4Writer::finish()
{
    writerQueue_.sync([this] {
        if (state_.lifecycle != Lifecycle::writing)
            throw CLIError(noFramesMessage);
        state_.lifecycle = Lifecycle::finishing;
    });
    finishTracks();
    writerQueue_.sync([this] {
        if (state_.lifecycle == Lifecycle::finishing)
            state_.lifecycle = Lifecycle::completed;
    });
    requireWholeTake(stateNow());
    return {.video = videoTrack_.segments(),
        .audio = audioTrack_.segments(),
        .videoCodec = videoWriter_->codec()};
}

void SegmentedMP4Writer::finishTracks()
{
    requireCompleted(*videoWriter_, "video");
    files_.drain();
    if (!audioWriter_)
        return;
    audioWriter_->endSession(endOf(videoTrack_.segments()));
    requireCompleted(*audioWriter_, "audio");
    files_.drain();
}

void SegmentedMP4Writer::requireCompleted(AssetWriter& writer, const char* track)
{
    const AssetWriterStatus status = writer.finishWriting();
    if (status == AssetWriterStatus::completed)
        return;
    if (const std::string cause = writer.error(); !cause.empty())
        standardError_.writeLine("warning: " + cause);
    throw CLIError(std::string(track) + " AVAssetWriter finished with status "
        + std::to_string(static_cast<int>(status)));
}

void SegmentedMP4Writer::requireWholeTake(const State& state)
{
    if (state.appendedFrames < 1)
        throw CLIError("Capture ended without appended frames.");
    if (audioWriter_ && state.appendedAudioSamples == 0)
        throw CLIError("Capture ended without appended audio samples. Check the microphone, and for system "
                       "audio make sure Screen & System Audio Recording permission is granted.");
    const std::int64_t failures
        = state.appendFailures + videoTrack_.writeFailures() + audioTrack_.writeFailures();
    if (failures >= 1)
        standardError_.writeLine(
            "warning: dropped or rejected " + std::to_string(failures) + " sample buffer(s) while writing");
    // A take with a hole is no whole recording, however the rest turned out.
    for (const SegmentTrack* track : {&videoTrack_, &audioTrack_}) {
        if (const auto error = track->firstFailure())
            std::rethrow_exception(error);
    }
    if (!videoTrack_.initializationSegmentKey())
        throw CLIError("AVAssetWriter did not output an initialization segment.");
    if (audioWriter_ && !audioTrack_.initializationSegmentKey())
        throw CLIError("AVAssetWriter did not output an audio initialization segment.");
    if (videoTrack_.segments().empty())
        throw CLIError("AVAssetWriter did not output media segments.");
    if (audioWriter_ && audioTrack_.segments().empty())
        throw CLIError("AVAssetWriter did not output audio media segments.");
}

void SegmentedMP4Writer::cancel()
{
    // First of all the encoders' threads are let go of, which may be waiting for a slow disk.
    files_.close();
    bool wasOpen = false;
    writerQueue_.sync([&] {
        wasOpen = state_.lifecycle != Lifecycle::completed && state_.lifecycle != Lifecycle::cancelled;
        if (wasOpen)
            state_.lifecycle = Lifecycle::cancelled;
    });
    if (!wasOpen)
        return;
    videoWriter_->cancelWriting();
    if (audioWriter_)
        audioWriter_->cancelWriting();
    files_.finish(
        [video = videoTrack_.unfinishedSegmentRemoval(), audio = audioTrack_.unfinishedSegmentRemoval()] {
            video();
            audio();
        });
}

std::exception_ptr SegmentedMP4Writer::failure()
{
    for (const SegmentTrack* track : {&videoTrack_, &audioTrack_}) {
        if (auto error = track->firstFailure())
            return error;
    }
    std::exception_ptr error;
    writerQueue_.sync([&] {
        if (state_.lifecycle == Lifecycle::writing) {
            if (videoWriter_->status() == AssetWriterStatus::failed)
                noteEncoderFailure(*videoWriter_, "video");
            if (audioWriter_ && audioWriter_->status() == AssetWriterStatus::failed)
                noteEncoderFailure(*audioWriter_, "audio");
        }
        error = state_.encoderFailure;
    });
    return error;
}

std::optional<MediaTime> SegmentedMP4Writer::firstVideoSamplePtsAnchor()
{
    return stateNow().firstSample;
}

std::optional<std::string> SegmentedMP4Writer::initializationSegmentKey()
{
    return videoTrack_.initializationSegmentKey();
}

std::optional<std::string> SegmentedMP4Writer::audioInitializationSegmentKey()
{
    return audioTrack_.initializationSegmentKey();
}

} // namespace glimto
