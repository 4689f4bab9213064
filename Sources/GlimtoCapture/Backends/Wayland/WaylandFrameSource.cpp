#include "Backends/Wayland/WaylandFrameSource.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Backends/Streams/ChangedRows.h"
#include "Backends/Wayland/WaylandErrors.h"
#include "Backends/Wayland/WaylandImageCopy.h"
#include "Backends/Wayland/WaylandPicture.h"
#include "Backends/Wayland/WaylandScreencopy.h"

namespace glimto {

namespace {

// A copy may fail while a display changes its mode.
constexpr int mostFailures = 40;

constexpr std::chrono::seconds sizeTimeout{5};

// A stream has at least these pixels in each direction.
constexpr int leastSide = 2;

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
    const auto& memory = buffer.memory();
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

double pixelsPerPoint(const Display& display)
{
    return display.width > 0 ? static_cast<double>(display.pixelsWide) / display.width : 1.0;
}

PlatformError sourceGone(const char* sentence)
{
    return waylandError(WaylandFailure::sourceGone, sentence);
}

constexpr const char* displayGone = "The display being captured was disconnected.";
constexpr const char* windowGone = "The window being captured was closed.";

PlatformError unsupportedFormat()
{
    return waylandError(WaylandFailure::unsupportedFormat,
        "The Wayland compositor gives pictures in a format that cannot be captured.");
}

} // namespace

WaylandFrameSource::WaylandFrameSource(
    WaylandConnection& connection, const ContentFilter& filter, const CaptureStreamConfiguration& wanted)
    : connection_(connection)
    , wanted_(wanted)
{
    if (const auto* display = std::get_if<DisplayContentFilter>(&filter.content))
        openDisplay(display->display);
    else
        openWindow(std::get<WindowContentFilter>(filter.content).window.windowID);
}

void WaylandFrameSource::openDisplay(const Display& display)
{
    displayID_ = display.displayID;
    std::optional<PixelRect> part;
    switch (connection_.captureWay()) {
    case WaylandConnection::CaptureWay::none:
        throw waylandError(WaylandFailure::missingProtocol, connection_.captureObstacle());
    case WaylandConnection::CaptureWay::imageCopy:
        copies_ = std::make_unique<WaylandImageCopySource>(connection_,
            WaylandHandle<ext_image_capture_source_v1>(
                ext_output_image_capture_source_manager_v1_create_source(
                    connection_.outputSources(), output().output())),
            wanted_.showsCursor);
        break;
    case WaylandConnection::CaptureWay::screencopy:
        part = partToCopy();
        copies_ = std::make_unique<WaylandScreencopySource>(connection_, part, wanted_.showsCursor);
        break;
    }
    copiesPart_ = part.has_value();
    findCrop(part);
}

// By wlr-screencopy: what is needed and no more where the pixels of a part are beyond doubt, at a whole
// scale, on a display that is not turned. wlroots 0.15 mistakes parts of displays that are turned by 90
// degrees.
std::optional<PixelRect> WaylandFrameSource::partToCopy() const
{
    const bool isBeyondDoubt
        = isWhole(pixelsPerPoint(output().display())) && output().transform() == WL_OUTPUT_TRANSFORM_NORMAL;
    return wanted_.sourceRect && isBeyondDoubt ? std::optional(wholePoints(*wanted_.sourceRect))
                                               : std::nullopt;
}

void WaylandFrameSource::findCrop(const std::optional<PixelRect>& part)
{
    if (!wanted_.sourceRect)
        return;
    const double scale = pixelsPerPoint(output().display());
    const PixelRect origin = part.value_or(PixelRect());
    crop_ = PixelRect{static_cast<int>(std::lround((wanted_.sourceRect->x - origin.x) * scale)),
        static_cast<int>(std::lround((wanted_.sourceRect->y - origin.y) * scale)), wanted_.width,
        wanted_.height};
}

// The frames have the size that the window has now.
void WaylandFrameSource::openWindow(std::uint32_t windowID)
{
    if (!connection_.canCaptureWindows())
        throw waylandError(WaylandFailure::noWindowCapture,
            "This Wayland compositor cannot show a single window to this program. Record a display or a "
            "region.");
    windows_ = std::make_unique<WaylandWindowList>(connection_);
    window_ = windows_->keepOnly(windowID);
    if (!window_)
        throw sourceGone(windowGone);
    WaylandHandle<ext_image_capture_source_v1> source(
        ext_foreign_toplevel_image_capture_source_manager_v1_create_source(
            connection_.windowSources(), window_->handle.get()));
    auto copies
        = std::make_unique<WaylandImageCopySource>(connection_, std::move(source), wanted_.showsCursor);
    const auto& constraints = copies->constraints();
    const bool isTold = connection_.dispatchUntil(
        [&] { return constraints.areKnown() || copies->hasEnded(); }, HostClock::now() + sizeTimeout);
    if (!isTold)
        throw waylandError(WaylandFailure::noAnswer, "The Wayland compositor does not answer.");
    if (copies->hasEnded())
        throw sourceGone(windowGone);
    if (!constraints.best() || !constraints.best()->isUsable())
        throw unsupportedFormat();
    wanted_.width = std::max(leastSide, static_cast<int>(constraints.best()->width));
    wanted_.height = std::max(leastSide, static_cast<int>(constraints.best()->height));
    copies_ = std::move(copies);
}

const WaylandOutput& WaylandFrameSource::output() const
{
    for (const auto& each : connection_.outputs()) {
        if (each->display().displayID == displayID_)
            return *each;
    }
    throw sourceGone(displayGone);
}

void WaylandFrameSource::requireContent()
{
    if (displayID_)
        output();
    else if (window_->isClosed || copies_->hasEnded())
        throw sourceGone(windowGone);
    if (!copies_->hasEnded())
        return;
    // A display that goes is said to be gone a little later.
    connection_.roundTrip();
    output();
    throw sourceGone("The Wayland compositor has ended the capture of the display.");
}

void WaylandFrameSource::request()
{
    if (copy_)
        return;
    copy_ = copies_->makeCopy(displayID_ ? output().output() : nullptr);
    startCopy();
}

// Where what the compositor wants is known already, and there is memory for it.
void WaylandFrameSource::startCopy()
{
    const auto& format = copy_->format();
    if (copy_->isUnusable() || (format && !format->isUsable()))
        throw unsupportedFormat();
    if (format && (buffer_ = bufferFor(*format)))
        copy_->start(*buffer_, picture_ ? WaylandCopy::When::onceChanged : WaylandCopy::When::now);
}

WaylandFrameSource::Result WaylandFrameSource::receive()
{
    requireContent();
    if (!copy_)
        return Result::nothing;
    if (needsOtherBuffer()) {
        abandonCopy();
        return Result::nothing;
    }
    if (copy_->hasFailed())
        return didFail();
    if (copy_->isReady()) {
        failures_ = 0;
        take(*copy_, *buffer_);
        copy_.reset();
        return Result::picture;
    }
    if (!copy_->isStarted())
        startCopy();
    return Result::nothing;
}

// Whether the compositor has changed its mind, so that what was asked for will not come.
bool WaylandFrameSource::needsOtherBuffer() const
{
    return copy_->isStarted() && !copy_->isReady() && copy_->format()
        && *copy_->format() != buffer_->format();
}

// Nobody says what became of the pixels.
void WaylandFrameSource::abandonCopy()
{
    copy_.reset();
    for (const auto& buffer : buffers_)
        buffer->stale().addAll();
}

WaylandFrameSource::Result WaylandFrameSource::didFail()
{
    abandonCopy();
    if (++failures_ > mostFailures)
        throw waylandError(WaylandFailure::copyFailed,
            displayID_ ? "The Wayland compositor gives no picture of the display."
                       : "The Wayland compositor gives no picture of the window.");
    return Result::failed;
}

// A buffer that no consumer holds; null while all are held.
WaylandBuffer* WaylandFrameSource::bufferFor(const WaylandPictureFormat& format)
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

void WaylandFrameSource::take(const WaylandCopy& copy, WaylandBuffer& buffer)
{
    noteDamage(copy, buffer);
    const std::int32_t turned = displayID_ ? output().transform() : WL_OUTPUT_TRANSFORM_NORMAL;
    const WaylandPictureChange change = {.transform = copy.transform().value_or(turned),
        .isUpsideDown = copy.isUpsideDown(),
        .crop = crop_,
        .width = wanted_.width,
        .height = wanted_.height};
    const PixelBuffer copied = pictureIn(buffer);
    const auto part = change.unchangedPart(copied.width, copied.height);
    const PixelRect whole = {0, 0, wanted_.width, wanted_.height};
    const bool hasNewPlace = std::exchange(part_, part) != part;
    const auto before = std::exchange(picture_,
        std::make_shared<const MemoryPicture>(
            part ? lease(buffer, *part) : changedWaylandPicture(copied, change)));
    time_ = copy.time();
    changedRects_.clear();
    const auto addChanged = [&](const PixelRect& rect) {
        if (const PixelRect changed = intersection(rect, whole); !changed.isEmpty())
            changedRects_.push_back(changed);
    };
    if (!before || hasNewPlace)
        return addChanged(whole);
    // Compositors do not agree on where the damage of a part is counted from.
    if (part && !copiesPart_ && copy.damage()) {
        for (const PixelRect& rect : *copy.damage())
            addChanged({rect.x - part->x, rect.y - part->y, rect.width, rect.height});
        if (changedRects_ != std::vector{whole})
            return;
    }
    // wlroots takes all as changed when somebody begins to look, and some programs draw all for nothing.
    changedRects_.clear();
    addChanged(changedRows(before->pixels(), picture_->pixels()));
}

// What changed since the last copy is old in all other buffers.
void WaylandFrameSource::noteDamage(const WaylandCopy& copy, WaylandBuffer& buffer)
{
    for (const auto& other : buffers_) {
        if (!copy.damage())
            other->stale().addAll();
        else
            std::ranges::for_each(*copy.damage(), [&](const PixelRect& rect) { other->stale().add(rect); });
    }
    buffer.stale().clear();
}

} // namespace glimto
