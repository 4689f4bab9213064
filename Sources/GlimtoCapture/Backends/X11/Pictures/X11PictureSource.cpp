#include "Backends/X11/Pictures/X11PictureSource.h"

#include <xcb/composite.h>
#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/res.h>
#include <xcb/shape.h>
#include <xcb/shm.h>

namespace glimto {

X11Damage::X11Damage(X11Connection& connection, xcb_window_t window)
    : connection_(connection)
    , damage_(connection)
{
    xcb_damage_create(connection_.xcb(), damage_, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
}

bool X11Damage::handle(const xcb_generic_event_t& event)
{
    if ((event.response_type & 0x7f) != connection_.firstEvent(xcb_damage_id) + XCB_DAMAGE_NOTIFY)
        return false;
    if (reinterpret_cast<const xcb_damage_notify_event_t&>(event).damage != damage_)
        return false;
    // An event from before the last take tells of changes that this has taken already.
    if (static_cast<std::int32_t>(event.full_sequence - takenBy_) >= 0)
        isPending_ = true;
    return true;
}

void X11Damage::requestTake(xcb_xfixes_region_t region)
{
    takenBy_ = xcb_damage_subtract(connection_.xcb(), damage_, XCB_NONE, region).sequence;
    isPending_ = false;
}

X11GraphicsContext makeCopyContext(X11Connection& connection, std::uint8_t depth)
{
    xcb_connection_t* xcb = connection.xcb();
    const X11Pixmap pixmap(connection);
    xcb_create_pixmap(xcb, depth, pixmap, connection.root(), 1, 1);
    X11GraphicsContext context(connection);
    const std::uint32_t values[] = {XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
    xcb_create_gc(xcb, context, pixmap, XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES, values);
    return context;
}

void startPictureExtensions(X11Connection& connection)
{
    xcb_connection_t* xcb = connection.xcb();
    // All that a stream uses in one round trip, after which looking at one of them never waits.
    for (xcb_extension_t* extension : {&xcb_xfixes_id, &xcb_damage_id, &xcb_shm_id, &xcb_randr_id,
             &xcb_composite_id, &xcb_render_id, &xcb_shape_id, &xcb_res_id})
        xcb_prefetch_extension_data(xcb, extension);
    connection.reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(xcb));
    connection.requireExtension(xcb_xfixes_id, "XFIXES");
    connection.requireExtension(xcb_damage_id, "DAMAGE");
    const auto fixes = xcb_xfixes_query_version(xcb, 5, 0);
    const auto damage = xcb_damage_query_version(xcb, 1, 1);
    connection.reply<xcb_damage_query_version_reply_t>(damage);
    connection.reply<xcb_xfixes_query_version_reply_t>(fixes);
}

} // namespace glimto
