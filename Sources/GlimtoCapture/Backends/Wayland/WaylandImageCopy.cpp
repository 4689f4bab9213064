#include "Backends/Wayland/WaylandImageCopy.h"

#include <utility>

namespace glimto {

namespace {

using Session = ext_image_copy_capture_session_v1;
using Frame = ext_image_copy_capture_frame_v1;

} // namespace

class WaylandImageCopySource::Copy final : public WaylandCopy {
public:
    explicit Copy(const WaylandImageCopySource& source)
        : source_(source)
    {
    }

    const std::optional<WaylandPictureFormat>& format() const override { return source_.constraints_.best(); }
    bool isUnusable() const override
    {
        return source_.constraints_.areKnown() && !source_.constraints_.best();
    }

private:
    static Copy& self(void* data) { return *static_cast<Copy*>(data); }

    void begin(WaylandBuffer& buffer, When) override
    {
        static constexpr ext_image_copy_capture_frame_v1_listener listener = {
            .transform
            = [](void* data, Frame*, std::uint32_t transform) { self(data).didTellTransform(transform); },
            .damage = [](void* data, Frame*, std::int32_t x, std::int32_t y, std::int32_t width,
                          std::int32_t height) { self(data).didChange(x, y, width, height); },
            .presentation_time
            = [](void* data, Frame*, std::uint32_t high, std::uint32_t low,
                  std::uint32_t nanoseconds) { self(data).didTellTime(high, low, nanoseconds); },
            .ready = [](void* data, Frame*) { self(data).didBecomeReady(); },
            // A session that has stopped says so itself, and one that wants other buffers has told them.
            .failed = [](void* data, Frame*, std::uint32_t) { self(data).didFail(); },
        };
        frame_.reset(ext_image_copy_capture_session_v1_create_frame(source_.session_.get()));
        ext_image_copy_capture_frame_v1_add_listener(frame_.get(), &listener, this);
        ext_image_copy_capture_frame_v1_attach_buffer(frame_.get(), buffer.buffer());
        for (const PixelRect& rect : buffer.stale().rects())
            ext_image_copy_capture_frame_v1_damage_buffer(
                frame_.get(), rect.x, rect.y, rect.width, rect.height);
        ext_image_copy_capture_frame_v1_capture(frame_.get());
    }

    const WaylandImageCopySource& source_;
    WaylandHandle<ext_image_copy_capture_frame_v1> frame_;
};

WaylandImageCopySource::WaylandImageCopySource(
    WaylandConnection& connection, WaylandHandle<ext_image_capture_source_v1> source, bool showsCursor)
    : source_(std::move(source))
    , session_(ext_image_copy_capture_manager_v1_create_session(connection.imageCopy(), source_.get(),
          showsCursor ? EXT_IMAGE_COPY_CAPTURE_MANAGER_V1_OPTIONS_PAINT_CURSORS : 0))
{
    static constexpr auto constraints = [](void* self) -> WaylandCopyConstraints& {
        return static_cast<WaylandImageCopySource*>(self)->constraints_;
    };
    static constexpr ext_image_copy_capture_session_v1_listener listener = {
        .buffer_size = [](void* self, Session*, std::uint32_t width,
                           std::uint32_t height) { constraints(self).tellSize(width, height); },
        .shm_format
        = [](void* self, Session*, std::uint32_t format) { constraints(self).tellFormat(format); },
        .dmabuf_device = [](void*, Session*, wl_array*) {},
        .dmabuf_format = [](void*, Session*, std::uint32_t, wl_array*) {},
        .done = [](void* self, Session*) { constraints(self).tellDone(); },
        .stopped = [](void* self, Session*) { static_cast<WaylandImageCopySource*>(self)->hasEnded_ = true; },
    };
    ext_image_copy_capture_session_v1_add_listener(session_.get(), &listener, this);
}

std::unique_ptr<WaylandCopy> WaylandImageCopySource::makeCopy(wl_output*)
{
    return std::make_unique<Copy>(*this);
}

} // namespace glimto
