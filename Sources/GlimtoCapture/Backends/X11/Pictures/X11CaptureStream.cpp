#include "Backends/X11/Pictures/X11CaptureStream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>

#include "Backends/Streams/ThreadedCaptureStream.h"
#include "Backends/X11/Pictures/X11ContentPicture.h"
#include "Backends/X11/Pictures/X11FrameGrabber.h"
#include "Backends/X11/Pictures/X11FramePacer.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

// A client that grabs the server, as a window manager does while it drags an outline, must not end a
// recording; a server that hangs must. Shorter than the time a stop is waited for.
constexpr std::chrono::seconds answerTimeout{10};

X11FramePacer::PointerPolling polling(const CaptureStreamConfiguration& configuration)
{
    return configuration.showsCursor ? X11FramePacer::PointerPolling::on : X11FramePacer::PointerPolling::off;
}

class X11CaptureStream final : public ThreadedCaptureStream {
public:
    X11CaptureStream(const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
        : interval_(configuration.minimumFrameInterval)
        , connection_(X11Connection::open())
        , pacer_(interval_, polling(configuration))
    {
        connection_->setAnswerTimeout(answerTimeout);
        startPictureExtensions(*connection_);
        grabber_ = std::make_unique<X11FrameGrabber>(*connection_,
            makeX11PictureSource(*connection_, filter, configuration),
            PixelSize{configuration.width, configuration.height}, std::max(1, configuration.queueDepth),
            configuration.showsCursor ? X11FrameGrabber::Cursor::shown : X11FrameGrabber::Cursor::hidden);
    }

    ~X11CaptureStream() override { end(); }

private:
    const std::shared_ptr<const FramePicture>& picture() const override { return grabber_->picture(); }
    const std::vector<PixelRect>& changedRects() const override { return grabber_->changedRects(); }

    void release() override
    {
        grabber_.reset();
        connection_.reset();
    }

    void step() override
    {
        grabber_->handleEvents();
        const bool hasChanges = grabber_->hasChanges();
        const auto now = HostClock::now();
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
                grab(HostClock::now());
            break;
        case X11FramePacer::Action::repeat:
            pacer_.didDeliver(now, X11FramePacer::Delivery::repetition);
            deliver(now, Picture::asBefore);
            break;
        }
    }

    void grab(HostTime now)
    {
        if (grabber_->grab() != X11FrameGrabber::Result::changed)
            return;
        pacer_.didDeliver(now, X11FramePacer::Delivery::newPicture);
        deliver(now, Picture::newOne);
    }

    // While a change waits for its time, further events tell nothing new; only the loss of the connection
    // is waited for then.
    void waitUntil(HostTime deadline, bool forEvents)
    {
        std::array<pollfd, 2> entries = {{
            {.fd = connection_->fileDescriptor(),
                .events = static_cast<short>(forEvents ? POLLIN : 0),
                .revents = 0},
            {.fd = wakeUp().fileDescriptor(), .events = POLLIN, .revents = 0},
        }};
        connection_->flush();
        if (!waitFor(entries, deadline))
            throw PlatformError::posix("Could not wait for the X server", errno);
    }

    void takeLastPicture() override
    {
        const auto now = HostClock::now();
        const bool mayCome = isDue(now, interval_);
        grabber_->handleEvents();
        if (mayCome && (grabber_->hasChanges() || grabber_->cursorHasMoved()))
            grab(now);
    }

    MediaTime interval_;
    // Of the stream's thread once that runs. The grabber uses the connection, so it goes first.
    std::unique_ptr<X11Connection> connection_;
    std::unique_ptr<X11FrameGrabber> grabber_;
    X11FramePacer pacer_;
};

} // namespace

std::shared_ptr<CaptureStream> openX11CaptureStream(
    const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
{
    return std::make_shared<X11CaptureStream>(filter, configuration);
}

} // namespace glimto
