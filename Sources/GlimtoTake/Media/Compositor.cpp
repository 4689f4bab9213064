#include "GlimtoTake/Media/Compositor.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include <cairo/cairo.h>

#include "GlimtoTake/Media/PointerDrawing.h"
#include "Support/Errors.h"
#include "Support/Owned.h"

namespace glimto {

namespace {

using SurfaceHandle = Owned<cairo_surface_t, cairo_surface_destroy>;
using ContextHandle = Owned<cairo_t, cairo_destroy>;

struct Area {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;

    bool isEmpty() const { return right <= left || bottom <= top; }

    Area joined(const Area& other) const
    {
        if (isEmpty())
            return other;
        if (other.isEmpty())
            return *this;
        return {std::min(left, other.left), std::min(top, other.top), std::max(right, other.right),
            std::max(bottom, other.bottom)};
    }
};

} // namespace

class Compositor::Impl {
public:
    explicit Impl(const CanvasLayout& layout)
        : layout_(layout)
        , canvas_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, layout.width, layout.height))
        , context_(cairo_create(canvas_.get()))
    {
        if (cairo_status(context_.get()) != CAIRO_STATUS_SUCCESS)
            throw CLIError("The picture is too large to be drawn.");
    }

    std::optional<PixelRect> draw(std::optional<PixelBuffer> picture, const FrameState& state)
    {
        const bool isNewPicture = picture.has_value();
        if (isNewPicture)
            setPicture(*std::move(picture));
        if (!picture_)
            return std::nullopt;
        const Area overlay = overlayArea(state);
        Area changed;
        if (isFirst_)
            changed = {0, 0, static_cast<double>(layout_.width), static_cast<double>(layout_.height)};
        else if (isNewPicture || state.camera != state_.camera)
            changed = pictureArea().joined(overlay_).joined(overlay);
        else if (state.pointer != state_.pointer)
            changed = overlay_.joined(overlay);
        state_ = state;
        overlay_ = overlay;
        isFirst_ = false;
        const auto rect = evenRect(changed);
        if (rect)
            paint(*rect);
        return rect;
    }

    const std::uint8_t* bytes() const
    {
        cairo_surface_flush(canvas_.get());
        return cairo_image_surface_get_data(canvas_.get());
    }

    int bytesPerRow() const { return cairo_image_surface_get_stride(canvas_.get()); }

private:
    void setPicture(PixelBuffer picture)
    {
        // Cairo does not write to what it only paints from.
        auto* pixels = const_cast<std::uint8_t*>(picture.bytes);
        surface_.reset(cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_RGB24, picture.width,
            picture.height, static_cast<int>(picture.bytesPerRow)));
        picture_ = std::move(picture);
    }

    // Where the picture lies on the canvas; it keeps its shape.
    Area pictureArea() const
    {
        const double room = 2.0 * layout_.padding;
        const double scale
            = std::min((layout_.width - room) / picture_->width, (layout_.height - room) / picture_->height);
        const double width = picture_->width * scale;
        const double height = picture_->height * scale;
        const double left = (layout_.width - width) / 2;
        const double top = (layout_.height - height) / 2;
        return {left, top, left + width, top + height};
    }

    // Canvas pixels of one pixel of the picture, seen through the camera.
    double scaleOf(const CameraView& camera) const
    {
        const Area area = pictureArea();
        return (area.right - area.left) / picture_->width / camera.size;
    }

    // A place within the picture on the canvas.
    std::pair<double, double> placeOf(const CameraView& camera, double x, double y) const
    {
        const Area area = pictureArea();
        return {area.left + (x - camera.left) / camera.size * (area.right - area.left),
            area.top + (y - camera.top) / camera.size * (area.bottom - area.top)};
    }

    Area overlayArea(const FrameState& state) const
    {
        Area area;
        if (!state.pointer.isVisible)
            return area;
        const double scale = layout_.pointerScale * scaleOf(state.camera);
        const auto around = [&](double x, double y, double reach) {
            const auto [left, top] = placeOf(state.camera, x, y);
            area = area.joined({left - reach, top - reach, left + reach, top + reach});
        };
        around(state.pointer.x, state.pointer.y, pointerReach * scale);
        for (const ClickRing& ring : state.pointer.rings)
            around(ring.x, ring.y, ringReach * scale);
        return area;
    }

    std::optional<PixelRect> evenRect(const Area& area) const
    {
        const auto within
            = [](double value, int most) { return std::clamp(static_cast<int>(value), 0, most); };
        const int left = within(std::floor(area.left), layout_.width) / 2 * 2;
        const int top = within(std::floor(area.top), layout_.height) / 2 * 2;
        const int right = (within(std::ceil(area.right), layout_.width) + 1) / 2 * 2;
        const int bottom = (within(std::ceil(area.bottom), layout_.height) + 1) / 2 * 2;
        if (area.isEmpty() || right <= left || bottom <= top)
            return std::nullopt;
        return PixelRect{left, top, right - left, bottom - top};
    }

    void paint(const PixelRect& rect)
    {
        cairo_t* cairo = context_.get();
        cairo_save(cairo);
        cairo_rectangle(cairo, rect.x, rect.y, rect.width, rect.height);
        cairo_clip(cairo);
        const Area area = pictureArea();
        const bool isFramed = layout_.padding > 0 || layout_.cornerRadius > 0;
        if (isFramed || area.left > 0 || area.top > 0)
            paintBackground();
        cairo_save(cairo);
        clipToPicture(area);
        paintPicture(area);
        paintOverlay();
        cairo_restore(cairo);
        cairo_restore(cairo);
    }

    void paintBackground()
    {
        const auto share = [this](unsigned shift) { return (layout_.background >> shift & 0xFFU) / 255.0; };
        cairo_set_source_rgb(context_.get(), share(16), share(8), share(0));
        cairo_paint(context_.get());
    }

    void clipToPicture(const Area& area)
    {
        cairo_t* cairo = context_.get();
        const double radius = std::min<double>(layout_.cornerRadius, (area.bottom - area.top) / 2);
        if (radius <= 0) {
            cairo_rectangle(cairo, area.left, area.top, area.right - area.left, area.bottom - area.top);
        } else {
            constexpr double quarter = std::numbers::pi / 2;
            cairo_new_sub_path(cairo);
            cairo_arc(cairo, area.right - radius, area.top + radius, radius, -quarter, 0);
            cairo_arc(cairo, area.right - radius, area.bottom - radius, radius, 0, quarter);
            cairo_arc(cairo, area.left + radius, area.bottom - radius, radius, quarter, 2 * quarter);
            cairo_arc(cairo, area.left + radius, area.top + radius, radius, 2 * quarter, 3 * quarter);
            cairo_close_path(cairo);
        }
        cairo_clip(cairo);
    }

    void paintPicture(const Area& area)
    {
        cairo_t* cairo = context_.get();
        const CameraView& camera = state_.camera;
        const double scale = scaleOf(camera);
        const auto [left, top] = placeOf(camera, 0, 0);
        cairo_save(cairo);
        cairo_translate(cairo, left, top);
        cairo_scale(cairo, scale, scale);
        cairo_set_source_surface(cairo, surface_.get(), 0, 0);
        cairo_pattern_t* pattern = cairo_get_source(cairo);
        const bool isPlain = std::abs(scale - 1) < 1e-9 && camera == CameraView()
            && area.left == std::floor(area.left) && area.top == std::floor(area.top);
        cairo_pattern_set_filter(pattern, isPlain ? CAIRO_FILTER_NEAREST : CAIRO_FILTER_BILINEAR);
        cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
        cairo_set_operator(cairo, layout_.cornerRadius > 0 ? CAIRO_OPERATOR_OVER : CAIRO_OPERATOR_SOURCE);
        cairo_paint(cairo);
        cairo_restore(cairo);
    }

    void paintOverlay()
    {
        const PointerState& pointer = state_.pointer;
        if (!pointer.isVisible)
            return;
        const double scale = layout_.pointerScale * scaleOf(state_.camera);
        for (const ClickRing& ring : pointer.rings) {
            const auto [x, y] = placeOf(state_.camera, ring.x, ring.y);
            drawClickRing(context_.get(), x, y, scale, ring.age);
        }
        const auto [x, y] = placeOf(state_.camera, pointer.x, pointer.y);
        if (pointer.scroll != 0)
            drawScrollArrow(context_.get(), x, y, scale, pointer.scroll);
        drawPointer(context_.get(), x, y, scale, pointer.isPressed);
    }

    const CanvasLayout layout_;
    SurfaceHandle canvas_;
    ContextHandle context_;
    std::optional<PixelBuffer> picture_; // outlives the surface, which reads from it
    SurfaceHandle surface_;
    FrameState state_;
    Area overlay_;
    bool isFirst_ = true;
};

Compositor::Compositor(const CanvasLayout& layout)
    : impl_(std::make_unique<Impl>(layout))
{
}

Compositor::~Compositor() = default;

std::optional<PixelRect> Compositor::draw(std::optional<PixelBuffer> picture, const FrameState& state)
{
    return impl_->draw(std::move(picture), state);
}

const std::uint8_t* Compositor::bytes() const
{
    return impl_->bytes();
}

int Compositor::bytesPerRow() const
{
    return impl_->bytesPerRow();
}

} // namespace glimto
