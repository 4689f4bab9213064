#pragma once

#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// The atoms that the window list needs, all interned in one round trip.
struct X11Atoms {
    // Throws PlatformError when the server goes away or does not answer in time.
    explicit X11Atoms(X11Connection& connection);

    // Properties of the root window.
    xcb_atom_t supportingWindowManager = XCB_ATOM_NONE; // _NET_SUPPORTING_WM_CHECK
    xcb_atom_t clientListStacking = XCB_ATOM_NONE; // _NET_CLIENT_LIST_STACKING
    xcb_atom_t clientList = XCB_ATOM_NONE; // _NET_CLIENT_LIST
    xcb_atom_t currentDesktop = XCB_ATOM_NONE; // _NET_CURRENT_DESKTOP

    // Properties of clients.
    xcb_atom_t name = XCB_ATOM_NONE; // _NET_WM_NAME
    xcb_atom_t processID = XCB_ATOM_NONE; // _NET_WM_PID
    xcb_atom_t desktop = XCB_ATOM_NONE; // _NET_WM_DESKTOP
    xcb_atom_t windowType = XCB_ATOM_NONE; // _NET_WM_WINDOW_TYPE
    xcb_atom_t windowState = XCB_ATOM_NONE; // _NET_WM_STATE
    xcb_atom_t managedState = XCB_ATOM_NONE; // WM_STATE
    xcb_atom_t frameExtents = XCB_ATOM_NONE; // _GTK_FRAME_EXTENTS
    xcb_atom_t applicationID = XCB_ATOM_NONE; // _GTK_APPLICATION_ID
    xcb_atom_t desktopFile = XCB_ATOM_NONE; // _KDE_NET_WM_DESKTOP_FILE

    // Types and values.
    xcb_atom_t utf8String = XCB_ATOM_NONE; // UTF8_STRING
    xcb_atom_t compoundText = XCB_ATOM_NONE; // COMPOUND_TEXT
    xcb_atom_t stateHidden = XCB_ATOM_NONE; // _NET_WM_STATE_HIDDEN
    xcb_atom_t typeNormal = XCB_ATOM_NONE; // _NET_WM_WINDOW_TYPE_...
    xcb_atom_t typeDesktop = XCB_ATOM_NONE;
    xcb_atom_t typeDock = XCB_ATOM_NONE;
    xcb_atom_t typeToolbar = XCB_ATOM_NONE;
    xcb_atom_t typeUtility = XCB_ATOM_NONE;
    xcb_atom_t typeSplash = XCB_ATOM_NONE;
    xcb_atom_t typeDialog = XCB_ATOM_NONE;
    xcb_atom_t typeMenu = XCB_ATOM_NONE;
    xcb_atom_t typeDropdownMenu = XCB_ATOM_NONE;
    xcb_atom_t typePopupMenu = XCB_ATOM_NONE;
    xcb_atom_t typeTooltip = XCB_ATOM_NONE;
    xcb_atom_t typeNotification = XCB_ATOM_NONE;
    xcb_atom_t typeCombo = XCB_ATOM_NONE;
    xcb_atom_t typeDragAndDrop = XCB_ATOM_NONE;
};

} // namespace glimto
