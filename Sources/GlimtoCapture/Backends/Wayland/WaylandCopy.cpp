#include "Backends/Wayland/WaylandCopy.h"

#include <algorithm>

namespace glimto {

namespace {

// From here on the compositor says when it has told all kinds of buffers.
constexpr std::uint32_t versionWithBufferDone = 3;
constexpr std::uint32_t versionWithDamage = 2;

// More rectangles than these are not worth telling apart.
constexpr std::size_t mostRects = 256;
constexpr std::uint32_t farthestPixel = 32767;

WaylandHandle<zwlr_screencopy_frame_v1> makeFrame(WaylandConnection& connection, const WaylandCopyArea& area)
{
    zwlr_screencopy_manager_v1* manager = connection.screencopy();
    const std::int32_t cursor = area.showsCursor ? 1 : 0;
    if (!area.part)
        return WaylandHandle<zwlr_screencopy_frame_v1>(
            zwlr_screencopy_manager_v1_capture_output(manager, cursor, area.output));
    return WaylandHandle<zwlr_screencopy_frame_v1>(zwlr_screencopy_manager_v1_capture_output_region(
        manager, cursor, area.output, area.part->x, area.part->y, area.part->width, area.part->height));
}

} // namespace

WaylandCopy::WaylandCopy(WaylandConnection& connection, const WaylandCopyArea& area)
    : frame_(makeFrame(connection, area))
    , version_(connection.screencopyVersion())
{
    listen();
}

void WaylandCopy::listen()
{
    using Frame = zwlr_screencopy_frame_v1;
    static constexpr zwlr_screencopy_frame_v1_listener listener = {
        .buffer =
            [](void* data, Frame*, std::uint32_t format, std::uint32_t width, std::uint32_t height,
                std::uint32_t stride) {
                auto* self = static_cast<WaylandCopy*>(data);
                self->isOffered({.format = format, .width = width, .height = height, .bytesPerRow = stride});
            },
        .flags =
            [](void* data, Frame*, std::uint32_t flags) {
                static_cast<WaylandCopy*>(data)->isUpsideDown_
                    = (flags & ZWLR_SCREENCOPY_FRAME_V1_FLAGS_Y_INVERT) != 0;
            },
        .ready =
            [](void* data, Frame*, std::uint32_t high, std::uint32_t low, std::uint32_t nanoseconds) {
                auto* self = static_cast<WaylandCopy*>(data);
                // Seconds that need more than 32 bits are no clock's.
                self->time_ = high == 0 ? std::int64_t{low} * 1'000'000'000 + nanoseconds : 0;
                self->isReady_ = true;
            },
        .failed = [](void* data, Frame*) { static_cast<WaylandCopy*>(data)->hasFailed_ = true; },
        .damage
        = [](void* data, Frame*, std::uint32_t x, std::uint32_t y, std::uint32_t width,
              std::uint32_t height) { static_cast<WaylandCopy*>(data)->didChange(x, y, width, height); },
        .linux_dmabuf = [](void*, Frame*, std::uint32_t, std::uint32_t, std::uint32_t) {},
        .buffer_done =
            [](void* data, Frame*) {
                auto* self = static_cast<WaylandCopy*>(data);
                self->format_ = self->offered_;
                // Nothing but graphics memory was offered.
                self->isUnusable_ = !self->format_;
            },
    };
    zwlr_screencopy_frame_v1_add_listener(frame_.get(), &listener, this);
}

void WaylandCopy::isOffered(const WaylandPictureFormat& format)
{
    if (isStarted_)
        return;
    offered_ = format;
    if (version_ < versionWithBufferDone)
        format_ = format;
}

void WaylandCopy::didChange(std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height)
{
    if (damage_.size() >= mostRects || std::max({x, y, width, height}) > farthestPixel) {
        hasUnknownDamage_ = true;
        return;
    }
    damage_.push_back(
        {static_cast<int>(x), static_cast<int>(y), static_cast<int>(width), static_cast<int>(height)});
}

const std::vector<PixelRect>* WaylandCopy::damage() const
{
    return damage_.empty() || hasUnknownDamage_ ? nullptr : &damage_;
}

void WaylandCopy::start(WaylandBuffer& buffer, When when)
{
    isStarted_ = true;
    if (when == When::onceChanged && version_ >= versionWithDamage)
        zwlr_screencopy_frame_v1_copy_with_damage(frame_.get(), buffer.buffer());
    else
        zwlr_screencopy_frame_v1_copy(frame_.get(), buffer.buffer());
}

} // namespace glimto
