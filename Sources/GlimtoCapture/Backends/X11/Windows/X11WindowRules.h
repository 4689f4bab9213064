#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "Platform/Geometry.h"

namespace glimto {

// What kind of window its owner says it is.
enum class X11WindowType {
    normal, // documents, dialogs, tool windows
    desktop,
    dock, // panels and docks
    popup, // menus, tooltips, notifications, lists that drop down, what is dragged
};

// How far in front of normal windows (layer 0) a window stands. A window that passes by the window
// manager is a popup unless its type says that it is the desktop or a dock.
int windowLayer(X11WindowType type, bool overridesRedirect);

// What decides whether a window is on the screen.
struct X11WindowVisibility {
    bool isViewable = false;
    bool isHidden = false; // _NET_WM_STATE_HIDDEN
    bool isIconic = false; // WM_STATE
    std::optional<std::uint32_t> desktop = {}; // _NET_WM_DESKTOP, 0xFFFFFFFF for all
    std::optional<std::uint32_t> currentDesktop = {}; // _NET_CURRENT_DESKTOP
};

bool isOnScreen(const X11WindowVisibility& visibility);

// `frame` without the shadow that its owner draws inside it: `extents` are the widths at the left,
// right, top and bottom. Extents that are not four, or that leave nothing, are passed over.
Rect withoutShadow(const Rect& frame, std::span<const std::uint32_t> extents);

} // namespace glimto
