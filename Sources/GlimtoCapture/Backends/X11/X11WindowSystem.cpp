#include "Backends/X11/X11WindowSystem.h"

#include "Backends/Streams/PlainScreenCapture.h"
#include "Backends/X11/Clipboard/X11Pasteboard.h"
#include "Backends/X11/Pictures/X11CaptureStream.h"
#include "Backends/X11/Pictures/X11StillCapture.h"
#include "Backends/X11/Pointer/X11EventTap.h"
#include "Backends/X11/Windows/X11ShareableContentProvider.h"
#include "Backends/X11/X11ScreenAccess.h"

namespace glimto {

namespace {

class X11WindowSystem final : public WindowSystem {
public:
    const char* name() const override { return "X11"; }
    WindowSystemCapabilities capabilities() const override { return {}; }
    ScreenAccess& access() override { return access_; }
    ShareableContentProvider& content() override { return content_; }
    ScreenCapture& capture() override { return capture_; }
    EventTapFactory& eventTaps() override { return eventTaps_; }
    Pasteboard& pasteboard() override { return pasteboard_; }
    StillCapture* stills() override { return stills_.get(); }

private:
    X11ScreenAccess access_;
    X11ShareableContentProvider content_;
    PlainScreenCapture capture_{openX11CaptureStream, PlainScreenCapture::Applications::canBeHidden};
    X11EventTapFactory eventTaps_;
    X11Pasteboard pasteboard_;
    std::unique_ptr<StillCapture> stills_ = makeX11StillCapture();
};

} // namespace

std::unique_ptr<WindowSystem> makeX11WindowSystem()
{
    return std::make_unique<X11WindowSystem>();
}

} // namespace glimto
