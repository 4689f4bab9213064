#include "Backends/Wayland/WaylandCaptureStream.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <sys/eventfd.h>

#include "Support/Errors.h"
#include "Support/TimeStamps.h"

namespace glimto {

namespace {

constexpr std::int64_t repeatInterval = 500'000'000;

// How often to look whether consumers have let go of a picture.
constexpr std::int64_t lookInterval = 4'000'000;

// How long to wait after a copy that failed.
constexpr std::int64_t failureInterval = 50'000'000;

// What a compositor that draws 30 times a second needs for a picture.
constexpr std::int64_t lastPictureTimeout = 40'000'000;

// A recording that is stopped as soon as it began has a picture all the same.
constexpr std::int64_t firstPictureTimeout = 1'000'000'000;

// How long a compositor may take for a picture that it was asked for at once.
constexpr std::int64_t oldestTime = 1'000'000'000;

WaylandConnection::Clock::time_point clockTime(std::int64_t hostTime)
{
    return WaylandConnection::Clock::time_point(std::chrono::nanoseconds(hostTime));
}

} // namespace

WaylandCaptureStream::WaylandCaptureStream(
    const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
    : configuration_(configuration)
    , wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , grid_(configuration.minimumFrameInterval)
{
    if (!wakeUp_)
        throw PlatformError::posix("Could not start the capture", errno);
    connection_ = WaylandConnection::open();
    heartbeat_ = std::make_unique<WaylandHeartbeat>(*connection_);
    source_ = std::make_unique<WaylandFrameSource>(*connection_, filter, configuration_);
}

WaylandCaptureStream::~WaylandCaptureStream()
{
    outputs_.close();
    endThread();
}

void WaylandCaptureStream::start(Handlers handlers)
{
    outputs_.set(std::move(handlers));
    thread_ = std::make_unique<NamedThread>("glimto.capture.samples", [this] { run(); });
}

void WaylandCaptureStream::stop()
{
    mustDeliverLastPicture_ = true;
    endThread();
}

void WaylandCaptureStream::removeOutputs()
{
    outputs_.close();
}

void WaylandCaptureStream::endThread()
{
    if (!thread_)
        return;
    mustEnd_ = true;
    eventfd_write(wakeUp_.get(), 1);
    thread_.reset();
}

void WaylandCaptureStream::run()
{
    try {
        while (!mustEnd_)
            step();
    } catch (...) {
        const auto cause = std::current_exception();
        // The picture lasted until now.
        deliver(hostTimeNanoseconds(), false);
        outputs_.fail(cause);
        return;
    }
    if (mustDeliverLastPicture_)
        deliverLastPicture();
}

void WaylandCaptureStream::step()
{
    const std::int64_t now = hostTimeNanoseconds();
    heartbeat_->beat(now);
    if (!source_->isRequested() && now >= nextRequest_)
        source_->request();
    std::int64_t until = hasBegun_ ? repeatDue_ : now + repeatInterval;
    if (!source_->isRequested())
        until = std::min(until, nextRequest_);
    if (source_->waitsForConsumers())
        until = std::min(until, now + lookInterval);
    const pollfd wakeUp = {.fd = wakeUp_.get(), .events = POLLIN, .revents = 0};
    connection_->dispatchOnce(clockTime(until), {&wakeUp, 1});
    receive();
    const std::int64_t after = hostTimeNanoseconds();
    if (hasBegun_ && after >= repeatDue_)
        deliver(after, false);
}

void WaylandCaptureStream::receive()
{
    const auto result = source_->receive();
    const std::int64_t now = hostTimeNanoseconds();
    if (result == WaylandFrameSource::Result::failed)
        nextRequest_ = now + failureInterval;
    if (result != WaylandFrameSource::Result::picture)
        return;
    if (!std::exchange(hasBegun_, true))
        grid_.begin(now);
    nextRequest_ = grid_.pointAfter(now);
    // Compositors tell when the picture was shown; one with another clock is not believed.
    const bool isPlausible = source_->time() <= now && source_->time() > now - oldestTime;
    deliver(isPlausible ? source_->time() : now, true);
}

// While a copy is outstanding, nothing has changed, unless it is the first. Between two of them something may
// have: that is a frame of its own, unless the one before it is too young; then the last picture comes once
// more, so that the recording lasts until the moment it was stopped.
void WaylandCaptureStream::deliverLastPicture()
{
    const std::int64_t now = hostTimeNanoseconds();
    const bool isDue = now - lastTime_ >= configuration_.minimumFrameInterval.nanoseconds() / 4 * 3;
    try {
        if (!hasBegun_)
            waitForPicture(now + firstPictureTimeout);
        else if (isDue && !source_->isRequested())
            waitForPicture(now + lastPictureTimeout);
    } catch (const PlatformError&) {
        // The source went in the very moment of the stop: what was taken before is whole without it.
    }
    deliver(hostTimeNanoseconds(), false);
}

void WaylandCaptureStream::waitForPicture(std::int64_t deadline)
{
    const std::uint64_t before = nextSequenceNumber_;
    while (nextSequenceNumber_ == before && hostTimeNanoseconds() < deadline) {
        if (!source_->isRequested() && hostTimeNanoseconds() >= nextRequest_)
            source_->request();
        connection_->dispatchOnce(clockTime(std::min(deadline, hostTimeNanoseconds() + lookInterval)));
        receive();
    }
}

void WaylandCaptureStream::deliver(std::int64_t time, bool isNew)
{
    if (!source_->picture())
        return;
    lastTime_ = std::max(time, lastTime_ + 1);
    repeatDue_ = std::max(grid_.pointAtOrBefore(lastTime_ + repeatInterval), grid_.pointAfter(lastTime_));
    VideoFrame frame;
    frame.status = FrameStatus::complete;
    frame.presentationTime = MediaTime::fromNanoseconds(lastTime_);
    frame.picture = source_->picture();
    frame.sequenceNumber = nextSequenceNumber_++;
    if (isNew)
        frame.changedRects = source_->changedRects();
    outputs_.deliver(frame);
}

} // namespace glimto
