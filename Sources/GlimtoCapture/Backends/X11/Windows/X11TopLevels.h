#pragma once

#include <cstdint>
#include <vector>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11PixelRects.h"

namespace glimto {

// A child of the root window that has a picture.
struct X11TopLevel {
    xcb_window_t window = XCB_WINDOW_NONE;
    PixelRect outline; // with its border, in root coordinates
    int border = 0;
    std::uint8_t depth = 0;
    xcb_visualid_t visual = 0;
    bool isMapped = false;
    bool overridesRedirect = false; // passes by the window manager
    bool isKnown = false; // what events do not tell was asked for
    bool hasPicture = true; // false for those that only take input, and the server's own
};

// The children of the root window from bottom to top, kept up to date by events.
class X11TopLevels {
public:
    // Selects the events and reads the list. Throws PlatformError.
    explicit X11TopLevels(X11Connection& connection);

    enum class Change {
        none,
        arrangement, // places, sizes or stacking
        windows, // windows came, were mapped, unmapped or went
    };
    Change handle(const xcb_generic_event_t& event);

    // Asks for what events do not tell of new windows.
    void update();

    const std::vector<X11TopLevel>& bottomToTop() const { return topLevels_; }

private:
    void read();
    X11TopLevel* find(xcb_window_t window);
    void remove(xcb_window_t window);
    void add(xcb_window_t window, const PixelRect& outline, int border);
    Change handleConfigure(const xcb_configure_notify_event_t& event);
    Change handleMapped(xcb_window_t window, bool isMapped);
    Change handleReparent(const xcb_reparent_notify_event_t& event);

    X11Connection& connection_;
    std::vector<X11TopLevel> topLevels_;
    unsigned readBy_ = 0; // sequence number of the request that read the list
};

} // namespace glimto
