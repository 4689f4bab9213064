#include "Stills/ScreenshotFirstFrameOutput.h"

#include <utility>

#include "Stills/ScreenshotFailure.h"

namespace glimto {

CaptureStream::Handlers ScreenshotFirstFrameOutput::handlers()
{
    const auto self = shared_from_this();
    return {.onFrame = [self](const VideoFrame& frame) { self->didOutputFrame(frame); },
        .onStopped = [self](std::exception_ptr cause) { self->didStopWithError(cause); }};
}

void ScreenshotFirstFrameOutput::didOutputFrame(const VideoFrame& frame) noexcept
{
    if (frame.isUsableScreenFrame())
        complete(ScreenshotFrame{frame.picture});
}

void ScreenshotFirstFrameOutput::didStopWithError(const std::exception_ptr& error) noexcept
{
    complete(error);
}

ScreenshotFrame ScreenshotFirstFrameOutput::waitForFirstFrame(std::chrono::nanoseconds timeout)
{
    const bool isTaken = state_.with([](const State& state) { return state.isOver && !state.completion; });
    if (isTaken)
        throw screenshotError(
            ScreenshotFailure::alreadyCompleted, "Screenshot stream had already completed.");
    state_.waitFor(timeout, [](const State& state) { return state.isOver; });
    const auto completion = state_.with([](State& state) {
        state.isOver = true;
        return std::exchange(state.completion, std::nullopt);
    });
    if (!completion)
        throw screenshotError(
            ScreenshotFailure::noFrameInTime, "Timed out waiting for the first screenshot frame.");
    if (const auto* error = std::get_if<std::exception_ptr>(&*completion))
        std::rethrow_exception(*error);
    return std::get<ScreenshotFrame>(*completion);
}

void ScreenshotFirstFrameOutput::complete(ScreenshotFirstFrameCompletion completion)
{
    state_.change([&](State& state) {
        if (!std::exchange(state.isOver, true))
            state.completion = std::move(completion);
    });
}

} // namespace glimto
