#include "Backends/X11/Connection/X11Atoms.h"

#include "Backends/X11/Connection/X11AtomNames.h"

namespace glimto {

namespace {

constexpr X11AtomNames<X11Atoms, 30> atomNames{{
    {&X11Atoms::supportingWindowManager, "_NET_SUPPORTING_WM_CHECK"},
    {&X11Atoms::clientListStacking, "_NET_CLIENT_LIST_STACKING"},
    {&X11Atoms::clientList, "_NET_CLIENT_LIST"},
    {&X11Atoms::currentDesktop, "_NET_CURRENT_DESKTOP"},
    {&X11Atoms::name, "_NET_WM_NAME"},
    {&X11Atoms::processID, "_NET_WM_PID"},
    {&X11Atoms::desktop, "_NET_WM_DESKTOP"},
    {&X11Atoms::windowType, "_NET_WM_WINDOW_TYPE"},
    {&X11Atoms::windowState, "_NET_WM_STATE"},
    {&X11Atoms::managedState, "WM_STATE"},
    {&X11Atoms::frameExtents, "_GTK_FRAME_EXTENTS"},
    {&X11Atoms::applicationID, "_GTK_APPLICATION_ID"},
    {&X11Atoms::desktopFile, "_KDE_NET_WM_DESKTOP_FILE"},
    {&X11Atoms::utf8String, "UTF8_STRING"},
    {&X11Atoms::compoundText, "COMPOUND_TEXT"},
    {&X11Atoms::stateHidden, "_NET_WM_STATE_HIDDEN"},
    {&X11Atoms::typeNormal, "_NET_WM_WINDOW_TYPE_NORMAL"},
    {&X11Atoms::typeDesktop, "_NET_WM_WINDOW_TYPE_DESKTOP"},
    {&X11Atoms::typeDock, "_NET_WM_WINDOW_TYPE_DOCK"},
    {&X11Atoms::typeToolbar, "_NET_WM_WINDOW_TYPE_TOOLBAR"},
    {&X11Atoms::typeUtility, "_NET_WM_WINDOW_TYPE_UTILITY"},
    {&X11Atoms::typeSplash, "_NET_WM_WINDOW_TYPE_SPLASH"},
    {&X11Atoms::typeDialog, "_NET_WM_WINDOW_TYPE_DIALOG"},
    {&X11Atoms::typeMenu, "_NET_WM_WINDOW_TYPE_MENU"},
    {&X11Atoms::typeDropdownMenu, "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU"},
    {&X11Atoms::typePopupMenu, "_NET_WM_WINDOW_TYPE_POPUP_MENU"},
    {&X11Atoms::typeTooltip, "_NET_WM_WINDOW_TYPE_TOOLTIP"},
    {&X11Atoms::typeNotification, "_NET_WM_WINDOW_TYPE_NOTIFICATION"},
    {&X11Atoms::typeCombo, "_NET_WM_WINDOW_TYPE_COMBO"},
    {&X11Atoms::typeDragAndDrop, "_NET_WM_WINDOW_TYPE_DND"},
}};

} // namespace

X11Atoms::X11Atoms(X11Connection& connection)
{
    internAtoms(connection, atomNames, *this);
}

} // namespace glimto
