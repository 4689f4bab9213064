#include "Backends/X11/Windows/X11ShareableContentProvider.h"

#include <algorithm>

#include <xcb/randr.h>
#include <xcb/res.h>

#include "Backends/DesktopFiles/DesktopFiles.h"
#include "Backends/X11/Windows/X11Applications.h"
#include "Backends/X11/Connection/X11Atoms.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11Displays.h"
#include "Backends/X11/Windows/X11WindowDetails.h"
#include "Backends/X11/Windows/X11WindowTree.h"

namespace glimto {

namespace {

// A panel that hides itself outside of the screen is viewable all the same.
bool liesOnADisplay(const Rect& frame, const std::vector<Display>& displays)
{
    return std::ranges::any_of(
        displays, [&](const Display& display) { return !intersection(frame, display.frame).isEmpty(); });
}

bool isWanted(const Window& window, const ContentQuery& query)
{
    if (query.excludingDesktopWindows && window.windowLayer < 0)
        return false;
    return !query.onScreenWindowsOnly || window.isOnScreen;
}

// The owners of `windows`, the one of the oldest window first, whatever lies on top just now.
std::vector<Application> applicationsOf(const std::vector<Window>& windows)
{
    std::vector<const Window*> oldestFirst;
    for (const Window& window : windows)
        oldestFirst.push_back(&window);
    std::ranges::sort(oldestFirst, {}, &Window::windowID);
    std::vector<std::optional<Application>> owners;
    for (const Window* window : oldestFirst)
        owners.push_back(window->owningApplication);
    return distinctApplications(owners);
}

} // namespace

ShareableContent X11ShareableContentProvider::fetch(const ContentQuery& query)
{
    const auto connection = X11Connection::open();
    // The answers come before those of the atoms, so that looking at them later never waits.
    xcb_prefetch_extension_data(connection->xcb(), &xcb_randr_id);
    xcb_prefetch_extension_data(connection->xcb(), &xcb_res_id);
    const X11Atoms atoms(*connection);

    ShareableContent content;
    content.displays = x11Displays(*connection);
    const auto tree = readX11WindowTree(*connection, atoms);
    auto windows = readX11WindowDetails(*connection, atoms, tree);

    // Also the windows that are not wanted say whose the others are.
    std::vector<X11OwnerClues> clues;
    for (const auto& window : windows)
        clues.push_back(window.owner);
    DesktopFiles desktopFiles(DesktopFiles::standardDirectories());
    const auto owners = X11Applications(desktopFiles).owners(clues);
    for (std::size_t index = 0; index < windows.size(); ++index) {
        auto& window = windows[index];
        content.windows.push_back({.windowID = window.window,
            .frame = window.frame,
            .title = std::move(window.title),
            .windowLayer = window.layer,
            .isOnScreen = window.isOnScreen && liesOnADisplay(window.frame, content.displays),
            .owningApplication = owners[index]});
    }
    std::erase_if(content.windows, [&](const Window& window) { return !isWanted(window, query); });
    content.applications = applicationsOf(content.windows);
    return content;
}

} // namespace glimto
