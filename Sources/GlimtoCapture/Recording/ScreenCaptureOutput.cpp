#include "Recording/ScreenCaptureOutput.h"

#include <utility>

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

ScreenCaptureOutput::ScreenCaptureOutput(std::shared_ptr<SegmentedMP4Writer> writer,
    std::shared_ptr<ThumbnailWriter> thumbnailWriter, std::shared_ptr<AudioMixer> audioMixer, Outputs outputs)
    : writer_(std::move(writer))
    , thumbnailWriter_(std::move(thumbnailWriter))
    , audioMixer_(std::move(audioMixer))
    , outputs_(outputs)
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

AudioInput::Handlers ScreenCaptureOutput::systemAudioHandlers()
{
    const auto self = shared_from_this();
    return {
        .onBuffer = [self](const AudioBuffer& buffer) { self->didOutputAudio(buffer); },
        .onDisconnected = [self] { self->didInterruptAudio("System audio was disconnected"); },
        .onFailed =
            [self](const std::string& description) {
                self->didInterruptAudio(description.empty() ? "System audio failed" : description);
            },
        .onInterrupted = [self](const std::string& description) { self->didInterruptAudio(description); },
    };
}

void ScreenCaptureOutput::didOutputFrame(const VideoFrame& frame) noexcept
{
    try {
        if (!frame.isUsableScreenFrame())
            return;
        thumbnailWriter_->captureFirstFrame(frame);
        writer_->appendVideoFrame(frame);
    } catch (...) {
        didStopWithError(std::current_exception());
    }
}

void ScreenCaptureOutput::didOutputAudio(const AudioBuffer& buffer) const
{
    if (audioMixer_)
        audioMixer_->append(buffer, AudioMixerSource::system, buffer.presentationTime);
}

void ScreenCaptureOutput::didInterruptAudio(const std::string& description) noexcept
{
    if (didWarnOfAudio_.exchange(true))
        return;
    try {
        outputs_.standardError.writeLine(singleLine("warning: " + description));
    } catch (...) {
        return; // Only the line is lost.
    }
}

void ScreenCaptureOutput::didStopWithError(const std::exception_ptr& error) noexcept
{
    stoppedWithError_.with([&](std::exception_ptr& first) {
        if (!first)
            first = error;
    });
    try {
        outputs_.standardOutput.writeLine("capture stopped with error: " + errorFacts(error).message);
    } catch (...) {
        // The error is kept; only the line about it is lost.
        return;
    }
}

std::exception_ptr ScreenCaptureOutput::stoppedWithError() const
{
    return stoppedWithError_.with([](const std::exception_ptr& error) { return error; });
}

} // namespace glimto
