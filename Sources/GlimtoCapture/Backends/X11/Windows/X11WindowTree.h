#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Backends/X11/Connection/X11Atoms.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Windows/X11Stacking.h"

namespace glimto {

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

} // namespace glimto
