#include "Backends/X11/Connection/X11Displays.h"

#include <xcb/randr.h>

namespace glimto {

namespace {

Display displayOf(std::uint32_t displayID, int x, int y, int width, int height)
{
    Display display;
    display.displayID = displayID;
    display.frame = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(width),
        static_cast<double>(height)};
    display.width = display.pixelsWide = width;
    display.height = display.pixelsHigh = height;
    return display;
}

} // namespace

std::vector<Display> x11Displays(X11Connection& connection)
{
    auto* xcb = connection.xcb();
    // The root's geometry is answered after the question for the extension, so that looking at that one
    // never waits without a deadline. It also knows of a resize since the connection was set up.
    xcb_prefetch_extension_data(xcb, &xcb_randr_id);
    const auto root = connection.reply<xcb_get_geometry_reply_t>(xcb_get_geometry(xcb, connection.root()));

    std::vector<Display> displays;
    if (connection.hasExtension(xcb_randr_id)) {
        // Servers older than version 1.5 answer the second request with an error.
        const auto version = xcb_randr_query_version(xcb, 1, 5);
        const auto active = xcb_randr_get_monitors(xcb, connection.root(), 1);
        connection.reply<xcb_randr_query_version_reply_t>(version);
        if (const auto monitors = connection.reply<xcb_randr_get_monitors_reply_t>(active)) {
            for (auto at = xcb_randr_get_monitors_monitors_iterator(monitors.get()); at.rem > 0;
                 xcb_randr_monitor_info_next(&at)) {
                const auto& monitor = *at.data;
                if (monitor.width > 0 && monitor.height > 0)
                    displays.push_back(
                        displayOf(monitor.name, monitor.x, monitor.y, monitor.width, monitor.height));
            }
        }
    }
    if (displays.empty() && root)
        displays.push_back(displayOf(connection.root(), 0, 0, root->width, root->height));
    return displays;
}

} // namespace glimto
