#include "Backends/Wayland/WaylandScreencopy.h"

#include <utility>

namespace glimto {

namespace {

// From here on the compositor says when it has told all kinds of buffers.
constexpr std::uint32_t versionWithBufferDone = 3;
constexpr std::uint32_t versionWithDamage = 2;

class Screencopy final : public WaylandCopy {
public:
    explicit Screencopy(WaylandHandle<zwlr_screencopy_frame_v1> frame)
        : frame_(std::move(frame))
        , version_(zwlr_screencopy_frame_v1_get_version(frame_.get()))
    {
        listen();
    }

    const std::optional<WaylandPictureFormat>& format() const override { return format_; }
    bool isUnusable() const override { return isUnusable_; }

private:
    using Frame = zwlr_screencopy_frame_v1;

    static Screencopy& self(void* data) { return *static_cast<Screencopy*>(data); }

    void listen()
    {
        static constexpr zwlr_screencopy_frame_v1_listener listener = {
            .buffer =
                [](void* data, Frame*, std::uint32_t format, std::uint32_t width, std::uint32_t height,
                    std::uint32_t stride) {
                    self(data).isOffered(
                        {.format = format, .width = width, .height = height, .bytesPerRow = stride});
                },
            .flags =
                [](void* data, Frame*, std::uint32_t flags) {
                    self(data).didTellUpsideDown((flags & ZWLR_SCREENCOPY_FRAME_V1_FLAGS_Y_INVERT) != 0);
                },
            .ready =
                [](void* data, Frame*, std::uint32_t high, std::uint32_t low, std::uint32_t nanoseconds) {
                    self(data).didTellTime(high, low, nanoseconds);
                    self(data).didBecomeReady();
                },
            .failed = [](void* data, Frame*) { self(data).didFail(); },
            .damage = [](void* data, Frame*, std::uint32_t x, std::uint32_t y, std::uint32_t width,
                          std::uint32_t height) { self(data).didChange(x, y, width, height); },
            .linux_dmabuf = [](void*, Frame*, std::uint32_t, std::uint32_t, std::uint32_t) {},
            .buffer_done =
                [](void* data, Frame*) {
                    self(data).format_ = self(data).offered_;
                    // Nothing but graphics memory was offered.
                    self(data).isUnusable_ = !self(data).format_;
                },
        };
        zwlr_screencopy_frame_v1_add_listener(frame_.get(), &listener, this);
    }

    void isOffered(const WaylandPictureFormat& format)
    {
        if (isStarted())
            return;
        offered_ = format;
        if (version_ < versionWithBufferDone)
            format_ = format;
    }

    void begin(WaylandBuffer& buffer, When when) override
    {
        if (when == When::onceChanged && version_ >= versionWithDamage)
            zwlr_screencopy_frame_v1_copy_with_damage(frame_.get(), buffer.buffer());
        else
            zwlr_screencopy_frame_v1_copy(frame_.get(), buffer.buffer());
    }

    WaylandHandle<zwlr_screencopy_frame_v1> frame_;
    std::uint32_t version_;
    std::optional<WaylandPictureFormat> offered_; // of shared memory; more kinds may be told after it
    std::optional<WaylandPictureFormat> format_;
    bool isUnusable_ = false;
};

} // namespace

std::unique_ptr<WaylandCopy> WaylandScreencopySource::makeCopy(wl_output* output)
{
    zwlr_screencopy_manager_v1* manager = connection_.screencopy();
    const std::int32_t cursor = showsCursor_ ? 1 : 0;
    zwlr_screencopy_frame_v1* frame = part_
        ? zwlr_screencopy_manager_v1_capture_output_region(
            manager, cursor, output, part_->x, part_->y, part_->width, part_->height)
        : zwlr_screencopy_manager_v1_capture_output(manager, cursor, output);
    return std::make_unique<Screencopy>(WaylandHandle<zwlr_screencopy_frame_v1>(frame));
}

} // namespace glimto
