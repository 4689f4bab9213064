#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "Backends/Streams/WakeUp.h"
#include "Platform/CaptureStream.h"
#include "Platform/StreamOutputs.h"
#include "Support/NamedThread.h"
#include "Support/HostClock.h"

namespace glimto {

// What the capture streams of all window systems have in common: a thread, its end, and what goes into
// frames. A window system's own stream says what the thread does. The operations that it overrides run on the
// thread, one at a time, but for release().
class ThreadedCaptureStream : public CaptureStream {
public:
    void start(Handlers handlers) final;
    void stop() final;
    void removeOutputs() final { outputs_.close(); }

protected:
    // `wakeUp`, owned with those who wake the thread, ends its waits. Throws PlatformError (POSIX).
    explicit ThreadedCaptureStream(std::shared_ptr<WakeUp> wakeUp = std::make_shared<WakeUp>())
        : wakeUp_(std::move(wakeUp))
    {
    }

    // Every destructor below begins with it: nothing is overridden any more once it has run.
    void end();

    // What the thread does until the stream is to end: one step after the other, then the last picture.
    virtual void capture();

    // Makes the frames that are due, and waits for what comes next. Throws PlatformError when the source is
    // gone.
    virtual void step() = 0;

    // The stream was told to stop: what has changed and is in no frame yet becomes one.
    virtual void takeLastPicture() = 0;

    // The last picture, null before the first, and where it differs from the one before.
    virtual const std::shared_ptr<const FramePicture>& picture() const = 0;
    virtual const std::vector<PixelRect>& changedRects() const = 0;

    // The thread has ended: gives back what it had of the window system.
    virtual void release() { }

    // Hands out picture(), if there is one. A frame is at least a millisecond later than the one before,
    // whatever its picture's own time.
    enum class Picture { newOne, asBefore };
    void deliver(HostTime time, Picture picture);

    WakeUp& wakeUp() { return *wakeUp_; }
    HostTime lastTime() const { return lastTime_; } // of the last frame
    bool lastWasNew() const { return lastKind_ == Picture::newOne; }
    std::uint64_t delivered() const { return nextSequenceNumber_; } // frames

    // Whether a frame at `now` would not be too young after the last one.
    bool isDue(HostTime now, MediaTime minimumFrameInterval) const;

private:
    void run();
    void endThread();

    StreamOutputs outputs_;
    const std::shared_ptr<WakeUp> wakeUp_;
    std::atomic<bool> mustDeliverLastPicture_ = false;
    HostTime lastTime_;
    Picture lastKind_ = Picture::asBefore;
    std::uint64_t nextSequenceNumber_ = 0;
    std::unique_ptr<NamedThread> thread_; // null while the stream does not run
};

} // namespace glimto
