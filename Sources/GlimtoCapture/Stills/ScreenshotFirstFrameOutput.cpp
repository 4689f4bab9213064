#include "Stills/ScreenshotFirstFrameOutput.h"

#include <chrono>
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
    const bool isUsable = frame.pixels
        && (!frame.status || *frame.status == FrameStatus::complete || *frame.status == FrameStatus::started);
    if (isUsable)
        complete(ScreenshotFrame{frame.pixels});
}

void ScreenshotFirstFrameOutput::didStopWithError(const std::exception_ptr& error) noexcept
{
    complete(error);
}

ScreenshotFrame ScreenshotFirstFrameOutput::waitForFirstFrame(double timeoutSeconds)
{
    std::optional<ScreenshotFirstFrameCompletion> completion;
    {
        std::unique_lock lock(stateLock_);
        if (didComplete_ && !pendingCompletion_)
            throw screenshotError(
                ScreenshotFailure::alreadyCompleted, "Screenshot stream had already completed.");
        completed_.wait_for(
            lock, std::chrono::duration<double>(timeoutSeconds), [this] { return didComplete_; });
        didComplete_ = true;
        completion = std::exchange(pendingCompletion_, std::nullopt);
    }
    if (!completion)
        throw screenshotError(
            ScreenshotFailure::noFrameInTime, "Timed out waiting for the first screenshot frame.");
    if (const auto* error = std::get_if<std::exception_ptr>(&*completion))
        std::rethrow_exception(*error);
    return std::get<ScreenshotFrame>(std::move(*completion));
}

void ScreenshotFirstFrameOutput::complete(ScreenshotFirstFrameCompletion completion)
{
    {
        const std::lock_guard lock(stateLock_);
        if (didComplete_)
            return;
        didComplete_ = true;
        pendingCompletion_ = std::move(completion);
    }
    completed_.notify_all();
}

} // namespace glimto
