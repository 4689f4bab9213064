#include "Recording/RecordingStopWishes.h"

#include <filesystem>
#include <system_error>

namespace glimto {

RecordingStopWishes::RecordingStopWishes(const RecordOptions& options, StopRequests& stopRequests,
    RecordingClock& clock, RecordingProgress& progress)
    : options_(options)
    , stopRequests_(stopRequests)
    , clock_(clock)
    , progress_(progress)
{
    if (options.stopFileURL)
        stopRequests.watch(*options.stopFileURL);
    if (options.maxDurationSeconds)
        maximum_ = clock.now() + Seconds(*options.maxDurationSeconds);
}

bool RecordingStopWishes::announceFirst()
{
    std::error_code ignored;
    if (options_.stopFileURL && std::filesystem::exists(*options_.stopFileURL, ignored)) {
        progress_.stopSeen("Stop file detected; finishing recording");
        return true;
    }
    if (const auto request = stopRequests_.pendingRequest()) {
        progress_.stopSeen(*request);
        return true;
    }
    if (maximum_ && clock_.now() >= *maximum_) {
        progress_.maximumDurationReached(Seconds(*options_.maxDurationSeconds));
        return true;
    }
    return false;
}

} // namespace glimto
