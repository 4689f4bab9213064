#include "Backends/Portal/PortalPointer.h"
#include "Backends/Portal/PortalScreenCapture.h"
#include "Backends/Portal/PortalServices.h"
#include "Platform/WindowSystem.h"
#include "Support/ModuleTable.h"

namespace glimto {

namespace {

// Captures by the desktop portal, which asks the user what to share. What the portal does not do, the window
// system beside it does as far as it can: it knows the displays, and has the clipboard.
class PortalWindowSystem final : public WindowSystem {
public:
    // `beside` outlives this.
    explicit PortalWindowSystem(WindowSystem& beside)
        : beside_(beside)
        , access_(beside.access())
        , content_(beside.content())
        , capture_(RestoreTokens(RestoreTokens::usualFile()), pointer_)
        , eventTaps_(pointer_)
    {
    }

    const char* name() const override { return "portal"; }

    WindowSystemCapabilities capabilities() const override
    {
        return {.listsWindows = false,
            .recordsWindows = true,
            .recordsCoveredWindows = true,
            .hidesApplications = false,
            .asksUser = true,
            .placesClicks = true,
            .hearsClicks = false};
    }

    ScreenAccess& access() override { return access_; }
    ShareableContentProvider& content() override { return content_; }
    ScreenCapture& capture() override { return capture_; }
    EventTapFactory& eventTaps() override { return eventTaps_; }
    Pasteboard& pasteboard() override { return beside_.pasteboard(); }
    StillCapture* stills() override { return nullptr; }

private:
    WindowSystem& beside_;
    std::shared_ptr<PortalPointer> pointer_ = std::make_shared<PortalPointer>();
    PortalScreenAccess access_;
    PortalContent content_;
    PortalScreenCapture capture_;
    PortalEventTapFactory eventTaps_;
};

} // namespace

} // namespace glimto

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<WindowSystem, PortalWindowSystem, WindowSystem>>();
}
