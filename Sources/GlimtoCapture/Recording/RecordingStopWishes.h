#pragma once

#include <optional>

#include "Options/RecordOptions.h"
#include "Platform/StopRequests.h"
#include "Recording/RecordingClock.h"
#include "Recording/RecordingProgress.h"

namespace glimto {

// The wishes from outside to end a recording before its duration has passed: the stop file, a signal, the end
// of the parent that reads our output, and the maximum duration, which counts from when this was made.
//
// What it is made with outlives it. Used from the session's thread.
class RecordingStopWishes {
public:
    RecordingStopWishes(const RecordOptions& options, StopRequests& stopRequests, RecordingClock& clock,
        RecordingProgress& progress);

    // Whether there is one; the first is told. Cheap.
    bool announceFirst();

private:
    const RecordOptions& options_;
    StopRequests& stopRequests_;
    RecordingClock& clock_;
    RecordingProgress& progress_;
    std::optional<Seconds> maximum_;
};

} // namespace glimto
