#include "Backends/Wayland/WaylandServices.h"

#include <algorithm>
#include <exception>

#include "Backends/Wayland/WaylandCaptureStream.h"
#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandErrors.h"
#include "Backends/Wayland/WaylandWindows.h"

namespace glimto {

namespace {

class WaylandCaptureOpening final : public CaptureOpening {
public:
    explicit WaylandCaptureOpening(const CaptureRequest& request)
        : request_(request)
    {
    }

    OpenedCapture open() override
    {
        OpenedCapture opened;
        opened.stream = std::make_shared<WaylandCaptureStream>(request_.filter, request_.configuration);
        opened.facts = request_.expected;
        opened.facts.width = request_.configuration.width;
        opened.facts.height = request_.configuration.height;
        opened.hidesApplications = false;
        return opened;
    }

    // Every answer of the compositor is waited for with a deadline, so open() ends by itself.
    void giveUp() noexcept override { }

private:
    CaptureRequest request_;
};

} // namespace

ScreenCaptureAccess WaylandScreenAccess::preflightScreenCaptureAccess()
{
    try {
        const auto connection = WaylandConnection::open();
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
    for (const Window& window : content.windows) {
        auto& all = content.applications;
        if (std::find(all.begin(), all.end(), *window.owningApplication) == all.end())
            all.push_back(*window.owningApplication);
    }
    return content;
}

std::shared_ptr<CaptureOpening> WaylandScreenCapture::makeOpening(const CaptureRequest& request)
{
    return std::make_shared<WaylandCaptureOpening>(request);
}

} // namespace glimto
