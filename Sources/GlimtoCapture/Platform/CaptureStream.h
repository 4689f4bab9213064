#pragma once

#include <exception>
#include <functional>
#include <optional>

#include "Platform/Geometry.h"
#include "Platform/MediaTime.h"
#include "Platform/VideoFrame.h"

namespace glimto {

struct CaptureStreamConfiguration {
    int width = 0; // pixels wished for; what was opened says how large the frames are
    int height = 0;
    std::optional<Rect> sourceRect; // part of a display, in points from its top left; all when absent
    MediaTime minimumFrameInterval; // frames come at most this often
    int queueDepth = 3; // frames that consumers may hold before the stream has to wait for one
    bool showsCursor = true;
};

// A capture that was opened. Implemented once per window system.
//
// start() and stop() are called one after the other, at most once each, on any thread. The handlers run on a
// thread that the stream owns ("glimto.capture.samples"), one call at a time, and must not block.
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

    // Returns once the stream runs. Throws PlatformError if the content can no longer be captured.
    virtual void start(Handlers handlers) = 0;

    // Delivers the last picture once more with the time of the call, then ends the stream: no handler
    // is running or will run once this returns. Does nothing if the stream never started or has
    // stopped by itself.
    virtual void stop() = 0;

    // No handler runs once this returns, even while stop() hangs. Any thread, any number of times.
    virtual void removeOutputs() = 0;
};

} // namespace glimto
