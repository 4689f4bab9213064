#include "Composition/WindowSystemChoice.h"

#include <string>

#include "Composition/UnavailableWindowSystem.h"

#ifdef GLIMTO_HAS_X11
#include "Backends/X11/Clipboard/X11PasteboardOwner.h"
#include "Backends/X11/X11WindowSystem.h"
#endif

namespace glimto {

namespace {

bool isSet(const ProcessEnvironment& process, const char* name)
{
    const auto value = process.variable(name);
    return value && !value->empty();
}

std::unique_ptr<WindowSystem> unavailable(const std::string& reason)
{
    return std::make_unique<UnavailableWindowSystem>(reason);
}

} // namespace

std::unique_ptr<WindowSystem> chooseWindowSystem(const ProcessEnvironment& process)
{
    if (isSet(process, "WAYLAND_DISPLAY")) {
        return unavailable(
            "This is a Wayland session (WAYLAND_DISPLAY is set), and this build has no Wayland "
            "backend. Use an X11 session, or unset WAYLAND_DISPLAY to capture the X display "
            "that DISPLAY names.");
    }
#ifdef GLIMTO_HAS_X11
    return makeX11WindowSystem();
#else
    return unavailable("This build has no backend for the window system of this session.");
#endif
}

std::optional<int> runWindowSystemService(
    [[maybe_unused]] int argumentCount, [[maybe_unused]] char** argumentValues)
{
#ifdef GLIMTO_HAS_X11
    if (isPasteboardOwner(argumentCount, argumentValues))
        return runPasteboardOwner();
#endif
    return std::nullopt;
}

} // namespace glimto
