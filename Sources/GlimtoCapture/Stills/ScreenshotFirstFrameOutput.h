#pragma once

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>

#include "Platform/CaptureStream.h"
#include "Support/FirstOutcome.h"

namespace glimto {

// One captured frame.
struct ScreenshotFrame {
    std::shared_ptr<const FramePicture> pixelBuffer;
};

// How a stream that was started for one frame came out.
using ScreenshotFirstFrameCompletion = FirstOutcome<ScreenshotFrame>;

// Receives what a capture stream delivers and keeps its first usable frame, or the error that came before
// it. The stream's handlers and the one who waits own it together; any thread.
class ScreenshotFirstFrameOutput : public std::enable_shared_from_this<ScreenshotFirstFrameOutput> {
public:
    // Handlers that keep this object alive. The object must be owned by a shared_ptr.
    CaptureStream::Handlers handlers();

    // Frames that are not usable, and all after the first that is, are ignored.
    void didOutputFrame(const VideoFrame& frame) noexcept;

    // The stream ended by itself.
    void didStopWithError(const std::exception_ptr& error) noexcept;

    // The first usable frame, waited for if need be. To be called once. Throws what the stream ended with,
    // PlatformError "Timed out waiting for the first screenshot frame." after that time, and "Screenshot
    // stream had already completed." when somebody else got the frame.
    ScreenshotFrame waitForFirstFrame(std::chrono::nanoseconds timeout);

private:
    ScreenshotFirstFrameCompletion completion_;
    std::atomic<bool> isTaken_ = false; // or was waited for in vain
};

} // namespace glimto
