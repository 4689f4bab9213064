#include "Recording/SegmentedMP4Writer.h"

#include "Recording/VideoEncodingRules.h"
#include "Support/Errors.h"

namespace glimto {

SegmentedMP4Writer::SegmentedMP4Writer(
    const OutputPlan& plan, const Settings& settings, AssetWriterFactory& factory, LineOutput& standardError)
    : standardError_(standardError)
    , videoTrack_(plan.root, "video", settings.segmentSeconds, files_)
    , videoWriter_(factory.makeVideoWriter(videoEncodingSettings(settings.width, settings.height,
                                               settings.framesPerSecond, settings.segmentSeconds),
          preferredSegmentInterval(settings.segmentSeconds), videoTrack_))
    , writerQueue_("glimto.capture.segmented-writer")
{
    if (!videoWriter_)
        throw CLIError("AVAssetWriter refused the H.264 video input.");
}

SegmentedMP4Writer::~SegmentedMP4Writer()
{
    cancel();
}

void SegmentedMP4Writer::appendVideoFrame(const VideoFrame& frame)
{
    writerQueue_.sync([&] { appendOnQueue(frame); });
}

void SegmentedMP4Writer::appendOnQueue(const VideoFrame& frame)
{
    if (!frame.pixels)
        return;
    if (state_.lifecycle != Lifecycle::initialized && state_.lifecycle != Lifecycle::writing)
        return;
    // A frame without a time has no place on the timeline, least of all at its beginning.
    if (!frame.presentationTime.isValid()) {
        ++state_.appendFailures;
        return;
    }
    if (state_.lifecycle == Lifecycle::initialized && !startSession(frame.presentationTime))
        return;
    if (!videoWriter_->isReadyForMoreMediaData()) {
        ++state_.appendFailures;
        return;
    }
    VideoFrame retimed = frame;
    retimed.presentationTime = frame.presentationTime - *state_.sessionStartTime;
    if (videoWriter_->append(retimed))
        ++state_.appendedFrames;
    else
        ++state_.appendFailures;
}

bool SegmentedMP4Writer::startSession(MediaTime firstTime)
{
    state_.firstSample = {firstTime.value, firstTime.timescale, firstTime.nanoseconds()};
    if (!videoWriter_->startWriting()) {
        ++state_.appendFailures;
        noteEncoderFailure();
        state_.lifecycle = Lifecycle::cancelled;
        videoWriter_->cancelWriting();
        return false;
    }
    state_.sessionStartTime = firstTime;
    state_.lifecycle = Lifecycle::writing;
    return true;
}

void SegmentedMP4Writer::noteEncoderFailure()
{
    if (state_.encoderFailure)
        return;
    const std::string cause = videoWriter_->error();
    state_.encoderFailure
        = std::make_exception_ptr(CLIError(cause.empty() ? "The video encoder failed." : cause));
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
            throw CLIError(
                "No screen frames were captured. Check Screen Recording permission and try moving the "
                "cursor during the capture.");
        state_.lifecycle = Lifecycle::finishing;
    });
    requireCompleted(videoWriter_->finishWriting());
    files_.drain();
    writerQueue_.sync([this] {
        if (state_.lifecycle == Lifecycle::finishing)
            state_.lifecycle = Lifecycle::completed;
    });
    requireWholeTake(stateNow());
    return {.video = videoTrack_.segments(), .audio = {}};
}

void SegmentedMP4Writer::requireCompleted(AssetWriterStatus status)
{
    if (status == AssetWriterStatus::completed)
        return;
    if (const std::string cause = videoWriter_->error(); !cause.empty())
        standardError_.writeLine("warning: " + cause);
    throw CLIError("video AVAssetWriter finished with status " + std::to_string(static_cast<int>(status)));
}

void SegmentedMP4Writer::requireWholeTake(const State& state)
{
    if (state.appendedFrames < 1)
        throw CLIError("Capture ended without appended frames.");
    const std::int64_t failures = state.appendFailures + videoTrack_.writeFailures();
    if (failures >= 1)
        standardError_.writeLine(
            "warning: dropped or rejected " + std::to_string(failures) + " sample buffer(s) while writing");
    // A take with a hole is no whole recording, however the rest turned out.
    if (const auto error = videoTrack_.firstFailure())
        std::rethrow_exception(error);
    if (!videoTrack_.initializationSegmentKey())
        throw CLIError("AVAssetWriter did not output an initialization segment.");
    if (videoTrack_.segments().empty())
        throw CLIError("AVAssetWriter did not output media segments.");
}

void SegmentedMP4Writer::cancel()
{
    // First of all the encoder's thread is let go of, which may be waiting for a slow disk.
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
    files_.finish(videoTrack_.unfinishedSegmentRemoval());
}

std::exception_ptr SegmentedMP4Writer::failure()
{
    if (auto error = videoTrack_.firstFailure())
        return error;
    std::exception_ptr error;
    writerQueue_.sync([&] {
        if (state_.lifecycle == Lifecycle::writing && videoWriter_->status() == AssetWriterStatus::failed)
            noteEncoderFailure();
        error = state_.encoderFailure;
    });
    return error;
}

std::optional<VideoSamplePtsAnchor> SegmentedMP4Writer::firstVideoSamplePtsAnchor()
{
    return stateNow().firstSample;
}

std::optional<std::string> SegmentedMP4Writer::initializationSegmentKey()
{
    return videoTrack_.initializationSegmentKey();
}

} // namespace glimto
