#include "Recording/RecordingWaitLoop.h"

#include <algorithm>
#include <optional>
#include <system_error>

#include "Support/Errors.h"

namespace glimto {

namespace {

using Seconds = RecordingClock::Seconds;

constexpr Seconds roundInterval(0.2);

struct Limits {
    std::optional<Seconds> deadline; // absent when the recording goes on until it is stopped
    std::optional<Seconds> maximum;
};

Limits limitsFrom(Seconds now, const RecordOptions& options)
{
    Limits limits;
    if (!options.recordUntilStopped)
        limits.deadline = now + Seconds(options.durationSeconds);
    if (options.maxDurationSeconds)
        limits.maximum = now + Seconds(*options.maxDurationSeconds);
    return limits;
}

void throwFailure(const RecordingWatch& watch)
{
    if (const auto error = watch.streamFailure())
        std::rethrow_exception(error);
    if (const auto error = watch.writerFailure())
        std::rethrow_exception(error);
}

bool stopFileExists(const RecordOptions& options)
{
    std::error_code ignored;
    return options.stopFileURL && std::filesystem::exists(*options.stopFileURL, ignored);
}

// Announces the first reason to end the recording before its duration has passed; false without one.
bool sawStop(const RecordOptions& options, const RecordingWatch& watch, const Limits& limits,
    StopRequests& stopRequests, RecordingClock& clock, RecordingProgress& progress)
{
    if (stopFileExists(options)) {
        progress.stopSeen("Stop file detected; finishing recording");
        return true;
    }
    if (const auto request = stopRequests.pendingRequest()) {
        progress.stopSeen(*request);
        return true;
    }
    if (limits.maximum && clock.now() >= *limits.maximum) {
        progress.maximumDurationReached(*options.maxDurationSeconds);
        return true;
    }
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
    const Limits limits = limitsFrom(clock.now(), options);
    while (true) {
        throwFailure(watch);
        if (sawStop(options, watch, limits, stopRequests, clock, progress))
            return;
        if (!limits.deadline) {
            clock.sleepFor(roundInterval);
            continue;
        }
        const Seconds remaining = *limits.deadline - clock.now();
        if (remaining <= Seconds::zero())
            return;
        clock.sleepFor(std::min(remaining, roundInterval));
    }
}

} // namespace glimto
