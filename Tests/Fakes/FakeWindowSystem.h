#pragma once

#include "Platform/WindowSystem.h"

namespace glimto {

// A window system made of the test's own services.
class FakeWindowSystem final : public WindowSystem {
public:
    FakeWindowSystem(ScreenAccess& access, ShareableContentProvider& content, ScreenCapture& capture,
        EventTapFactory& eventTaps, Pasteboard& pasteboard, StillCapture& stills)
        : access_(access)
        , content_(content)
        , capture_(capture)
        , eventTaps_(eventTaps)
        , pasteboard_(pasteboard)
        , stills_(stills)
    {
    }

    WindowSystemCapabilities abilities;
    bool takesStills = true;

    const char* name() const override { return "fake"; }
    WindowSystemCapabilities capabilities() const override { return abilities; }
    ScreenAccess& access() override { return access_; }
    ShareableContentProvider& content() override { return content_; }
    ScreenCapture& capture() override { return capture_; }
    EventTapFactory& eventTaps() override { return eventTaps_; }
    Pasteboard& pasteboard() override { return pasteboard_; }
    StillCapture* stills() override { return takesStills ? &stills_ : nullptr; }

private:
    ScreenAccess& access_;
    ShareableContentProvider& content_;
    ScreenCapture& capture_;
    EventTapFactory& eventTaps_;
    Pasteboard& pasteboard_;
    StillCapture& stills_;
};

} // namespace glimto
