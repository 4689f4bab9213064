#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/CaptureOpening.h"

namespace glimto {

// A stream whose frames the test delivers, and which outlives its stream object as a record.
struct FakeCaptureStreamState {
    // How it behaves.
    std::exception_ptr openError;
    std::function<void()> onOpen; // runs within open(); may hang
    std::function<void()> onGiveUp; // runs within giveUp()
    std::function<void(OpenedCapture&)> changesOpened; // as a system does where the user picks
    std::exception_ptr startError;
    std::function<void()> onStart; // runs at the end of a successful start
    std::function<void()> onStop; // runs within stop(); may hang
    std::exception_ptr stopError;

    // What happened.
    std::optional<ContentFilter> filter;
    std::optional<CaptureStreamConfiguration> configuration;
    std::optional<CaptureFacts> expected;
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

class FakeCaptureOpening final : public CaptureOpening {
public:
    FakeCaptureOpening(const CaptureRequest& request, std::shared_ptr<FakeCaptureStreamState> state)
        : request_(request)
        , state_(std::move(state))
    {
    }

    OpenedCapture open() override
    {
        if (state_->onOpen)
            state_->onOpen();
        if (state_->openError)
            std::rethrow_exception(state_->openError);
        OpenedCapture opened;
        opened.stream = std::make_shared<FakeCaptureStream>(state_);
        opened.facts = request_.expected;
        if (state_->changesOpened)
            state_->changesOpened(opened);
        return opened;
    }

    void giveUp() noexcept override
    {
        if (state_->onGiveUp)
            state_->onGiveUp();
    }

private:
    CaptureRequest request_;
    std::shared_ptr<FakeCaptureStreamState> state_; // shared with the stream and the test
};

class FakeScreenCapture final : public ScreenCapture {
public:
    std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) override
    {
        stream->filter = request.filter;
        stream->configuration = request.configuration;
        stream->expected = request.expected;
        return std::make_shared<FakeCaptureOpening>(request, stream);
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
    frame.picture = std::make_shared<const MemoryPicture>(PixelBuffer{.width = width,
        .height = height,
        .bytesPerRow = static_cast<std::size_t>(width) * 4,
        .bytes = storage->data(),
        .storage = storage});
    frame.changedRects = {{0, 0, width, height}};
    return frame;
}

} // namespace glimto
