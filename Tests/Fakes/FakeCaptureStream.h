#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "Platform/CaptureStream.h"

namespace glimto {

// A stream whose frames the test delivers, and which outlives its stream object as a record.
struct FakeCaptureStreamState {
    // How it behaves.
    std::exception_ptr makeError;
    std::exception_ptr startError;
    std::function<void()> onStart; // runs at the end of a successful start
    std::function<void()> onStop; // runs within stop(); may hang
    std::exception_ptr stopError;

    // What happened.
    std::optional<ContentFilter> filter;
    std::optional<CaptureStreamConfiguration> configuration;
    int starts = 0;
    int stops = 0;
    bool outputsRemoved = false;

    // Frames reach nobody before the start and after the outputs were removed.
    void deliver(const VideoFrame& frame)
    {
        const std::lock_guard lock(mutex);
        if (handlers.onFrame)
            handlers.onFrame(frame);
    }

    void fail(const std::exception_ptr& cause)
    {
        const std::lock_guard lock(mutex);
        if (handlers.onStopped)
            handlers.onStopped(cause);
    }

    std::recursive_mutex mutex; // a removal waits for a handler that runs
    CaptureStream::Handlers handlers;
};

class FakeCaptureStream final : public CaptureStream {
public:
    explicit FakeCaptureStream(std::shared_ptr<FakeCaptureStreamState> state)
        : state_(std::move(state))
    {
    }

    ~FakeCaptureStream() override { clearHandlers(); }

    void start(Handlers handlers) override
    {
        if (state_->startError)
            std::rethrow_exception(state_->startError);
        {
            const std::lock_guard lock(state_->mutex);
            ++state_->starts;
            state_->handlers = std::move(handlers);
        }
        if (state_->onStart)
            state_->onStart();
    }

    void stop() override
    {
        {
            const std::lock_guard lock(state_->mutex);
            ++state_->stops;
        }
        if (state_->onStop)
            state_->onStop();
        if (state_->stopError)
            std::rethrow_exception(state_->stopError);
        clearHandlers();
    }

    void removeOutputs() override
    {
        clearHandlers();
        const std::lock_guard lock(state_->mutex);
        state_->outputsRemoved = true;
    }

private:
    void clearHandlers()
    {
        const std::lock_guard lock(state_->mutex);
        state_->handlers = {};
    }

    std::shared_ptr<FakeCaptureStreamState> state_; // shared with the factory
};

class FakeCaptureStreamFactory final : public CaptureStreamFactory {
public:
    std::unique_ptr<CaptureStream> makeCaptureStream(
        const ContentFilter& filter, const CaptureStreamConfiguration& configuration) override
    {
        if (stream->makeError)
            std::rethrow_exception(stream->makeError);
        stream->filter = filter;
        stream->configuration = configuration;
        return std::make_unique<FakeCaptureStream>(stream);
    }

    // Shared with the stream that is made.
    std::shared_ptr<FakeCaptureStreamState> stream = std::make_shared<FakeCaptureStreamState>();
};

// A black frame of `width` x `height` pixels at `nanoseconds` on the host clock.
inline VideoFrame fakeFrame(std::int64_t nanoseconds, int width = 64, int height = 48)
{
    const auto storage
        = std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width * height * 4));
    VideoFrame frame;
    frame.status = FrameStatus::complete;
    frame.presentationTime = MediaTime::fromNanoseconds(nanoseconds);
    frame.pixels = std::make_shared<const PixelBuffer>(PixelBuffer{.width = width,
        .height = height,
        .bytesPerRow = static_cast<std::size_t>(width) * 4,
        .bytes = storage->data(),
        .storage = storage});
    frame.changedRects = {{0, 0, width, height}};
    return frame;
}

} // namespace glimto
