#include "Backends/Streams/PlainScreenCapture.h"
#include "Backends/Wayland/WaylandCaptureStream.h"
#include "Backends/Wayland/WaylandPasteboard.h"
#include "Backends/Wayland/WaylandServices.h"
#include "Platform/WindowSystem.h"
#include "Support/ModuleTable.h"

namespace glimto {

namespace {

// The compositor that WAYLAND_DISPLAY names.
class WaylandWindowSystem final : public WindowSystem {
public:
    const char* name() const override { return access_.captureWay(); }
    WindowSystemCapabilities capabilities() const override
    {
        return {.listsWindows = true,
            .recordsWindows = true, // where the compositor offers it
            .recordsCoveredWindows = true,
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
    PlainScreenCapture capture_{openWaylandCapture};
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
