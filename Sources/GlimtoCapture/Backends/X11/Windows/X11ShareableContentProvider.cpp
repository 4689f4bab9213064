#include "Backends/X11/Windows/X11ShareableContentProvider.h"

#include <xcb/randr.h>
#include <xcb/res.h>

#include "Backends/X11/Windows/DesktopFiles.h"
#include "Backends/X11/Windows/X11Applications.h"
#include "Backends/X11/Connection/X11Atoms.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11Displays.h"
#include "Backends/X11/Windows/X11WindowDetails.h"
#include "Backends/X11/Windows/X11WindowTree.h"

namespace glimto {

namespace {

bool isWanted(const X11WindowDetails& window, const ContentQuery& query)
{
    if (query.excludingDesktopWindows && window.layer < 0)
        return false;
    return !query.onScreenWindowsOnly || window.isOnScreen;
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
    std::erase_if(windows, [&](const X11WindowDetails& window) { return !isWanted(window, query); });

    std::vector<X11OwnerClues> clues;
    for (const auto& window : windows)
        clues.push_back(window.owner);
    DesktopFiles desktopFiles(DesktopFiles::standardDirectories());
    const auto owners = X11Applications(desktopFiles).owners(clues);
    content.applications = distinctApplications(owners);
    for (std::size_t index = 0; index < windows.size(); ++index) {
        auto& window = windows[index];
        content.windows.push_back({.windowID = window.window,
            .frame = window.frame,
            .title = std::move(window.title),
            .windowLayer = window.layer,
            .isOnScreen = window.isOnScreen,
            .owningApplication = owners[index]});
    }
    return content;
}

} // namespace glimto
