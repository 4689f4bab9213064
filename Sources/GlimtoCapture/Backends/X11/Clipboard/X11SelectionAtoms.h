#pragma once

#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// The atoms of the clipboard's protocol, all interned in one round trip.
struct X11SelectionAtoms {
    // Throws PlatformError when the server goes away or does not answer in time.
    explicit X11SelectionAtoms(X11Connection& connection);

    xcb_atom_t clipboard = XCB_ATOM_NONE; // CLIPBOARD
    xcb_atom_t clipboardManager = XCB_ATOM_NONE; // CLIPBOARD_MANAGER
    xcb_atom_t targets = XCB_ATOM_NONE; // TARGETS
    xcb_atom_t timestamp = XCB_ATOM_NONE; // TIMESTAMP
    xcb_atom_t multiple = XCB_ATOM_NONE; // MULTIPLE
    xcb_atom_t saveTargets = XCB_ATOM_NONE; // SAVE_TARGETS
    xcb_atom_t incremental = XCB_ATOM_NONE; // INCR
    xcb_atom_t atomPair = XCB_ATOM_NONE; // ATOM_PAIR
    xcb_atom_t null = XCB_ATOM_NONE; // NULL
    xcb_atom_t png = XCB_ATOM_NONE; // image/png
    xcb_atom_t scratch = XCB_ATOM_NONE; // a property of our own
};

} // namespace glimto
