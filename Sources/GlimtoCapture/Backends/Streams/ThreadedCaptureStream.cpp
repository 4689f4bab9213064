#include "Backends/Streams/ThreadedCaptureStream.h"

#include <algorithm>
#include <utility>

#include "Support/Errors.h"

namespace glimto {

namespace {

// More than a tick of any timescale: of two frames within one tick a file takes only the first.
constexpr std::chrono::milliseconds leastDistance(1);

} // namespace

void ThreadedCaptureStream::start(Handlers handlers)
{
    outputs_.set(std::move(handlers));
    thread_ = std::make_unique<NamedThread>("glimto.capture.samples", [this] { run(); });
}

void ThreadedCaptureStream::stop()
{
    mustDeliverLastPicture_ = true;
    endThread();
}

void ThreadedCaptureStream::end()
{
    outputs_.close();
    endThread();
}

void ThreadedCaptureStream::endThread()
{
    if (!thread_)
        return;
    wakeUp_->end();
    thread_.reset(); // waits for its end
    release();
}

void ThreadedCaptureStream::run()
{
    try {
        capture();
    } catch (...) {
        const auto cause = std::current_exception();
        // The picture lasted until now.
        deliver(HostClock::now(), Picture::asBefore);
        outputs_.fail(cause);
    }
}

void ThreadedCaptureStream::capture()
{
    while (!wakeUp_->hasEnded())
        step();
    if (!mustDeliverLastPicture_)
        return;
    try {
        takeLastPicture();
    } catch (const PlatformError&) {
        // The source went in the very moment of the stop: what was taken before is whole without it.
    }
    // Once more, so that the recording lasts until the moment it was stopped.
    deliver(HostClock::now(), Picture::asBefore);
}

void ThreadedCaptureStream::deliver(HostTime time, Picture kind)
{
    if (!picture())
        return;
    lastTime_ = std::max(time, lastTime_ + leastDistance);
    lastKind_ = kind;
    VideoFrame frame;
    frame.status = FrameStatus::complete;
    frame.presentationTime = MediaTime::at(lastTime_);
    frame.picture = picture();
    frame.sequenceNumber = nextSequenceNumber_++;
    if (kind == Picture::newOne)
        frame.changedRects = changedRects();
    outputs_.deliver(frame);
}

bool ThreadedCaptureStream::isDue(HostTime now, MediaTime minimumFrameInterval) const
{
    return now - lastTime_ >= HostClock::duration(minimumFrameInterval.nanoseconds() / 4 * 3);
}

} // namespace glimto
