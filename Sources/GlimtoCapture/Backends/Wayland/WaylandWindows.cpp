#include "Backends/Wayland/WaylandWindows.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "Backends/DesktopFiles/DesktopFiles.h"
#include "Backends/Wayland/CompositorWindows.h"
#include "Backends/Wayland/WaylandErrors.h"
#include "Backends/Wayland/WaylandWindowList.h"
#include "Support/Text.h"

namespace glimto {

namespace {

constexpr std::size_t mostWindows = 4096;

struct Toplevel {
    WaylandHandle<zwlr_foreign_toplevel_handle_v1> handle;
    std::string title;
    std::string applicationID;
    bool isActive = false;
    bool isMinimized = false;
    bool isClosed = false;
};

struct Toplevels {
    std::vector<std::unique_ptr<Toplevel>> all;
};

using Handle = zwlr_foreign_toplevel_handle_v1;

void readStates(Toplevel& toplevel, const wl_array& states)
{
    const std::span<const std::uint32_t> values(
        static_cast<const std::uint32_t*>(states.data), states.size / sizeof(std::uint32_t));
    const auto has
        = [&](std::uint32_t state) { return std::find(values.begin(), values.end(), state) != values.end(); };
    toplevel.isActive = has(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED);
    toplevel.isMinimized = has(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_MINIMIZED);
}

constexpr zwlr_foreign_toplevel_handle_v1_listener handleListener = {
    .title = [](void* data, Handle*, const char* title) { static_cast<Toplevel*>(data)->title = title; },
    .app_id = [](void* data, Handle*,
                  const char* identifier) { static_cast<Toplevel*>(data)->applicationID = identifier; },
    .output_enter = [](void*, Handle*, wl_output*) {},
    .output_leave = [](void*, Handle*, wl_output*) {},
    .state
    = [](void* data, Handle*, wl_array* states) { readStates(*static_cast<Toplevel*>(data), *states); },
    .done = [](void*, Handle*) {},
    .closed = [](void* data, Handle*) { static_cast<Toplevel*>(data)->isClosed = true; },
    .parent = [](void*, Handle*, Handle*) {},
};

constexpr zwlr_foreign_toplevel_manager_v1_listener managerListener = {
    .toplevel =
        [](void* data, zwlr_foreign_toplevel_manager_v1*, Handle* handle) {
            auto& all = static_cast<Toplevels*>(data)->all;
            if (all.size() >= mostWindows)
                return zwlr_foreign_toplevel_handle_v1_destroy(handle);
            all.push_back(std::make_unique<Toplevel>());
            all.back()->handle.reset(handle);
            zwlr_foreign_toplevel_handle_v1_add_listener(handle, &handleListener, all.back().get());
        },
    .finished = [](void*, zwlr_foreign_toplevel_manager_v1*) {},
};

Window windowOf(std::uint32_t identifier, const std::string& title, const std::string& applicationID)
{
    Window window;
    window.windowID = identifier;
    window.title = validUTF8(title);
    window.isOnScreen = true;
    const std::string application = validUTF8(applicationID);
    window.owningApplication = Application{0, application, application};
    return window;
}

std::vector<Window> toplevelWindows(WaylandConnection& connection)
{
    const auto manager = connection.bindToplevelManager();
    std::vector<Window> windows;
    if (!manager)
        return windows;
    Toplevels toplevels;
    zwlr_foreign_toplevel_manager_v1_add_listener(manager.get(), &managerListener, &toplevels);
    connection.roundTrip(); // names them
    connection.roundTrip(); // and tells of each
    std::stable_sort(toplevels.all.begin(), toplevels.all.end(),
        [](const auto& a, const auto& b) { return a->isActive && !b->isActive; });
    std::uint32_t identifier = 0;
    for (const auto& each : toplevels.all) {
        ++identifier;
        if (each->isClosed)
            continue;
        windows.push_back(windowOf(identifier, each->title, each->applicationID));
        windows.back().isOnScreen = !each->isMinimized;
    }
    return windows;
}

// Those that can be captured by their ids. Which of them is active, and which are seen, is not told.
std::vector<Window> capturableWindows(WaylandConnection& connection)
{
    const WaylandWindowList list(connection);
    std::vector<Window> windows;
    for (const auto& each : list.windows()) {
        if (!each->isClosed && !each->identifier.empty())
            windows.push_back(windowOf(each->windowID(), each->title, each->applicationID));
    }
    return windows;
}

bool namesOneOf(const std::vector<Window>& told, const std::vector<Window>& capturable)
{
    return std::ranges::any_of(told, [&](const Window& window) {
        return std::ranges::find(capturable, window.windowID, &Window::windowID) != capturable.end();
    });
}

// Ids by which a window can be captured come before what else is known of it.
std::vector<Window> bestKnownWindows(WaylandConnection& connection)
{
    auto told = compositorWindows();
    if (connection.canCaptureWindows()) {
        auto capturable = capturableWindows(connection);
        if (!told || !namesOneOf(*told, capturable))
            return capturable;
    }
    return told ? std::move(*told) : toplevelWindows(connection);
}

} // namespace

std::vector<Window> waylandWindows(WaylandConnection& connection)
{
    std::vector<Window> windows = bestKnownWindows(connection);
    DesktopFiles desktopFiles(DesktopFiles::standardDirectories());
    for (Window& window : windows) {
        Application& owner = *window.owningApplication;
        if (owner.bundleIdentifier.empty())
            continue;
        auto known = desktopFiles.withID(owner.bundleIdentifier);
        if (!known)
            known = desktopFiles.withWindowClass(owner.bundleIdentifier);
        if (known) {
            owner.bundleIdentifier = known->id;
            owner.applicationName = known->name;
        }
    }
    return windows;
}

std::optional<PlatformError> waylandWindowsObstacle(
    const WaylandConnection& connection, const std::vector<Window>& windows)
{
    if (windows.empty() && !connection.canListWindows())
        return waylandError(WaylandFailure::untoldWindows,
            "This Wayland compositor does not tell programs which windows there are.");
    if (std::ranges::any_of(windows, [](const Window& window) { return window.frame.isEmpty(); }))
        return waylandError(WaylandFailure::untoldPlaces,
            "This Wayland compositor does not tell programs where windows are.");
    return std::nullopt;
}

} // namespace glimto
