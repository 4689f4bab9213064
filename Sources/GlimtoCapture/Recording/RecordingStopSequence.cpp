#include "Recording/RecordingStopSequence.h"

#include <exception>

#include "Artifacts/RecordingArtifactWriter.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Recording/RecordingSummary.h"
#include "Recording/StopTimeoutRace.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

// What is written with the artifacts of a take, which has one audio track at most.
constexpr int audioSampleRate = 48000;
constexpr int audioChannelCount = 2;

void stopStream(const RecordingTake& take, const RecordingStopLimits& limits, RecordingProgress& progress)
{
    progress.emitStoppingCaptureIfNeeded();
    progress.line("Glimto stop: stopping capture stream");
    withStopTimeout(
        limits.captureStream, "stopping capture stream", [stream = take.stream] { stream->stop(); });
    take.stream->removeOutputs();
    // The microphone stops here.
    progress.stopped();
}

void finishInputEvents(const RecordOptions& options, const RecordingTake& take, RecordingProgress& progress)
{
    if (!take.eventRecorder)
        return;
    take.stopInputEvents(!options.includeCursor);
    progress.line("Events: " + take.plan.eventsURL.string());
}

CapturedTracks finishWriter(
    const RecordingTake& take, const RecordingStopLimits& limits, RecordingProgress& progress)
{
    progress.finalizing();
    progress.line("Glimto stop: finishing segment writer");
    try {
        return withStopTimeout(limits.segmentWriter, "finishing segment writer", [writer = take.writer] {
            // The mixer's last buffers go to the writer first.
            return writer->finish();
        });
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
    withStopTimeout(limits.thumbnail, "waiting for thumbnail",
        [thumbnailWriter = take.thumbnailWriter] { thumbnailWriter->waitUntilWritten(); });
}

void writeArtifacts(const RecordOptions& options, const RecordingTake& take, const CapturedTracks& tracks)
{
    const RecordingArtifactWriter artifacts{take.plan, audioSampleRate, audioChannelCount};
    const std::string initSegmentKey = take.writer->initializationSegmentKey().value();
    try {
        artifacts.writeMediaPlaylist(
            take.plan.playlistURL, initSegmentKey, tracks.video, PlaylistPlacement::aboveSegments);
        artifacts.writeManifest(initSegmentKey, std::nullopt, tracks, take.source.width, take.source.height,
            options, take.source.description);
    } catch (const std::exception& error) {
        throw GlimtoCaptureLifecycleError("finalization_failed", errorFacts(error));
    }
}

} // namespace

RecordingMetadataJSON stopRecording(const RecordOptions& options, const RecordingTake& take,
    const RecordingStopLimits& limits, RecordingProgress& progress)
{
    stopStream(take, limits, progress);
    finishInputEvents(options, take, progress);
    const CapturedTracks tracks = finishWriter(take, limits, progress);
    waitForThumbnail(take, limits, progress);
    progress.line("Glimto stop: writing playlists and manifest");
    writeArtifacts(options, take, tracks);
    auto metadata = recordingMetadata(options, take.source, take.plan, tracks);
    for (const auto& line : recordingSummaryLines(options, metadata))
        progress.line(line);
    progress.completed();
    return metadata;
}

} // namespace glimto
