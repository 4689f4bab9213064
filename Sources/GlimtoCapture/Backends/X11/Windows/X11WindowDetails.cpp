#include "Backends/X11/Windows/X11WindowDetails.h"

#include <algorithm>
#include <initializer_list>

#include "Backends/X11/Connection/X11ClientProcesses.h"
#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Windows/X11Text.h"
#include "Backends/X11/Windows/X11WindowRules.h"

namespace glimto {

namespace {

constexpr std::uint32_t iconicState = 3; // WM_STATE, ICCCM section 4.1.3.1

struct Asked {
    xcb_window_t window;
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t origin;
    xcb_get_property_cookie_t netName;
    xcb_get_property_cookie_t name;
    xcb_get_property_cookie_t windowClass;
    xcb_get_property_cookie_t processID;
    xcb_get_property_cookie_t desktop;
    xcb_get_property_cookie_t windowType;
    xcb_get_property_cookie_t windowState;
    xcb_get_property_cookie_t managedState;
    xcb_get_property_cookie_t frameExtents;
    xcb_get_property_cookie_t applicationID;
    xcb_get_property_cookie_t desktopFile;
};

Asked ask(X11Connection& connection, const X11Atoms& atoms, xcb_window_t window)
{
    auto* xcb = connection.xcb();
    const auto property = [&](xcb_atom_t atom) { return X11Property::ask(connection, window, atom); };
    return {
        .window = window,
        .attributes = xcb_get_window_attributes(xcb, window),
        .geometry = xcb_get_geometry(xcb, window),
        .origin = xcb_translate_coordinates(xcb, window, connection.root(), 0, 0),
        .netName = property(atoms.name),
        .name = property(XCB_ATOM_WM_NAME),
        .windowClass = property(XCB_ATOM_WM_CLASS),
        .processID = property(atoms.processID),
        .desktop = property(atoms.desktop),
        .windowType = property(atoms.windowType),
        .windowState = property(atoms.windowState),
        .managedState = property(atoms.managedState),
        .frameExtents = property(atoms.frameExtents),
        .applicationID = property(atoms.applicationID),
        .desktopFile = property(atoms.desktopFile),
    };
}

std::string utf8TextOf(const X11Property& property)
{
    return utf8FromUTF8String(property.bytes(), property.wasCut() ? TextEnd::cut : TextEnd::whole);
}

std::string textOf(const X11Atoms& atoms, const X11Property& property)
{
    if (property.type() == atoms.utf8String)
        return utf8TextOf(property);
    if (property.type() == atoms.compoundText)
        return utf8FromCompoundText(property.bytes());
    return utf8FromLatin1(property.bytes());
}

std::optional<std::string> titleOf(const X11Atoms& atoms, const X11Property& netName, const X11Property& name)
{
    auto text = utf8TextOf(netName);
    if (text.empty())
        text = textOf(atoms, name);
    return text.empty() ? std::nullopt : std::optional(std::move(text));
}

// The first type that is known: owners put special ones of their own before the common ones.
X11WindowType typeOf(const X11Atoms& atoms, const X11Property& property)
{
    const std::initializer_list<xcb_atom_t> popups
        = {atoms.typeMenu, atoms.typeDropdownMenu, atoms.typePopupMenu, atoms.typeTooltip,
            atoms.typeNotification, atoms.typeCombo, atoms.typeDragAndDrop};
    const std::initializer_list<xcb_atom_t> normal
        = {atoms.typeNormal, atoms.typeDialog, atoms.typeUtility, atoms.typeToolbar, atoms.typeSplash};
    const auto isAmong = [](xcb_atom_t type, const std::initializer_list<xcb_atom_t>& types) {
        return std::ranges::find(types, type) != types.end();
    };
    for (const auto type : property.numbers()) {
        if (type == atoms.typeDesktop)
            return X11WindowType::desktop;
        if (type == atoms.typeDock)
            return X11WindowType::dock;
        if (isAmong(type, popups))
            return X11WindowType::popup;
        if (isAmong(type, normal))
            break;
    }
    return X11WindowType::normal;
}

// The names in WM_CLASS: the instance, a zero byte, the class.
void readWindowClass(const X11Property& property, X11OwnerClues& clues)
{
    const auto bytes = property.bytes();
    clues.instanceName = utf8FromLatin1(bytes);
    const auto end = bytes.find('\0');
    if (end != std::string_view::npos)
        clues.className = utf8FromLatin1(bytes.substr(end + 1));
}

// Every reply is taken, also when the window turns out to be gone: one left would stay in memory.
std::optional<X11WindowDetails> receive(
    X11Connection& connection, const X11Atoms& atoms, const X11WindowTree& tree, const Asked& asked)
{
    const auto property
        = [&](xcb_get_property_cookie_t cookie) { return X11Property::receive(connection, cookie); };
    const auto attributes = connection.reply<xcb_get_window_attributes_reply_t>(asked.attributes);
    const auto geometry = connection.reply<xcb_get_geometry_reply_t>(asked.geometry);
    const auto origin = connection.reply<xcb_translate_coordinates_reply_t>(asked.origin);
    const auto netName = property(asked.netName);
    const auto name = property(asked.name);
    const auto windowClass = property(asked.windowClass);
    const auto processID = property(asked.processID);
    const auto desktop = property(asked.desktop);
    const auto windowType = property(asked.windowType);
    const auto windowState = property(asked.windowState);
    const auto managedState = property(asked.managedState);
    const auto frameExtents = property(asked.frameExtents);
    const auto applicationID = property(asked.applicationID);
    const auto desktopFile = property(asked.desktopFile);
    if (!attributes || !geometry || !origin)
        return std::nullopt;

    const auto states = windowState.numbers();
    X11WindowDetails details;
    details.window = asked.window;
    details.frame
        = withoutShadow({static_cast<double>(origin->dst_x), static_cast<double>(origin->dst_y),
                            static_cast<double>(geometry->width), static_cast<double>(geometry->height)},
            frameExtents.numbers());
    details.title = titleOf(atoms, netName, name);
    details.layer = windowLayer(typeOf(atoms, windowType), attributes->override_redirect != 0);
    details.isOnScreen = isOnScreen({.isViewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE,
        .isHidden = tree.isManaged && std::ranges::find(states, atoms.stateHidden) != states.end(),
        .isIconic = tree.isManaged && managedState.firstNumber() == iconicState,
        .desktop = desktop.firstNumber(),
        .currentDesktop = tree.currentDesktop});
    details.owner.window = asked.window;
    details.owner.processID = processID.processID();
    for (const auto* id : {&applicationID, &desktopFile}) {
        if (auto text = textOf(atoms, *id); !text.empty())
            details.owner.applicationIDs.push_back(std::move(text));
    }
    readWindowClass(windowClass, details.owner);
    return details;
}

} // namespace

std::vector<X11WindowDetails> readX11WindowDetails(
    X11Connection& connection, const X11Atoms& atoms, const X11WindowTree& tree)
{
    std::vector<Asked> asked;
    for (const auto& window : tree.windows)
        asked.push_back(ask(connection, atoms, window.window));
    std::vector<X11WindowDetails> result;
    for (const auto& each : asked) {
        if (auto details = receive(connection, atoms, tree, each))
            result.push_back(std::move(*details));
    }

    std::vector<xcb_window_t> windows;
    for (const auto& details : result)
        windows.push_back(details.window);
    const auto processes = x11ClientProcesses(connection, windows);
    for (std::size_t index = 0; index < result.size(); ++index) {
        if (processes[index] != 0)
            result[index].owner.processID = processes[index];
    }
    return result;
}

} // namespace glimto
