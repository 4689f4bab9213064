#include "Recording/RecordingWaitLoop.h"

#include <algorithm>

#include "Recording/RecordingStopWishes.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr Seconds roundInterval(0.2);

void throwFailure(const RecordingWatch& watch)
{
    if (const auto error = watch.streamFailure())
        std::rethrow_exception(error);
    if (const auto error = watch.writerFailure())
        std::rethrow_exception(error);
}

// Announces the first reason to end the recording before its duration has passed; false without one.
bool sawStop(RecordingStopWishes& wishes, const RecordingWatch& watch, RecordingProgress& progress)
{
    if (wishes.announceFirst())
        return true;
    if (const auto failure = watch.microphoneFailure()) {
        progress.stopSeen("Microphone stopped (" + *failure + "); finishing recording");
        return true;
    }
    return false;
}

} // namespace

void waitUntilDurationElapsedOrStopRequested(const RecordOptions& options, const RecordingWatch& watch,
    StopRequests& stopRequests, RecordingClock& clock, RecordingProgress& progress)
{
    if (options.recordUntilStopped && !options.stopFileURL)
        throw CLIError("--until-stopped requires --stop-file.");
    RecordingStopWishes wishes(options, stopRequests, clock, progress);
    const Seconds deadline = clock.now() + Seconds(options.durationSeconds);
    while (true) {
        throwFailure(watch);
        if (sawStop(wishes, watch, progress))
            return;
        if (options.recordUntilStopped) {
            clock.sleepFor(roundInterval);
            continue;
        }
        const Seconds remaining = deadline - clock.now();
        if (remaining <= Seconds::zero())
            return;
        clock.sleepFor(std::min(remaining, roundInterval));
    }
}

} // namespace glimto
