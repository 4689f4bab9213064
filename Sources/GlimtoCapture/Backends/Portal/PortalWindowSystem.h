#pragma once

#include "Backends/Portal/PortalScreenCapture.h"
#include "Backends/Portal/PortalServices.h"
#include "Platform/WindowSystem.h"

namespace glimto {

// Captures by the desktop portal, which asks the user what to share. What the portal does not do, the window
// system beside it does as far as it can: it knows the displays, and has the clipboard.
class PortalWindowSystem final : public WindowSystem {
public:
    // `beside` outlives this.
    explicit PortalWindowSystem(WindowSystem& beside);

    const char* name() const override { return "portal"; }
    WindowSystemCapabilities capabilities() const override;
    ScreenAccess& access() override { return access_; }
    ShareableContentProvider& content() override { return content_; }
    ScreenCapture& capture() override { return capture_; }
    EventTapFactory& eventTaps() override { return eventTaps_; }
    Pasteboard& pasteboard() override { return beside_.pasteboard(); }
    StillCapture* stills() override { return nullptr; }

private:
    class NoEventTaps final : public EventTapFactory {
    public:
        std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t) override { return nullptr; }
    };

    WindowSystem& beside_;
    PortalScreenAccess access_;
    PortalContent content_;
    PortalScreenCapture capture_;
    NoEventTaps eventTaps_;
};

} // namespace glimto
