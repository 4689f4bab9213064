#include "Recording/RecordingStopSequence.h"

#include <exception>

#include "Artifacts/RecordingArtifactWriter.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Recording/RecordingAudio.h"
#include "Recording/RecordingSummary.h"
#include "Recording/StopTimeoutRace.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

void stopStream(const RecordingTake& take, const RecordingStopLimits& limits, RecordingProgress& progress)
{
    progress.emitStoppingCaptureIfNeeded();
    progress.line("Glimto stop: stopping capture stream");
    withStopTimeout(*take.stopQueue, limits.captureStream, "stopping capture stream",
        [stream = take.stream, systemAudio = take.systemAudio] {
            stream->stop();
            if (systemAudio)
                systemAudio->stop();
        });
    take.removeStreamOutputs();
    if (take.microphone)
        take.microphone->stop();
    progress.stopped();
}

void finishInputEvents(const RecordingTake& take, RecordingProgress& progress)
{
    if (!take.eventRecorder)
        return;
    take.stopInputEvents();
    progress.line("Events: " + take.plan.eventsURL.string());
}

CapturedTracks finishSegments(const RecordingTake& take, const RecordingStopLimits& limits)
{
    return withStopTimeout(*take.stopQueue, limits.segmentWriter, "finishing segment writer",
        [mixer = take.audioMixer, writer = take.writer] {
            // Its last buffers still go to the writer.
            if (mixer)
                mixer->finish();
            return writer->finish();
        });
}

CapturedTracks finishWriter(
    const RecordingTake& take, const RecordingStopLimits& limits, RecordingProgress& progress)
{
    progress.finalizing();
    progress.line("Glimto stop: finishing segment writer");
    try {
        return finishSegments(take, limits);
    } catch (const StopTimeoutError&) {
        throw;
    } catch (const CLIError&) {
        // A stream that failed in the last moment is why there were no frames.
        if (const auto cause = take.output->stoppedWithError())
            std::rethrow_exception(cause);
        throw;
    }
}

void waitForThumbnail(
    const RecordingTake& take, const RecordingStopLimits& limits, RecordingProgress& progress)
{
    progress.line("Glimto stop: waiting for thumbnail");
    withStopTimeout(*take.stopQueue, limits.thumbnail, "waiting for thumbnail",
        [thumbnailWriter = take.thumbnailWriter] { thumbnailWriter->waitUntilWritten(); });
}

void writeArtifacts(const RecordOptions& options, const RecordingTake& take, const CapturedTracks& tracks)
{
    try {
        const RecordingArtifactWriter artifacts{
            take.plan, recordingAudioSampleRate, recordingAudioChannelCount};
        artifacts.writeAll({.videoInitSegmentKey = take.writer->initializationSegmentKey().value(),
            .audioInitSegmentKey = take.writer->audioInitializationSegmentKey(),
            .tracks = tracks,
            .width = take.facts.width,
            .height = take.facts.height,
            .options = options,
            .sourceDescription = take.facts.description});
        // From here on the take is said to be complete.
        take.directories.value().sync();
    } catch (const std::exception& error) {
        throw GlimtoCaptureLifecycleError("finalization_failed", errorFacts(error));
    }
}

} // namespace

void finishLastSegment(const RecordingTake& take, const RecordingStopLimits& limits) noexcept
{
    try {
        take.removeStreamOutputs();
        if (take.microphone)
            take.microphone->stop();
        finishSegments(take, limits);
    } catch (...) {
        // What was finished before stays, and the stream's error is what is told.
    }
}

RecordingMetadataJSON stopRecording(const RecordOptions& options, const RecordingTake& take,
    const RecordingStopLimits& limits, RecordingProgress& progress)
{
    stopStream(take, limits, progress);
    finishInputEvents(take, progress);
    const CapturedTracks tracks = finishWriter(take, limits, progress);
    waitForThumbnail(take, limits, progress);
    progress.line("Glimto stop: writing playlists and manifest");
    writeArtifacts(options, take, tracks);
    auto metadata = recordingMetadata(options, take.facts, take.plan, tracks);
    for (const auto& line : recordingSummaryLines(options, metadata))
        progress.line(line);
    progress.completed();
    return metadata;
}

} // namespace glimto
