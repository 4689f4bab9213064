#include "Recording/ScreenCaptureOutput.h"

#include <utility>

#include "Support/Errors.h"

namespace glimto {

ScreenCaptureOutput::ScreenCaptureOutput(std::shared_ptr<SegmentedMP4Writer> writer,
    std::shared_ptr<ThumbnailWriter> thumbnailWriter, LineOutput& standardOutput)
    : writer_(std::move(writer))
    , thumbnailWriter_(std::move(thumbnailWriter))
    , standardOutput_(standardOutput)
{
}

CaptureStream::Handlers ScreenCaptureOutput::handlers()
{
    return {
        .onFrame = [self = shared_from_this()](const VideoFrame& frame) { self->didOutputFrame(frame); },
        .onStopped
        = [self = shared_from_this()](const std::exception_ptr& cause) { self->didStopWithError(cause); },
    };
}

void ScreenCaptureOutput::didOutputFrame(const VideoFrame& frame) noexcept
{
    try {
        if (!isUsableScreenFrame(frame))
            return;
        thumbnailWriter_->captureFirstFrame(frame);
        writer_->appendVideoFrame(frame);
    } catch (...) {
        didStopWithError(std::current_exception());
    }
}

void ScreenCaptureOutput::didStopWithError(const std::exception_ptr& error) noexcept
{
    stoppedWithError_.with([&](std::exception_ptr& first) {
        if (!first)
            first = error;
    });
    try {
        standardOutput_.writeLine("capture stopped with error: " + errorFacts(error).message);
    } catch (...) {
        // The error is kept; only the line about it is lost.
        return;
    }
}

std::exception_ptr ScreenCaptureOutput::stoppedWithError() const
{
    return stoppedWithError_.with([](const std::exception_ptr& error) { return error; });
}

bool ScreenCaptureOutput::isUsableScreenFrame(const VideoFrame& frame)
{
    const bool showsScreen
        = !frame.status || *frame.status == FrameStatus::complete || *frame.status == FrameStatus::started;
    return showsScreen && frame.pixels != nullptr;
}

} // namespace glimto
