#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>

#include "Platform/ContentFilter.h"
#include "Platform/MediaTime.h"
#include "Platform/VideoFrame.h"

namespace glimto {

struct CaptureStreamConfiguration {
    int width = 0; // pixels of every frame delivered
    int height = 0;
    std::optional<Rect> sourceRect; // part of a display, in points from its top left; all when absent
    MediaTime minimumFrameInterval; // frames come at most this often
    int queueDepth = 3; // frames that consumers may hold before the stream has to wait for one
    bool showsCursor = true;
};

// A running capture of one content filter. Implemented once per window system.
//
// start() and stop() are called from one thread, at most once each. The handlers run on a thread
// that the stream owns ("glimto.capture.samples"), one call at a time, and must not block.
class CaptureStream {
public:
    struct Handlers {
        // The pixels are immutable and shared: keep the frame as long as you need it. While nothing
        // changes, the last picture is delivered again at least every half second, and once more
        // when the stream stops.
        std::function<void(const VideoFrame& frame)> onFrame;

        // The source is gone (display unplugged, window closed, server lost). No call follows.
        std::function<void(std::exception_ptr cause)> onStopped;
    };

    virtual ~CaptureStream() = default;

    // Returns once the stream runs. Throws PlatformError if the content cannot be captured.
    virtual void start(Handlers handlers) = 0;

    // Delivers the last picture once more with the time of the call, then ends the stream: no handler
    // is running or will run once this returns. Does nothing if the stream never started or has
    // stopped by itself.
    virtual void stop() = 0;

    // No handler runs once this returns, even while stop() hangs. Any thread, any number of times.
    virtual void removeOutputs() = 0;
};

class CaptureStreamFactory {
public:
    virtual ~CaptureStreamFactory() = default;

    // The stream is not started. Throws PlatformError when the content is already gone.
    virtual std::unique_ptr<CaptureStream> makeCaptureStream(
        const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
        = 0;
};

} // namespace glimto
