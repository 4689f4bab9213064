#pragma once

#include "Backends/Wayland/WaylandPasteboard.h"
#include "Backends/Wayland/WaylandServices.h"
#include "Platform/WindowSystem.h"

namespace glimto {

// The compositor that WAYLAND_DISPLAY names.
class WaylandWindowSystem final : public WindowSystem {
public:
    const char* name() const override { return "wlr-screencopy"; }
    WindowSystemCapabilities capabilities() const override;
    ScreenAccess& access() override { return access_; }
    ShareableContentProvider& content() override { return content_; }
    ScreenCapture& capture() override { return capture_; }
    EventTapFactory& eventTaps() override { return eventTaps_; }
    Pasteboard& pasteboard() override { return pasteboard_; }
    // A single copy is the first frame of a capture.
    StillCapture* stills() override { return nullptr; }

private:
    WaylandScreenAccess access_;
    WaylandContentProvider content_;
    WaylandScreenCapture capture_;
    WaylandEventTaps eventTaps_;
    WaylandPasteboard pasteboard_;
};

} // namespace glimto
