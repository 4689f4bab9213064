#pragma once

#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "Options/RecordOptions.h"
#include "Platform/StopRequests.h"
#include "Recording/RecordingClock.h"
#include "Recording/RecordingProgress.h"

namespace glimto {

// What the wait loop looks at in every round. The functions are cheap and do not block.
struct RecordingWatch {
    // Why the stream ended by itself, and why the take can no longer be written; null while all is well.
    std::function<std::exception_ptr()> streamFailure;
    std::function<std::exception_ptr()> writerFailure;

    // Why the microphone stopped; nothing while it has not.
    std::function<std::optional<std::string>()> microphoneFailure;
};

// Returns when the recording is to end normally: its duration or the maximum duration has passed, the
// stop file exists, somebody asked for the end, or the microphone was lost. Says why, but for the duration.
// The answer comes within 0.2 s.
//
// Throws the failure of the stream or the writer, and CLIError when the recording could never end.
void waitUntilDurationElapsedOrStopRequested(const RecordOptions& options, const RecordingWatch& watch,
    StopRequests& stopRequests, RecordingClock& clock, RecordingProgress& progress);

} // namespace glimto
