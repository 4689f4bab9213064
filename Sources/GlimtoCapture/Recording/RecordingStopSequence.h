#pragma once

#include <chrono>

#include "Artifacts/RecordingMetadataJSON.h"
#include "Options/RecordOptions.h"
#include "Recording/RecordingProgress.h"
#include "Recording/RecordingTake.h"

namespace glimto {

// How long each stage of the end may take.
struct RecordingStopLimits {
    std::chrono::nanoseconds captureStream = std::chrono::seconds(15);
    std::chrono::nanoseconds segmentWriter = std::chrono::seconds(60);
    std::chrono::nanoseconds thumbnail = std::chrono::seconds(15);
};

// Ends a recording that runs: stops the stream, writes the input events, finishes the segments, waits for
// the thumbnail, writes the playlists and the manifest, and tells about each step.
//
// Throws CLIError when a stage takes too long, which is then let go of; GlimtoCaptureLifecycleError
// "finalization_failed" when the playlists or the manifest cannot be written; and what the stream and
// the writer throw. The caller cleans up after every failure.
RecordingMetadataJSON stopRecording(const RecordOptions& options, const RecordingTake& take,
    const RecordingStopLimits& limits, RecordingProgress& progress);

// After a stream that failed: finishes the segment that was begun, so that all that was recorded is there.
// Errors are ignored, and no more is waited than at any other end.
void finishLastSegment(const RecordingTake& take, const RecordingStopLimits& limits) noexcept;

} // namespace glimto
