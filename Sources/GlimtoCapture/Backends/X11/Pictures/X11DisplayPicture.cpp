#include "Backends/X11/Pictures/X11DisplayPicture.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <xcb/randr.h>

#include "Backends/X11/Connection/X11Displays.h"

namespace glimto {

namespace {

PixelRect pixelRect(const Rect& rect)
{
    return {static_cast<int>(std::lround(rect.x)), static_cast<int>(std::lround(rect.y)),
        static_cast<int>(std::lround(rect.width)), static_cast<int>(std::lround(rect.height))};
}

} // namespace

PixelRect capturedArea(const Display& display, const std::optional<Rect>& sourceRect, PixelSize output)
{
    const PixelRect frame = pixelRect(display.frame);
    if (!sourceRect)
        return frame;
    const PixelRect wanted = pixelRect(*sourceRect);
    PixelRect area;
    area.width = std::min(output.width, frame.width);
    area.height = std::min(output.height, frame.height);
    area.x = frame.x + clampedOrigin(wanted.x, area.width, frame.width);
    area.y = frame.y + clampedOrigin(wanted.y, area.height, frame.height);
    return area;
}

Display connectedDisplay(X11Connection& connection, std::uint32_t displayID)
{
    const auto displays = x11Displays(connection);
    const auto display = std::ranges::find(displays, displayID, &Display::displayID);
    if (display == displays.end())
        throw x11Error(X11Failure::sourceGone, "The display being captured was disconnected.");
    return *display;
}

X11DisplayPicture::X11DisplayPicture(
    X11Connection& connection, std::uint32_t displayID, std::optional<Rect> sourceRect, PixelSize output)
    : connection_(connection)
    , format_(X11PixelFormat::ofRoot(connection))
    , displayID_(displayID)
    , sourceRect_(sourceRect)
    , output_(output)
    , damage_(connection, connection.root())
{
    xcb_connection_t* xcb = connection_.xcb();
    connection_.addRootEvents(XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    hasRandR_ = connection_.hasExtension(xcb_randr_id);
    if (hasRandR_) {
        xcb_randr_select_input(xcb, connection_.root(),
            XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE
                | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
    }
    context_ = makeCopyContext(connection_, depth());
    bounds_ = makeX11Region(connection_);
    readGeometry();
}

void X11DisplayPicture::handle(const xcb_generic_event_t& event)
{
    if (damage_.handle(event))
        return;
    const int type = event.response_type & 0x7f;
    if (hasRandR_) {
        const int first = connection_.firstEvent(xcb_randr_id);
        if (type == first + XCB_RANDR_SCREEN_CHANGE_NOTIFY || type == first + XCB_RANDR_NOTIFY)
            geometryMayHaveChanged_ = true;
    }
    if (type == XCB_CONFIGURE_NOTIFY
        && reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == connection_.root())
        geometryMayHaveChanged_ = true;
}

void X11DisplayPicture::update()
{
    if (std::exchange(geometryMayHaveChanged_, false))
        readGeometry();
}

void X11DisplayPicture::readGeometry()
{
    const Display display = connectedDisplay(connection_, displayID_);
    const auto root = connection_.reply<xcb_get_geometry_reply_t>(
        xcb_get_geometry(connection_.xcb(), connection_.root()));
    if (!root)
        throw x11Error(X11Failure::sourceGone, "The display being captured was disconnected.");
    const PixelRect area = capturedArea(display, sourceRect_, output_);
    rootSize_ = {root->width, root->height};
    const PixelRect visible = intersection(area, wholeOf(rootSize_));
    if (area == area_ && visible == visible_)
        return;
    area_ = area;
    visible_ = visible;
    ++layout_;
    const xcb_rectangle_t bounds
        = xcbRectangle({visible.x - area.x, visible.y - area.y, visible.width, visible.height});
    xcb_xfixes_set_region(connection_.xcb(), bounds_, visible.isEmpty() ? 0 : 1, &bounds);
}

void X11DisplayPicture::requestChanges(xcb_xfixes_region_t changes)
{
    damage_.requestTake(changes);
    if (area_.x != 0 || area_.y != 0) {
        xcb_xfixes_translate_region(connection_.xcb(), changes, static_cast<std::int16_t>(-area_.x),
            static_cast<std::int16_t>(-area_.y));
    }
    xcb_xfixes_intersect_region(connection_.xcb(), changes, bounds_, changes);
}

void X11DisplayPicture::requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip)
{
    if (visible_.isEmpty())
        return;
    xcb_connection_t* xcb = connection_.xcb();
    xcb_xfixes_set_gc_clip_region(xcb, context_, clip, 0, 0);
    xcb_copy_area(xcb, connection_.root(), target, context_, static_cast<std::int16_t>(visible_.x),
        static_cast<std::int16_t>(visible_.y), static_cast<std::int16_t>(visible_.x - area_.x),
        static_cast<std::int16_t>(visible_.y - area_.y), static_cast<std::uint16_t>(visible_.width),
        static_cast<std::uint16_t>(visible_.height));
}

} // namespace glimto
