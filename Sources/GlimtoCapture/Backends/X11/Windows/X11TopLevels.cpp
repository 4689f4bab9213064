#include "Backends/X11/Windows/X11TopLevels.h"

#include <algorithm>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

namespace {

PixelRect outlineOf(int x, int y, int width, int height, int border)
{
    return {x, y, width + 2 * border, height + 2 * border};
}

} // namespace

X11TopLevels::X11TopLevels(X11Connection& connection)
    : connection_(connection)
{
    connection_.addRootEvents(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
    read();
    update();
}

void X11TopLevels::read()
{
    xcb_connection_t* xcb = connection_.xcb();
    const auto cookie = xcb_query_tree(xcb, connection_.root());
    readBy_ = cookie.sequence;
    const auto tree = connection_.reply<xcb_query_tree_reply_t>(cookie);
    if (!tree)
        return;
    for (const xcb_window_t window : x11WindowChildren(*tree))
        add(window, {}, 0);
}

void X11TopLevels::update()
{
    struct Asked {
        X11TopLevel* topLevel;
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_geometry_cookie_t geometry;
    };
    std::vector<Asked> asked;
    for (auto& each : topLevels_) {
        if (!each.isKnown)
            asked.push_back({&each, xcb_get_window_attributes(connection_.xcb(), each.window),
                xcb_get_geometry(connection_.xcb(), each.window)});
    }
    for (const auto& each : asked) {
        const auto attributes = connection_.reply<xcb_get_window_attributes_reply_t>(each.attributes);
        const auto geometry = connection_.reply<xcb_get_geometry_reply_t>(each.geometry);
        auto& topLevel = *each.topLevel;
        topLevel.isKnown = true;
        // Windows of the server itself are the compositing overlay and the screen saver.
        const bool isServers = connection_.clientOf(topLevel.window) == 0;
        topLevel.hasPicture
            = attributes && geometry && !isServers && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
        if (!topLevel.hasPicture)
            continue;
        topLevel.visual = attributes->visual;
        topLevel.depth = geometry->depth;
        topLevel.overridesRedirect = attributes->override_redirect != 0;
        topLevel.isMapped = attributes->map_state != XCB_MAP_STATE_UNMAPPED;
        topLevel.border = geometry->border_width;
        topLevel.outline
            = outlineOf(geometry->x, geometry->y, geometry->width, geometry->height, geometry->border_width);
    }
}

X11TopLevels::Change X11TopLevels::handle(const xcb_generic_event_t& event)
{
    // Events from before the list was read are in it already.
    if (static_cast<std::int32_t>(event.full_sequence - readBy_) < 0)
        return Change::none;
    // Clients and window managers send such events too, which say nothing about what the server did.
    if ((event.response_type & 0x80) != 0)
        return Change::none;
    switch (event.response_type & 0x7f) {
    case XCB_CREATE_NOTIFY: {
        const auto& created = reinterpret_cast<const xcb_create_notify_event_t&>(event);
        if (created.parent == connection_.root())
            add(created.window,
                outlineOf(created.x, created.y, created.width, created.height, created.border_width),
                created.border_width);
        return Change::none;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto window = reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window;
        const bool wasListed = find(window);
        remove(window);
        return wasListed ? Change::windows : Change::none;
    }
    case XCB_REPARENT_NOTIFY:
        return handleReparent(reinterpret_cast<const xcb_reparent_notify_event_t&>(event));
    case XCB_MAP_NOTIFY:
        return handleMapped(reinterpret_cast<const xcb_map_notify_event_t&>(event).window, true);
    case XCB_UNMAP_NOTIFY:
        return handleMapped(reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window, false);
    case XCB_CONFIGURE_NOTIFY:
        return handleConfigure(reinterpret_cast<const xcb_configure_notify_event_t&>(event));
    case XCB_GRAVITY_NOTIFY: {
        const auto& moved = reinterpret_cast<const xcb_gravity_notify_event_t&>(event);
        X11TopLevel* topLevel = find(moved.window);
        if (topLevel) {
            topLevel->outline.x = moved.x;
            topLevel->outline.y = moved.y;
        }
        return topLevel ? Change::arrangement : Change::none;
    }
    case XCB_CIRCULATE_NOTIFY: {
        const auto& circulated = reinterpret_cast<const xcb_circulate_notify_event_t&>(event);
        if (X11TopLevel* topLevel = find(circulated.window)) {
            const X11TopLevel moved = *topLevel;
            remove(moved.window);
            topLevels_.insert(
                circulated.place == XCB_PLACE_ON_TOP ? topLevels_.end() : topLevels_.begin(), moved);
            return Change::arrangement;
        }
        return Change::none;
    }
    default:
        return Change::none;
    }
}

X11TopLevels::Change X11TopLevels::handleReparent(const xcb_reparent_notify_event_t& event)
{
    if (event.parent == connection_.root())
        add(event.window, {event.x, event.y, 0, 0}, 0);
    else
        remove(event.window);
    return Change::windows;
}

X11TopLevels::Change X11TopLevels::handleMapped(xcb_window_t window, bool isMapped)
{
    X11TopLevel* topLevel = find(window);
    if (!topLevel)
        return Change::none;
    topLevel->isMapped = isMapped;
    return Change::windows;
}

X11TopLevels::Change X11TopLevels::handleConfigure(const xcb_configure_notify_event_t& event)
{
    X11TopLevel* topLevel = find(event.window);
    if (!topLevel)
        return Change::none;
    X11TopLevel moved = *topLevel;
    moved.outline = outlineOf(event.x, event.y, event.width, event.height, event.border_width);
    moved.border = event.border_width;
    remove(moved.window);
    const auto below = std::ranges::find(topLevels_, event.above_sibling, &X11TopLevel::window);
    // Above no sibling is at the bottom.
    topLevels_.insert(below == topLevels_.end() ? topLevels_.begin() : below + 1, moved);
    return Change::arrangement;
}

X11TopLevel* X11TopLevels::find(xcb_window_t window)
{
    const auto found = std::ranges::find(topLevels_, window, &X11TopLevel::window);
    return found == topLevels_.end() ? nullptr : &*found;
}

void X11TopLevels::remove(xcb_window_t window)
{
    std::erase_if(topLevels_, [&](const X11TopLevel& each) { return each.window == window; });
}

void X11TopLevels::add(xcb_window_t window, const PixelRect& outline, int border)
{
    // This connection's own windows are never seen.
    if (connection_.clientOf(window) == xcb_get_setup(connection_.xcb())->resource_id_base)
        return;
    remove(window);
    topLevels_.push_back({.window = window, .outline = outline, .border = border});
}

} // namespace glimto
