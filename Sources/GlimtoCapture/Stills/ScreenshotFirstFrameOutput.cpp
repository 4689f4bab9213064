#include "Stills/ScreenshotFirstFrameOutput.h"

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
        completion_.settle(ScreenshotFrame{frame.picture});
}

void ScreenshotFirstFrameOutput::didStopWithError(const std::exception_ptr& error) noexcept
{
    completion_.settle(error);
}

ScreenshotFrame ScreenshotFirstFrameOutput::waitForFirstFrame(std::chrono::nanoseconds timeout)
{
    if (isTaken_.exchange(true))
        throw screenshotError(
            ScreenshotFailure::alreadyCompleted, "Screenshot stream had already completed.");
    if (!completion_.waitFor(timeout))
        throw screenshotError(
            ScreenshotFailure::noFrameInTime, "Timed out waiting for the first screenshot frame.");
    return completion_.firstResult();
}

} // namespace glimto
