#include "Backends/Wayland/WaylandServices.h"

#include <algorithm>
#include <exception>

#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandWindows.h"

namespace glimto {

namespace {

const char* protocolOf(WaylandConnection::CaptureWay way)
{
    switch (way) {
    case WaylandConnection::CaptureWay::imageCopy:
        return "ext-image-copy-capture";
    case WaylandConnection::CaptureWay::screencopy:
        return "wlr-screencopy";
    case WaylandConnection::CaptureWay::none:
        break;
    }
    return "none";
}

} // namespace

ScreenCaptureAccess WaylandScreenAccess::preflightScreenCaptureAccess()
{
    try {
        const auto connection = WaylandConnection::open();
        captureWay_ = protocolOf(connection->captureWay());
        const std::string obstacle = connection->captureObstacle();
        return obstacle.empty() ? ScreenCaptureAccess{} : ScreenCaptureAccess::denied(obstacle);
    } catch (const std::exception& error) {
        return ScreenCaptureAccess::denied(error.what());
    }
}

std::optional<std::uint32_t> WaylandScreenAccess::displayIDAt(Point point)
{
    try {
        const auto connection = WaylandConnection::open();
        for (const auto& output : connection->outputs()) {
            const Display display = output->display();
            if (display.frame.contains(point))
                return display.displayID;
        }
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return std::nullopt;
}

ShareableContent WaylandContentProvider::fetch(const ContentQuery& query)
{
    const auto connection = WaylandConnection::open();
    ShareableContent content;
    for (const auto& output : connection->outputs())
        content.displays.push_back(output->display());
    content.windows = waylandWindows(*connection);
    if (query.onScreenWindowsOnly)
        std::erase_if(content.windows, [](const Window& window) { return !window.isOnScreen; });
    content.windowsObstacle = waylandWindowsObstacle(*connection, content.windows);
    for (const Window& window : content.windows) {
        auto& all = content.applications;
        if (std::find(all.begin(), all.end(), *window.owningApplication) == all.end())
            all.push_back(*window.owningApplication);
    }
    return content;
}

} // namespace glimto
