#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Atoms.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Windows/X11WindowTree.h"
#include "Platform/Geometry.h"

namespace glimto {

// What a window tells of its owner. All text is valid UTF-8.
struct X11OwnerClues {
    xcb_window_t window = XCB_WINDOW_NONE;
    std::int32_t processID = 0; // 0 when unknown
    std::vector<std::string> applicationIDs{}; // names of desktop files, best first
    std::string instanceName{}; // WM_CLASS, may be empty
    std::string className{}; // WM_CLASS, may be empty
};

struct X11WindowDetails {
    xcb_window_t window = XCB_WINDOW_NONE;
    Rect frame; // in root coordinates, without the shadow
    std::optional<std::string> title; // valid UTF-8
    int layer = 0;
    bool isOnScreen = false;
    X11OwnerClues owner;
};

// The windows of `tree` in its order, without those that have vanished. Everything is asked for in
// one round trip, the process ids in a second. Throws PlatformError when the server goes away or does
// not answer in time.
std::vector<X11WindowDetails> readX11WindowDetails(
    X11Connection& connection, const X11Atoms& atoms, const X11WindowTree& tree);

} // namespace glimto
