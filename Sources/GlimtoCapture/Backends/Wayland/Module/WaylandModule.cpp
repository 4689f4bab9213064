#include <algorithm>
#include <exception>

#include "Backends/Streams/PlainScreenCapture.h"
#include "Backends/Wayland/WaylandCaptureStream.h"
#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandPasteboard.h"
#include "Backends/Wayland/WaylandWindows.h"
#include "Platform/WindowSystem.h"
#include "Support/ModuleTable.h"

namespace glimto {

namespace {

// Questions to the compositor, each on a connection of its own. The screen may be captured where the
// compositor offers a capture protocol. A client cannot know where the pointer is, nor whose window is in
// front.
class WaylandScreenAccess final : public ScreenAccess {
public:
    ScreenCaptureAccess preflightScreenCaptureAccess() override
    {
        try {
            const auto connection = WaylandConnection::open();
            const std::string obstacle = connection->captureObstacle();
            return obstacle.empty() ? ScreenCaptureAccess{} : ScreenCaptureAccess::denied(obstacle);
        } catch (const std::exception& error) {
            return ScreenCaptureAccess::denied(error.what());
        }
    }

    std::optional<std::int32_t> frontmostProcessID() override { return std::nullopt; }
    std::optional<Point> cursorLocation() override { return std::nullopt; }

    std::optional<std::uint32_t> displayIDAt(Point point) override
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
};

class WaylandContentProvider final : public ShareableContentProvider {
public:
    ShareableContent fetch(const ContentQuery& query) override
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
};

// No compositor lets a client listen to the pointer everywhere.
class WaylandEventTaps final : public EventTapFactory {
public:
    std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t) override { return nullptr; }
};

// The compositor that WAYLAND_DISPLAY names.
class WaylandWindowSystem final : public WindowSystem {
public:
    const char* name() const override { return "wlr-screencopy"; }
    WindowSystemCapabilities capabilities() const override
    {
        return {.listsWindows = true,
            .recordsWindows = false,
            .recordsCoveredWindows = false,
            .hidesApplications = false,
            .asksUser = false,
            .placesClicks = false};
    }
    ScreenAccess& access() override { return access_; }
    ShareableContentProvider& content() override { return content_; }
    ScreenCapture& capture() override { return capture_; }
    EventTapFactory& eventTaps() override { return eventTaps_; }
    Pasteboard& pasteboard() override { return pasteboard_; }

private:
    WaylandScreenAccess access_;
    WaylandContentProvider content_;
    PlainScreenCapture capture_{openWaylandCaptureStream, PlainScreenCapture::Applications::areAllShown};
    WaylandEventTaps eventTaps_;
    WaylandPasteboard pasteboard_;
};

} // namespace

} // namespace glimto

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<WindowSystem, WaylandWindowSystem>,
        Provided<PasteboardOwner, WaylandPasteboardOwner>>();
}
