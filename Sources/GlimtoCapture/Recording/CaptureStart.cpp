#include "Recording/CaptureStart.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "Recording/SegmentedMP4Writer.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr std::chrono::nanoseconds round = std::chrono::milliseconds(200);

std::exception_ptr startTimeoutError(std::chrono::nanoseconds limit)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(limit).count();
    return std::make_exception_ptr(
        CLIError("Starting the capture timed out after " + std::to_string(seconds) + "s."));
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
    Question question, const std::function<bool(std::chrono::nanoseconds)>& isSettled)
{
    using Clock = std::chrono::steady_clock;
    const auto began = Clock::now();
    const auto limit = question == Question::possible ? limits_.stepWithQuestion : limits_.step;
    while (!isSettled(std::min(round, limit))) {
        const auto waited = Clock::now() - began;
        if (waited >= limits_.patience && wishes_.announceFirst()) {
            progress_.emitStoppingCaptureIfNeeded();
            return std::make_exception_ptr(CLIError(SegmentedMP4Writer::noFramesMessage));
        }
        if (waited >= limit)
            return startTimeoutError(limit);
    }
    return nullptr;
}

void CaptureStart::await(const std::function<bool(std::chrono::nanoseconds)>& isSettledWithin)
{
    if (const auto reason = waitOrGiveUp(Question::none, isSettledWithin))
        std::rethrow_exception(reason);
}

} // namespace glimto
