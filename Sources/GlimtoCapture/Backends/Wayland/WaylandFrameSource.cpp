#include "Backends/Wayland/WaylandFrameSource.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Backends/Wayland/WaylandErrors.h"
#include "Backends/Wayland/WaylandPicture.h"

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

} // namespace

WaylandFrameSource::WaylandFrameSource(
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

// The compositor copies what is needed and no more where the pixels of a part are beyond doubt: at a whole scale, on
// a display that is not turned. wlroots 0.15 mistakes parts of displays that are turned by 90 degrees.
void WaylandFrameSource::chooseArea(const WaylandOutput& output)
{
    if (!wanted_.sourceRect)
        return;
    const Display display = output.display();
    const double scale = display.width > 0 ? static_cast<double>(display.pixelsWide) / display.width : 1.0;
    Rect origin;
    if (isWhole(scale) && output.transform() == WL_OUTPUT_TRANSFORM_NORMAL) {
        area_.part = wholePoints(*wanted_.sourceRect);
        origin = {static_cast<double>(area_.part->x), static_cast<double>(area_.part->y), 0, 0};
    }
    crop_ = PixelRect{static_cast<int>(std::lround((wanted_.sourceRect->x - origin.x) * scale)),
        static_cast<int>(std::lround((wanted_.sourceRect->y - origin.y) * scale)), wanted_.width,
        wanted_.height};
}

const WaylandOutput& WaylandFrameSource::output() const
{
    for (const auto& each : connection_.outputs()) {
        if (each->display().displayID == displayID_)
            return *each;
    }
    throw waylandError(WaylandFailure::sourceGone, "The display being captured was disconnected.");
}

void WaylandFrameSource::request()
{
    if (copy_)
        return;
    area_.output = output().output();
    copy_ = std::make_unique<WaylandCopy>(connection_, area_);
}

bool WaylandFrameSource::waitsForConsumers() const
{
    return copy_ && copy_->format() && !copy_->isStarted();
}

WaylandFrameSource::Result WaylandFrameSource::receive()
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

void WaylandFrameSource::take(const WaylandCopy& copy, const WaylandBuffer& buffer)
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
    // Compositors do not agree on where the damage of a part is counted from: all of it is taken as changed.
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

} // namespace glimto
