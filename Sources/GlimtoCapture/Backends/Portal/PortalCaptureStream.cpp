#include "Backends/Portal/PortalCaptureStream.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Support/Errors.h"
#include "Support/TimeStamps.h"

namespace glimto {

namespace {

constexpr std::int64_t repeatInterval = 500'000'000;
constexpr std::int64_t askInterval = 1'000'000'000;

// Consumers wake the stream when they let go of what it waits for; this is for those who do not.
constexpr std::int64_t retryInterval = 20'000'000;

} // namespace

PortalCaptureStream::PortalCaptureStream(std::unique_ptr<PortalShare> share,
    std::shared_ptr<WakeUp> consumers, const PortalFraming& framing, MediaTime minimumFrameInterval,
    PointerTrack pointer)
    : wakeUp_(std::move(consumers))
    , share_(std::move(share))
    , pictures_(share_->screen(), framing)
    , grid_(minimumFrameInterval)
    , pointer_(std::move(pointer))
{
}

PortalCaptureStream::~PortalCaptureStream()
{
    outputs_.close();
    endThread();
}

void PortalCaptureStream::start(Handlers handlers)
{
    outputs_.set(std::move(handlers));
    thread_ = std::make_unique<NamedThread>("glimto.capture.samples", [this] { run(); });
}

void PortalCaptureStream::stop()
{
    mustDeliverLastPicture_ = true;
    endThread();
}

void PortalCaptureStream::removeOutputs()
{
    outputs_.close();
}

void PortalCaptureStream::endThread()
{
    if (!thread_)
        return;
    wakeUp_->end();
    thread_.reset(); // waits for its end
    share_.reset();
}

void PortalCaptureStream::run()
{
    try {
        capture();
    } catch (...) {
        const auto cause = std::current_exception();
        // The picture lasted until now.
        deliver(hostTimeNanoseconds(), false);
        outputs_.fail(cause);
    }
}

void PortalCaptureStream::capture()
{
    const PipeWireScreen::Turn turn(share_->screen());
    askDue_ = hostTimeNanoseconds() + askInterval;
    while (!wakeUp_->hasEnded())
        step();
    if (mustDeliverLastPicture_)
        deliverLastPicture();
}

void PortalCaptureStream::tellPointer()
{
    const auto pointer = share_->screen().pointer();
    if (!pointer)
        return;
    const Rect& frame = pointer_.sharedFrame;
    pointer_.listener->moved(
        {frame.x + pointer->place.x * frame.width, frame.y + pointer->place.y * frame.height}, pointer->time);
}

void PortalCaptureStream::step()
{
    share_->handleEvents();
    tellPointer();
    const std::int64_t now = hostTimeNanoseconds();
    if (now >= nextPictureDue_ && pictures_.take()) {
        if (nextSequenceNumber_ == 0)
            grid_.begin(now);
        nextPictureDue_ = grid_.pointAfter(now);
        deliver(pictures_.time(), true);
        return;
    }
    std::int64_t until = now + repeatInterval;
    if (pictures_.picture()) {
        if (now >= repeatDue_)
            deliver(now, false);
        until = repeatDue_;
    } else if (now >= askDue_) {
        share_->screen().askForPicture();
        askDue_ = now + askInterval;
    }
    if (share_->screen().arrived())
        until = std::min(until, std::max(nextPictureDue_, now + retryInterval));
    if (nextPictureDue_ > now && share_->screen().arrived())
        until = std::min(until, nextPictureDue_);
    share_->wait(*wakeUp_, std::chrono::nanoseconds(until - now));
}

void PortalCaptureStream::deliver(std::int64_t time, bool isNew)
{
    repeatDue_ = hostTimeNanoseconds() + repeatInterval;
    if (!pictures_.picture())
        return;
    lastTime_ = std::max(time, lastTime_ + 1);
    VideoFrame frame;
    frame.status = FrameStatus::complete;
    frame.presentationTime = MediaTime::fromNanoseconds(lastTime_);
    frame.picture = pictures_.picture();
    frame.sequenceNumber = nextSequenceNumber_++;
    if (isNew)
        frame.changedRects = pictures_.changedRects();
    outputs_.deliver(frame);
}

// What has come up to now is a frame of its own; then the last picture comes once more, so that the recording
// lasts until the moment it was stopped.
void PortalCaptureStream::deliverLastPicture()
{
    try {
        share_->handleEvents();
        if (hostTimeNanoseconds() >= nextPictureDue_ && pictures_.take())
            deliver(pictures_.time(), true);
    } catch (const PlatformError&) {
        // The source went in the very moment of the stop: what was taken before is whole without it.
    }
    deliver(hostTimeNanoseconds(), false);
}

} // namespace glimto
