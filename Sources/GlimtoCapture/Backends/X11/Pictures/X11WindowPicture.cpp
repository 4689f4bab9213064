#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

#include <xcb/composite.h>

#include "Backends/X11/Connection/X11AtomNames.h"
#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Pictures/X11ContentPicture.h"
#include "Backends/X11/Windows/X11WindowRules.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

// How long the window gets to draw what others have covered up to now: the server has not kept that,
// and has put what covered it there instead.
constexpr std::chrono::milliseconds timeToRepaint{30};

struct AtomNames : X11AtomSet {
    using X11AtomSet::X11AtomSet;

    X11Atom frameExtents{*this, "_GTK_FRAME_EXTENTS"};
};

PlatformError windowGone()
{
    return x11Error(X11Failure::sourceGone, "The window being captured was closed.");
}

// The window without its shadow.
PixelRect contentOf(PixelSize size, std::span<const std::uint32_t> extents)
{
    const Rect inner
        = withoutShadow({0, 0, static_cast<double>(size.width), static_cast<double>(size.height)}, extents);
    return {static_cast<int>(std::lround(inner.x)), static_cast<int>(std::lround(inner.y)),
        static_cast<int>(std::lround(inner.width)), static_cast<int>(std::lround(inner.height))};
}

class X11WindowPicture : public X11PictureSource {
public:
    X11WindowPicture(X11Connection& connection, xcb_window_t window)
        : connection_(connection)
        , window_(window)
        , atoms_(connection)
        , damage_(connection, window)
    {
        xcb_connection_t* xcb = connection_.xcb();
        connection_.requireExtension(xcb_composite_id, "Composite");
        const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_VISIBILITY_CHANGE
            | XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(xcb, window_, XCB_CW_EVENT_MASK, &events);
        const auto version = xcb_composite_query_version(xcb, 0, 4);
        const auto attributesCookie = xcb_get_window_attributes(xcb, window_);
        const auto geometryCookie = xcb_get_geometry(xcb, window_);
        const auto geometry = connection_.reply<xcb_get_geometry_reply_t>(geometryCookie);
        const auto attributes = connection_.reply<xcb_get_window_attributes_reply_t>(attributesCookie);
        connection_.reply<xcb_composite_query_version_reply_t>(version);
        if (!geometry || !attributes)
            throw windowGone();
        if (attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY)
            throw x11Error(
                X11Failure::unsupportedVisual, "The window to capture has no picture: it only takes input.");
        format_
            = X11PixelFormat::of(connection_, geometry->depth, attributes->visual, "The window to capture");
        depth_ = geometry->depth;
        isShown_ = attributes->map_state == XCB_MAP_STATE_VIEWABLE;

        context_ = makeCopyContext(connection_, depth_);
        bounds_ = makeX11Region(connection_);
        // From here on the window has all of its contents in memory of its own.
        xcb_composite_redirect_window(xcb, window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        readyAt_ = HostClock::now() + timeToRepaint;
        takePixmap();
    }

    ~X11WindowPicture() override
    {
        xcb_composite_unredirect_window(connection_.xcb(), window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    }

    PixelSize size() const override { return {content_.width, content_.height}; }
    std::uint8_t depth() const override { return depth_; }
    X11PixelFormat format() const override { return format_; }
    std::uint64_t layout() const override { return layout_; }

    void handle(const xcb_generic_event_t& event) override
    {
        // What others send to the window says nothing about what the server did.
        if (damage_.handle(event) || (event.response_type & 0x80) != 0)
            return;
        switch (event.response_type) {
        case XCB_DESTROY_NOTIFY:
            isGone_ = isGone_ || reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == window_;
            break;
        case XCB_MAP_NOTIFY:
            mayHaveNewPixmap_ = isShown_ = true;
            break;
        case XCB_UNMAP_NOTIFY:
            isShown_ = false;
            break;
        case XCB_VISIBILITY_NOTIFY:
            handleVisibility(reinterpret_cast<const xcb_visibility_notify_event_t&>(event));
            break;
        case XCB_CONFIGURE_NOTIFY:
            handleConfigure(reinterpret_cast<const xcb_configure_notify_event_t&>(event));
            break;
        case XCB_PROPERTY_NOTIFY:
            if (reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == atoms_.frameExtents)
                mayHaveNewPixmap_ = true;
            break;
        default:
            break;
        }
    }

    void update() override
    {
        if (isGone_)
            throw windowGone();
        if (std::exchange(mayHaveNewPixmap_, false))
            takePixmap();
    }

    bool hasChanges() const override { return isGone_ || mayHaveNewPixmap_ || damage_.isPending(); }
    bool isReady() const override { return HostClock::now() >= readyAt_; }

    void requestChanges(xcb_xfixes_region_t changes) override
    {
        damage_.requestTake(changes);
        if (content_.x != 0 || content_.y != 0) {
            xcb_xfixes_translate_region(connection_.xcb(), changes, static_cast<std::int16_t>(-content_.x),
                static_cast<std::int16_t>(-content_.y));
        }
        xcb_xfixes_intersect_region(connection_.xcb(), changes, bounds_, changes);
    }

    void requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip) override
    {
        if (pixmap_ == XCB_NONE)
            return;
        xcb_xfixes_set_gc_clip_region(connection_.xcb(), context_, clip, 0, 0);
        xcb_copy_area(connection_.xcb(), pixmap_, target, context_,
            static_cast<std::int16_t>(border_ + content_.x), static_cast<std::int16_t>(border_ + content_.y),
            0, 0, static_cast<std::uint16_t>(content_.width), static_cast<std::uint16_t>(content_.height));
    }

    std::optional<X11PictureSource::Place> place() const override
    {
        if (!isShown_)
            return std::nullopt;
        return Place{window_, content_.x, content_.y};
    }

private:
    // The only sign that a window is shown again whose frame was hidden with it inside.
    void handleVisibility(const xcb_visibility_notify_event_t& event)
    {
        if (event.state == XCB_VISIBILITY_FULLY_OBSCURED)
            return;
        mayHaveNewPixmap_ = isShown_ = true;
    }

    void handleConfigure(const xcb_configure_notify_event_t& event)
    {
        if (event.window == window_
            && (PixelSize{event.width, event.height} != windowSize_ || event.border_width != border_))
            mayHaveNewPixmap_ = true;
    }

    void takePixmap()
    {
        mayHaveNewPixmap_ = false;
        xcb_connection_t* xcb = connection_.xcb();
        X11Pixmap pixmap(connection_);
        xcb_composite_name_window_pixmap(xcb, window_, pixmap);
        const auto pixmapCookie = xcb_get_geometry(xcb, pixmap);
        const auto windowCookie = xcb_get_geometry(xcb, window_);
        const auto extentsCookie = X11Property::ask(connection_, window_, atoms_.frameExtents);
        const auto extents = X11Property::receive(connection_, extentsCookie);
        const auto windowGeometry = connection_.reply<xcb_get_geometry_reply_t>(windowCookie);
        const auto pixmapGeometry = connection_.reply<xcb_get_geometry_reply_t>(pixmapCookie);
        if (!windowGeometry)
            throw windowGone();
        border_ = windowGeometry->border_width;
        windowSize_ = {windowGeometry->width, windowGeometry->height};
        // A hidden window has no pixmap to name; what it showed last is kept.
        if (!pixmapGeometry && pixmap_ != XCB_NONE)
            return;
        if (pixmapGeometry) {
            pixmap_ = std::move(pixmap);
            // The border may be another by now than that in the pixmap.
            windowSize_ = {std::max(1, pixmapGeometry->width - 2 * border_),
                std::max(1, pixmapGeometry->height - 2 * border_)};
        }
        content_ = contentOf(windowSize_, extents.numbers());
        ++layout_;
        const xcb_rectangle_t bounds = xcbRectangle(wholeOf(size()));
        xcb_xfixes_set_region(xcb, bounds_, 1, &bounds);
    }

    X11Connection& connection_;
    xcb_window_t window_;
    X11Interned<AtomNames> atoms_;
    std::uint8_t depth_ = 0;
    X11PixelFormat format_;
    PixelRect content_; // the part of the window without its shadow, relative to the inside of its border
    PixelSize windowSize_;
    int border_ = 0;
    std::uint64_t layout_ = 0;
    bool isGone_ = false;
    bool isShown_ = false;
    bool mayHaveNewPixmap_ = true;
    X11Pixmap pixmap_; // the window with its border; stays when the window is hidden
    X11GraphicsContext context_;
    X11Region bounds_;
    HostTime readyAt_;
    X11Damage damage_;
};

} // namespace

std::unique_ptr<X11PictureSource> makeX11WindowPicture(X11Connection& connection, xcb_window_t window)
{
    return std::make_unique<X11WindowPicture>(connection, window);
}

} // namespace glimto
