#include "Recording/CaptureStart.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "Recording/SegmentedMP4Writer.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr double roundSeconds = 0.2;

std::exception_ptr startTimeoutError(double seconds)
{
    return std::make_exception_ptr(CLIError(
        "Starting the capture timed out after " + std::to_string(static_cast<long long>(seconds)) + "s."));
}

} // namespace

CaptureStart::CaptureStart(
    RecordingStopWishes& wishes, RecordingProgress& progress, const CaptureStartLimits& limits)
    : wishes_(wishes)
    , progress_(progress)
    , limits_(limits)
{
}

std::exception_ptr CaptureStart::waitOrGiveUp(
    bool mayAskUser, const std::function<bool(std::chrono::nanoseconds)>& isSettled)
{
    using Clock = std::chrono::steady_clock;
    const auto began = Clock::now();
    const double limit = mayAskUser ? limits_.stepWithQuestion : limits_.step;
    while (!isSettled(inNanoseconds(std::min(roundSeconds, limit)))) {
        const double waited = std::chrono::duration<double>(Clock::now() - began).count();
        if (waited >= limits_.patience && wishes_.announceFirst()) {
            progress_.emitStoppingCaptureIfNeeded();
            return std::make_exception_ptr(CLIError(SegmentedMP4Writer::noFramesMessage));
        }
        if (waited >= limit)
            return startTimeoutError(limit);
    }
    return nullptr;
}

} // namespace glimto
