#include "Backends/X11/Pictures/X11CaptureStream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "Backends/X11/Pictures/X11ContentPicture.h"
#include "Support/TimeStamps.h"

namespace glimto {

namespace {

// A client that grabs the server, as a window manager does while it drags an outline, must not end a
// recording; a server that hangs must. Shorter than the time a stop is waited for.
constexpr std::chrono::seconds answerTimeout{10};

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

X11FramePacer::PointerPolling polling(const CaptureStreamConfiguration& configuration)
{
    return configuration.showsCursor ? X11FramePacer::PointerPolling::on : X11FramePacer::PointerPolling::off;
}

} // namespace

X11CaptureStream::X11CaptureStream(
    const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
    : configuration_(configuration)
    , wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , pacer_(configuration_.minimumFrameInterval, polling(configuration_))
{
    if (!wakeUp_)
        throw PlatformError::posix("Could not start the capture", errno);
    connection_ = X11Connection::open();
    connection_->setAnswerTimeout(answerTimeout);
    startPictureExtensions(*connection_);
    grabber_ = std::make_unique<X11FrameGrabber>(*connection_,
        makeX11PictureSource(*connection_, filter, configuration_),
        PixelSize{configuration_.width, configuration_.height}, std::max(1, configuration_.queueDepth),
        configuration_.showsCursor);
}

X11CaptureStream::~X11CaptureStream()
{
    outputs_.close();
    endThread();
}

void X11CaptureStream::start(Handlers handlers)
{
    outputs_.set(std::move(handlers));
    thread_ = std::make_unique<NamedThread>("glimto.capture.samples", [this] { run(); });
}

void X11CaptureStream::stop()
{
    mustDeliverLastPicture_ = true;
    endThread();
}

void X11CaptureStream::removeOutputs()
{
    outputs_.close();
}

void X11CaptureStream::endThread()
{
    if (!thread_)
        return;
    mustEnd_ = true;
    eventfd_write(wakeUp_.get(), 1);
    thread_.reset(); // waits for its end
    grabber_.reset();
    connection_.reset();
}

void X11CaptureStream::run()
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

void X11CaptureStream::capture()
{
    while (!mustEnd_)
        step();
    if (mustDeliverLastPicture_)
        deliverLastPicture();
}

void X11CaptureStream::step()
{
    grabber_->handleEvents();
    const bool hasChanges = grabber_->hasChanges();
    const std::int64_t now = hostTimeNanoseconds();
    const auto next = pacer_.next(now, hasChanges);
    switch (next.action) {
    case X11FramePacer::Action::wait:
        waitUntil(next.until, !hasChanges);
        break;
    case X11FramePacer::Action::grab:
        pacer_.didTick(now);
        grab(now);
        break;
    case X11FramePacer::Action::pollPointer:
        pacer_.didTick(now);
        if (grabber_->cursorHasMoved())
            grab(hostTimeNanoseconds());
        break;
    case X11FramePacer::Action::repeat:
        deliver(now, false);
        break;
    }
}

void X11CaptureStream::grab(std::int64_t now)
{
    if (grabber_->grab() == X11FrameGrabber::Result::changed)
        deliver(now, true);
}

void X11CaptureStream::deliver(std::int64_t now, bool isNew)
{
    pacer_.didDeliver(now, isNew ? X11FramePacer::Delivery::newPicture : X11FramePacer::Delivery::repetition);
    if (!grabber_->picture())
        return;
    lastTime_ = std::max(now, lastTime_ + 1);
    VideoFrame frame;
    frame.status = FrameStatus::complete;
    frame.presentationTime = MediaTime::fromNanoseconds(lastTime_);
    frame.picture = grabber_->picture();
    frame.sequenceNumber = nextSequenceNumber_++;
    if (isNew)
        frame.changedRects = grabber_->changedRects();
    outputs_.deliver(frame);
}

// While a change waits for its time, further events tell nothing new; only the loss of the connection
// is waited for then.
void X11CaptureStream::waitUntil(std::int64_t deadline, bool forEvents)
{
    const std::int64_t left = std::max<std::int64_t>(0, deadline - hostTimeNanoseconds());
    const timespec timeout = {.tv_sec = left / nanosecondsPerSecond, .tv_nsec = left % nanosecondsPerSecond};
    std::array<pollfd, 2> entries = {{
        {.fd = connection_->fileDescriptor(),
            .events = static_cast<short>(forEvents ? POLLIN : 0),
            .revents = 0},
        {.fd = wakeUp_.get(), .events = POLLIN, .revents = 0},
    }};
    connection_->flush();
    if (::ppoll(entries.data(), entries.size(), &timeout, nullptr) < 0 && errno != EINTR)
        throw PlatformError::posix("Could not wait for the X server", errno);
}

// What has changed up to now is a frame of its own, unless the one before it is too young; then the last
// picture comes once more, so that the recording lasts until the moment it was stopped.
void X11CaptureStream::deliverLastPicture()
{
    const std::int64_t now = hostTimeNanoseconds();
    const std::int64_t interval = configuration_.minimumFrameInterval.nanoseconds();
    const bool isDue = now - lastTime_ >= interval / 4 * 3;
    try {
        grabber_->handleEvents();
        if (isDue && (grabber_->hasChanges() || grabber_->cursorHasMoved()))
            grab(now);
    } catch (const PlatformError&) {
        // The source went in the very moment of the stop: what was taken before is whole without it.
    }
    deliver(hostTimeNanoseconds(), false);
}

} // namespace glimto
