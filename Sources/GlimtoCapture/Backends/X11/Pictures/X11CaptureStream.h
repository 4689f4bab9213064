#pragma once

#include <atomic>
#include <memory>

#include "Backends/X11/Pictures/X11FrameGrabber.h"
#include "Backends/X11/Pictures/X11FramePacer.h"
#include "Platform/StreamOutputs.h"
#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"
#include "Support/FileDescriptor.h"
#include "Support/NamedThread.h"

namespace glimto {

// Captures a display, a part of it, or a window of the X server that DISPLAY names, on a connection and
// a thread of its own.
//
// The server says what has changed, so an unchanged screen costs two wake-ups a second, and with the
// pointer shown up to 15 short questions to the server as well. Frames are complete pictures; their
// time is that at which they were asked for. Audio is not captured here.
class X11CaptureStream : public CaptureStream {
public:
    // Connects and finds the content; no picture is taken yet. Throws PlatformError when the content is gone
    // or cannot be captured.
    X11CaptureStream(const ContentFilter& filter, const CaptureStreamConfiguration& configuration);
    ~X11CaptureStream() override;

    void start(Handlers handlers) override;
    void stop() override;
    void removeOutputs() override;

private:
    void run();
    void capture();
    void step();
    void grab(std::int64_t now);
    void deliver(std::int64_t now, bool isNew);
    void waitUntil(std::int64_t deadline, bool forEvents);
    void deliverLastPicture();
    void endThread();

    CaptureStreamConfiguration configuration_;
    StreamOutputs outputs_;
    FileDescriptor wakeUp_; // readable once the stream is to end
    std::atomic<bool> mustEnd_ = false;
    std::atomic<bool> mustDeliverLastPicture_ = false;

    // Of the stream's thread once that runs. The grabber uses the connection, so it goes first.
    std::unique_ptr<X11Connection> connection_;
    std::unique_ptr<X11FrameGrabber> grabber_;
    X11FramePacer pacer_;
    std::int64_t lastTime_ = 0;
    std::uint64_t nextSequenceNumber_ = 0;

    std::unique_ptr<NamedThread> thread_;
};

} // namespace glimto
