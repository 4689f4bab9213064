#pragma once

#include "Backends/X11/Connection/X11AtomNames.h"

namespace glimto {

// The atoms that the window list needs.
struct X11WindowAtomNames : X11AtomSet {
    using X11AtomSet::X11AtomSet;

    // Properties of the root window.
    X11Atom supportingWindowManager{*this, "_NET_SUPPORTING_WM_CHECK"};
    X11Atom clientListStacking{*this, "_NET_CLIENT_LIST_STACKING"};
    X11Atom clientList{*this, "_NET_CLIENT_LIST"};
    X11Atom currentDesktop{*this, "_NET_CURRENT_DESKTOP"};

    // Properties of clients.
    X11Atom name{*this, "_NET_WM_NAME"};
    X11Atom processID{*this, "_NET_WM_PID"};
    X11Atom desktop{*this, "_NET_WM_DESKTOP"};
    X11Atom windowType{*this, "_NET_WM_WINDOW_TYPE"};
    X11Atom windowState{*this, "_NET_WM_STATE"};
    X11Atom managedState{*this, "WM_STATE"};
    X11Atom frameExtents{*this, "_GTK_FRAME_EXTENTS"};
    X11Atom applicationID{*this, "_GTK_APPLICATION_ID"};
    X11Atom desktopFile{*this, "_KDE_NET_WM_DESKTOP_FILE"};

    // Types and values.
    X11Atom utf8String{*this, "UTF8_STRING"};
    X11Atom compoundText{*this, "COMPOUND_TEXT"};
    X11Atom stateHidden{*this, "_NET_WM_STATE_HIDDEN"};
    X11Atom typeNormal{*this, "_NET_WM_WINDOW_TYPE_NORMAL"};
    X11Atom typeDesktop{*this, "_NET_WM_WINDOW_TYPE_DESKTOP"};
    X11Atom typeDock{*this, "_NET_WM_WINDOW_TYPE_DOCK"};
    X11Atom typeToolbar{*this, "_NET_WM_WINDOW_TYPE_TOOLBAR"};
    X11Atom typeUtility{*this, "_NET_WM_WINDOW_TYPE_UTILITY"};
    X11Atom typeSplash{*this, "_NET_WM_WINDOW_TYPE_SPLASH"};
    X11Atom typeDialog{*this, "_NET_WM_WINDOW_TYPE_DIALOG"};
    X11Atom typeMenu{*this, "_NET_WM_WINDOW_TYPE_MENU"};
    X11Atom typeDropdownMenu{*this, "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU"};
    X11Atom typePopupMenu{*this, "_NET_WM_WINDOW_TYPE_POPUP_MENU"};
    X11Atom typeTooltip{*this, "_NET_WM_WINDOW_TYPE_TOOLTIP"};
    X11Atom typeNotification{*this, "_NET_WM_WINDOW_TYPE_NOTIFICATION"};
    X11Atom typeCombo{*this, "_NET_WM_WINDOW_TYPE_COMBO"};
    X11Atom typeDragAndDrop{*this, "_NET_WM_WINDOW_TYPE_DND"};
};
using X11Atoms = X11Interned<X11WindowAtomNames>;

} // namespace glimto
