#include "Backends/Wayland/WaylandCaptureStream.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Backends/Streams/ThreadedCaptureStream.h"
#include "Backends/Wayland/WaylandBuffer.h"
#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandCopy.h"
#include "Backends/Wayland/WaylandErrors.h"
#include "Backends/Wayland/WaylandPicture.h"
#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"
#include "Platform/FrameGrid.h"
#include "Platform/FramePicture.h"
#include "Support/TimeStamps.h"

namespace glimto {

namespace {

// A copy may fail while a display changes its mode.
constexpr int mostFailures = 40;

const DisplayContentFilter& displayContent(const ContentFilter& filter)
{
    if (const auto* display = std::get_if<DisplayContentFilter>(&filter.content))
        return *display;
    throw waylandError(WaylandFailure::noWindowCapture,
        "This Wayland compositor cannot show a single window to this program. Record a display or a region.");
}

PixelRect wholePoints(const Rect& rect)
{
    const Rect whole = integral(rect);
    return {static_cast<int>(whole.x), static_cast<int>(whole.y), static_cast<int>(whole.width),
        static_cast<int>(whole.height)};
}

// The picture in the buffer, which lives as long.
PixelBuffer pictureIn(const WaylandBuffer& buffer)
{
    const WaylandPictureFormat& format = buffer.format();
    return {.width = static_cast<int>(format.width),
        .height = static_cast<int>(format.height),
        .bytesPerRow = format.bytesPerRow,
        .bytes = buffer.memory()->bytes(),
        .storage = nullptr,
        .format = *format.pixelFormat()};
}

// `part` of the picture in the buffer, without copying it. The memory is not copied over while it lives.
PixelBuffer lease(const WaylandBuffer& buffer, const PixelRect& part)
{
    auto memory = buffer.memory();
    memory->leases.fetch_add(1, std::memory_order_relaxed);
    PixelBuffer picture = pictureIn(buffer);
    picture.storage = std::shared_ptr<const void>(static_cast<const void*>(memory->bytes()),
        [memory](const void*) { memory->leases.fetch_sub(1, std::memory_order_release); });
    return picture.part(part);
}

bool isWhole(double value)
{
    return value == std::floor(value);
}

// Takes pictures of a display, or of a part of it, one after the other. Used by the thread of its connection.
//
// At most one copy is outstanding. The first comes at once, the others when something has changed, so a
// screen that stands still costs nothing.
class WaylandFrameSource {
public:
    // Throws PlatformError when the display is not there or the content is no display.
    WaylandFrameSource(
        WaylandConnection& connection, const ContentFilter& filter, const CaptureStreamConfiguration& wanted)
        : connection_(connection)
        , displayID_(displayContent(filter).display.displayID)
        , wanted_(wanted)
    {
        if (!connection_.screencopy() || !connection_.shm())
            throw waylandError(WaylandFailure::missingProtocol, connection_.captureObstacle());
        area_.showsCursor = wanted.showsCursor;
        chooseArea(output());
    }

    // Asks for the next picture, unless one is asked for already.
    void request()
    {
        if (copy_)
            return;
        area_.output = output().output();
        copy_ = std::make_unique<WaylandCopy>(connection_, area_);
    }

    bool isRequested() const { return copy_ != nullptr; }

    // Whether the compositor waits for memory to copy into, which consumers hold. receive() looks again.
    bool waitsForConsumers() const { return copy_ && copy_->format() && !copy_->isStarted(); }

    // Takes the picture in, if it has come: picture(), changedRects() and time() are new then. Called after
    // the connection has handled events. After a failure the picture may be asked for again, a little later.
    // Throws sourceGone when the display was taken away, and copyFailed when one failure follows another.
    enum class Result { nothing, picture, failed };

    Result receive()
    {
        output(); // throws when it is gone
        if (!copy_)
            return Result::nothing;
        if (copy_->hasFailed()) {
            copy_.reset();
            if (++failures_ > mostFailures)
                throw waylandError(
                    WaylandFailure::copyFailed, "The Wayland compositor gives no picture of the display.");
            return Result::failed;
        }
        if (copy_->isUnusable() || (copy_->format() && !copy_->format()->isUsable()))
            throw waylandError(WaylandFailure::unsupportedFormat,
                "The Wayland compositor gives pictures in a format that cannot be captured.");
        if (copy_->format() && !copy_->isStarted()) {
            buffer_ = bufferFor(*copy_->format());
            if (buffer_)
                copy_->start(*buffer_, picture_ ? WaylandCopy::When::onceChanged : WaylandCopy::When::now);
        }
        if (!copy_->isStarted() || !copy_->isReady())
            return Result::nothing;
        failures_ = 0;
        take(*copy_, *buffer_);
        copy_.reset();
        return Result::picture;
    }

    // The last picture; null before the first.
    const std::shared_ptr<const FramePicture>& picture() const { return picture_; }
    const std::vector<PixelRect>& changedRects() const { return changedRects_; }
    std::int64_t time() const { return time_; }

private:
    // The compositor copies what is needed and no more where the pixels of a part are beyond doubt: at a
    // whole scale, on a display that is not turned. wlroots 0.15 mistakes parts of displays that are turned
    // by 90 degrees.
    void chooseArea(const WaylandOutput& output)
    {
        if (!wanted_.sourceRect)
            return;
        const Display display = output.display();
        const double scale
            = display.width > 0 ? static_cast<double>(display.pixelsWide) / display.width : 1.0;
        Rect origin;
        if (isWhole(scale) && output.transform() == WL_OUTPUT_TRANSFORM_NORMAL) {
            area_.part = wholePoints(*wanted_.sourceRect);
            origin = {static_cast<double>(area_.part->x), static_cast<double>(area_.part->y), 0, 0};
        }
        crop_ = PixelRect{static_cast<int>(std::lround((wanted_.sourceRect->x - origin.x) * scale)),
            static_cast<int>(std::lround((wanted_.sourceRect->y - origin.y) * scale)), wanted_.width,
            wanted_.height};
    }

    const WaylandOutput& output() const
    {
        for (const auto& each : connection_.outputs()) {
            if (each->display().displayID == displayID_)
                return *each;
        }
        throw waylandError(WaylandFailure::sourceGone, "The display being captured was disconnected.");
    }

    // A buffer that no consumer holds; null while all are held.
    WaylandBuffer* bufferFor(const WaylandPictureFormat& format)
    {
        std::erase_if(buffers_, [&](const auto& buffer) { return buffer->format() != format; });
        for (const auto& buffer : buffers_) {
            // Acquire: what consumers read of the picture happens before it is copied over.
            if (buffer->memory()->leases.load(std::memory_order_acquire) == 0)
                return buffer.get();
        }
        // One for the picture that is kept, one to copy into.
        if (buffers_.size() >= static_cast<std::size_t>(std::max(1, wanted_.queueDepth)) + 2)
            return nullptr;
        return buffers_.emplace_back(std::make_unique<WaylandBuffer>(connection_.shm(), format)).get();
    }

    void take(const WaylandCopy& copy, const WaylandBuffer& buffer)
    {
        const WaylandPictureChange change = {.transform = output().transform(),
            .isUpsideDown = copy.isUpsideDown(),
            .crop = crop_,
            .width = wanted_.width,
            .height = wanted_.height};
        const PixelBuffer copied = pictureIn(buffer);
        const auto part = change.unchangedPart(copied.width, copied.height);
        const PixelRect whole = {0, 0, wanted_.width, wanted_.height};
        const bool isFirst = picture_ == nullptr;
        picture_ = std::make_shared<const MemoryPicture>(
            part ? lease(buffer, *part) : changedWaylandPicture(copied, change));
        time_ = copy.time();
        changedRects_ = {whole};
        // Compositors do not agree on where the damage of a part is counted from: all of it is taken as
        // changed.
        if (isFirst || !part || area_.part || !copy.damage())
            return;
        changedRects_.clear();
        for (const PixelRect& rect : *copy.damage()) {
            const PixelRect changed
                = intersection({rect.x - part->x, rect.y - part->y, rect.width, rect.height}, whole);
            if (!changed.isEmpty())
                changedRects_.push_back(changed);
        }
    }

    WaylandConnection& connection_;
    std::uint32_t displayID_;
    CaptureStreamConfiguration wanted_;
    WaylandCopyArea area_;
    std::optional<PixelRect> crop_; // what is wanted of the copy, once it is upright; all when absent
    std::vector<std::unique_ptr<WaylandBuffer>> buffers_;
    WaylandBuffer* buffer_ = nullptr; // that the outstanding copy goes into
    std::unique_ptr<WaylandCopy> copy_; // outstanding; uses a buffer, so it goes first
    std::shared_ptr<const FramePicture> picture_; // shared with the consumers
    std::vector<PixelRect> changedRects_;
    std::int64_t time_ = 0;
    int failures_ = 0; // in a row
};

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

// How often a compositor is asked for a sign of life, and how long it may take.
constexpr std::int64_t betweenQuestions = 5'000'000'000;
constexpr std::int64_t longestAnswer = 10'000'000'000;

WaylandConnection::Clock::time_point clockTime(std::int64_t hostTime)
{
    return WaylandConnection::Clock::time_point(std::chrono::nanoseconds(hostTime));
}

// Tells a compositor that hangs from one whose screen stands still: asks it for a sign of life every few
// seconds. Used by the thread of its connection, which outlives it.
class WaylandHeartbeat {
public:
    explicit WaylandHeartbeat(WaylandConnection& connection)
        : connection_(connection)
    {
    }

    // Called now and then, after events were handled. `now` in nanoseconds of the host clock. Throws
    // PlatformError noAnswer when the last question has stood for too long.
    void beat(std::int64_t now)
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
    std::int64_t asked_ = 0;
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

private:
    const std::shared_ptr<const FramePicture>& picture() const override { return source_.picture(); }
    const std::vector<PixelRect>& changedRects() const override { return source_.changedRects(); }

    void step() override
    {
        const std::int64_t now = hostTimeNanoseconds();
        heartbeat_.beat(now);
        if (!source_.isRequested() && now >= nextRequest_)
            source_.request();
        std::int64_t until = hasBegun_ ? repeatDue() : now + repeatInterval;
        if (!source_.isRequested())
            until = std::min(until, nextRequest_);
        if (source_.waitsForConsumers())
            until = std::min(until, now + lookInterval);
        const pollfd end = {.fd = wakeUp().fileDescriptor(), .events = POLLIN, .revents = 0};
        connection_->dispatchOnce(clockTime(until), {&end, 1});
        receive();
        const std::int64_t after = hostTimeNanoseconds();
        if (hasBegun_ && after >= repeatDue())
            deliver(after, Picture::asBefore);
    }

    std::int64_t repeatDue() const
    {
        return std::max(grid_.pointAtOrBefore(lastTime() + repeatInterval), grid_.pointAfter(lastTime()));
    }

    void receive()
    {
        const auto result = source_.receive();
        const std::int64_t now = hostTimeNanoseconds();
        if (result == WaylandFrameSource::Result::failed)
            nextRequest_ = now + failureInterval;
        if (result != WaylandFrameSource::Result::picture)
            return;
        if (!std::exchange(hasBegun_, true))
            grid_.begin(now);
        nextRequest_ = grid_.pointAfter(now);
        // Compositors tell when the picture was shown; one with another clock is not believed.
        const bool isPlausible = source_.time() <= now && source_.time() > now - oldestTime;
        deliver(isPlausible ? source_.time() : now, Picture::newOne);
    }

    // While a copy is outstanding, nothing has changed, unless it is the first. Between two of them something
    // may have: that is a frame of its own, unless the one before it is too young.
    void takeLastPicture() override
    {
        const std::int64_t now = hostTimeNanoseconds();
        if (!hasBegun_)
            waitForPicture(now + firstPictureTimeout);
        else if (isDue(now, interval_) && !source_.isRequested())
            waitForPicture(now + lastPictureTimeout);
    }

    void waitForPicture(std::int64_t deadline)
    {
        const std::uint64_t before = delivered();
        while (delivered() == before && hostTimeNanoseconds() < deadline) {
            if (!source_.isRequested() && hostTimeNanoseconds() >= nextRequest_)
                source_.request();
            connection_->dispatchOnce(clockTime(std::min(deadline, hostTimeNanoseconds() + lookInterval)));
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
    std::int64_t nextRequest_ = 0;
};

} // namespace

std::shared_ptr<CaptureStream> openWaylandCaptureStream(
    const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
{
    return std::make_shared<WaylandCaptureStream>(filter, configuration);
}

} // namespace glimto
