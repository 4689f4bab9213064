#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "Backends/X11/Connection/X11Atoms.h"
#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// A window and the child of the root window that it is in, which may be itself.
struct X11StackedWindow {
    std::uint32_t window = 0;
    std::uint32_t topLevel = 0;

    friend bool operator==(const X11StackedWindow&, const X11StackedWindow&) = default;
};

// Which windows a user sees as windows: the clients of the window manager (when there is none, the
// mapped top-level windows), and the mapped windows that pass by the window manager, such as menus.
struct X11WindowTree {
    // Frontmost first.
    std::vector<X11StackedWindow> windows;

    // Whether what clients say of their state and desktop is kept up to date by a window manager.
    bool isManaged = false;

    // The desktop shown now, when the window manager has several.
    std::optional<std::uint32_t> currentDesktop;
};

// The number of round trips depends on the depth of the tree, not on the number of windows. Windows
// that vanish meanwhile are left out. Throws PlatformError when the server goes away or does not
// answer in time.
X11WindowTree readX11WindowTree(X11Connection& connection, const X11Atoms& atoms);

// A window that an application has made.
struct X11Client {
    xcb_window_t window = XCB_WINDOW_NONE;
    bool isMarked = false; // by a window manager, as its client
};

// For each of `topLevels` the window that was marked in it, else the first with a class (a frame is mapped
// before its client is marked), else none. One round trip for each level of the tree; throws as above.
std::vector<X11Client> x11ClientsInside(
    X11Connection& connection, const X11Atoms& atoms, std::span<const xcb_window_t> topLevels);

// `windows`, each once, in the order in which they really lie on the screen, frontmost first.
//
// `topLevels` are the children of the root window, and `windows` come as somebody lists them, both
// bottom to top. A window whose top-level is not among `topLevels` (it came or went meanwhile) stays
// just above the one listed below it; windows of the same top-level keep their listed order.
std::vector<X11StackedWindow> frontmostFirst(
    std::span<const std::uint32_t> topLevels, std::span<const X11StackedWindow> windows);

} // namespace glimto
