#pragma once

#include "Platform/CaptureOpening.h"
#include "Platform/EventTap.h"
#include "Platform/Pasteboard.h"
#include "Platform/ScreenAccess.h"
#include "Platform/ShareableContent.h"
#include "Platform/StillCapture.h"

namespace glimto {

// What a window system can do at all. What it cannot, its services refuse with a sentence for the user, or
// do as well as can be; none of them ever gives a wrong picture for it.
struct WindowSystemCapabilities {
    bool listsWindows = true; // the content has windows, not only displays
    bool recordsWindows = true; // one window can be captured
    bool recordsCoveredWindows = true; // and shows itself whatever covers it
    bool hidesApplications = true; // excluded applications are not seen in captures of a display
    bool asksUser = false; // opening a capture may ask the user, who then also picks the source
    bool placesClicks = true; // the event tap knows where the pointer is
    bool hearsClicks = true; // the event tap hears clicks and scrolls as well; said once there is one

    friend bool operator==(const WindowSystemCapabilities&, const WindowSystemCapabilities&) = default;
};

// The window system of the session that this process belongs to: one object that gives everything the program
// asks of it. The composition root chooses it; nothing else knows which ones exist.
//
// Making one asks the system nothing and costs nothing: most commands need a part of it or none. The services
// belong to it and live as long.
class WindowSystem {
public:
    virtual ~WindowSystem() = default;

    // For people who look for the cause of something: "X11".
    virtual const char* name() const = 0;

    virtual WindowSystemCapabilities capabilities() const = 0;

    virtual ScreenAccess& access() = 0;
    virtual ShareableContentProvider& content() = 0;
    virtual ScreenCapture& capture() = 0;
    virtual EventTapFactory& eventTaps() = 0;
    virtual Pasteboard& pasteboard() = 0;

    // Null where the system takes no single pictures; the first frame of a capture then serves instead.
    virtual StillCapture* stills() { return nullptr; }
};

} // namespace glimto
