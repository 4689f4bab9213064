#include "Backends/Wayland/WaylandCaptureStream.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "Backends/Streams/PlainScreenCapture.h"
#include "Backends/Streams/ThreadedCaptureStream.h"
#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandErrors.h"
#include "Backends/Wayland/WaylandFrameSource.h"
#include "Platform/CaptureStream.h"
#include "Platform/FrameGrid.h"
#include "Platform/FramePicture.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

// How often to look whether consumers have let go of a picture.
constexpr std::chrono::milliseconds lookInterval(4);

// How long to wait after a copy that failed.
constexpr std::chrono::milliseconds failureInterval(50);

// What a compositor that draws 30 times a second needs for a picture.
constexpr std::chrono::milliseconds lastPictureTimeout(40);

// A recording that is stopped as soon as it began has a picture all the same.
constexpr std::chrono::seconds firstPictureTimeout(1);

// How long a compositor may take for a picture that it was asked for at once.
constexpr std::chrono::seconds oldestTime(1);

// How often a compositor is asked for a sign of life, and how long it may take.
constexpr std::chrono::seconds betweenQuestions(5);
constexpr std::chrono::seconds longestAnswer(10);

// Tells a compositor that hangs from one whose screen stands still: asks it for a sign of life every few
// seconds. Used by the thread of its connection, which outlives it.
class WaylandHeartbeat {
public:
    explicit WaylandHeartbeat(WaylandConnection& connection)
        : connection_(connection)
    {
    }

    // Called now and then, after events were handled. Throws PlatformError noAnswer when the last question
    // has stood for too long.
    void beat(HostTime now)
    {
        static constexpr wl_callback_listener listener = {
            .done = [](void* self, wl_callback*,
                        std::uint32_t) { static_cast<WaylandHeartbeat*>(self)->question_.reset(); },
        };
        if (question_) {
            if (now - asked_ > longestAnswer)
                throw waylandError(WaylandFailure::noAnswer, "The Wayland compositor does not answer.");
            return;
        }
        if (now - asked_ < betweenQuestions)
            return;
        asked_ = now;
        question_.reset(wl_display_sync(connection_.display()));
        wl_callback_add_listener(question_.get(), &listener, this);
    }

private:
    WaylandConnection& connection_;
    WaylandHandle<wl_callback> question_; // null while none stands
    HostTime asked_;
};

class WaylandCaptureStream final : public ThreadedCaptureStream {
public:
    WaylandCaptureStream(const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
        : interval_(configuration.minimumFrameInterval)
        , connection_(WaylandConnection::open())
        , heartbeat_(*connection_)
        , source_(*connection_, filter, configuration)
        , grid_(interval_)
    {
    }

    ~WaylandCaptureStream() override { end(); }

    int width() const { return source_.width(); }
    int height() const { return source_.height(); }

private:
    const std::shared_ptr<const FramePicture>& picture() const override { return source_.picture(); }
    const std::vector<PixelRect>& changedRects() const override { return source_.changedRects(); }

    void step() override
    {
        const auto now = HostClock::now();
        heartbeat_.beat(now);
        requestWhenDue(now);
        HostTime until = hasBegun_ ? repeatDue() : now + nextRepetitionAfter;
        if (!source_.isRequested())
            until = std::min(until, nextRequest_);
        if (source_.waitsForConsumers())
            until = std::min(until, now + lookInterval);
        const pollfd end = {.fd = wakeUp().fileDescriptor(), .events = POLLIN, .revents = 0};
        connection_->dispatchOnce(until, {&end, 1});
        receive();
        const auto after = HostClock::now();
        if (hasBegun_ && after >= repeatDue())
            deliver(after, Picture::asBefore);
    }

    void requestWhenDue(HostTime now)
    {
        if (source_.isRequested() || now < nextRequest_)
            return;
        source_.request();
        requested_ = now;
    }

    HostTime repeatDue() const
    {
        const auto rest = lastWasNew() ? firstRepetitionAfter : nextRepetitionAfter;
        return std::max(grid_.pointAtOrBefore(lastTime() + rest), grid_.pointAfter(lastTime()));
    }

    void receive()
    {
        const auto result = source_.receive();
        const auto now = HostClock::now();
        if (result == WaylandFrameSource::Result::failed)
            nextRequest_ = now + failureInterval;
        if (result != WaylandFrameSource::Result::picture)
            return;
        if (!std::exchange(hasBegun_, true))
            grid_.begin(now);
        nextRequest_ = grid_.pointAfter(now);
        if (source_.changedRects().empty())
            return;
        // Compositors tell when the picture was shown; one with another clock is not believed.
        const bool isPlausible = source_.time() <= now && source_.time() > now - oldestTime;
        delay_ = isPlausible ? now - source_.time() : HostClock::duration(0);
        deliver(now - delay_, Picture::newOne);
    }

    // While a copy has been outstanding for a while, nothing has changed but what is told already, unless it
    // is the first. Else something may have: that is a frame of its own, unless the one before it is too
    // young.
    void takeLastPicture() override
    {
        const auto now = HostClock::now();
        connection_->dispatchOnce(now);
        receive();
        if (!hasBegun_)
            waitForPicture(now + firstPictureTimeout);
        else if (isDue(now, interval_))
            waitForPicture((source_.isRequested() ? requested_ : now) + lastPictureTimeout + delay_);
    }

    void waitForPicture(HostTime deadline)
    {
        const std::uint64_t before = delivered();
        while (delivered() == before && HostClock::now() < deadline) {
            requestWhenDue(HostClock::now());
            connection_->dispatchOnce(std::min(deadline, HostClock::now() + lookInterval));
            receive();
        }
    }

    MediaTime interval_;
    // Of the stream's thread once that runs. The others use the connection, so they go first.
    std::unique_ptr<WaylandConnection> connection_;
    WaylandHeartbeat heartbeat_;
    WaylandFrameSource source_;
    FrameGrid grid_;
    bool hasBegun_ = false;
    HostTime nextRequest_;
    HostTime requested_; // when the last copy was
    HostClock::duration delay_{0}; // how long the last picture took from the screen to here
};

} // namespace

OpenedCapture openWaylandCapture(const CaptureRequest& request)
{
    const auto stream = std::make_shared<WaylandCaptureStream>(request.filter, request.configuration);
    OpenedCapture opened = openedAsAsked(request, stream);
    opened.hidesApplications = false;
    CaptureFacts& facts = opened.facts;
    facts.width = stream->width();
    facts.height = stream->height();
    if (std::holds_alternative<DisplayContentFilter>(request.filter.content))
        return opened;
    // Not every compositor tells where a window is.
    if (facts.globalFrame.isEmpty())
        facts.globalFrame = {0, 0, static_cast<double>(facts.width), static_cast<double>(facts.height)};
    facts.pointScale = facts.width / facts.globalFrame.width;
    return opened;
}

} // namespace glimto
