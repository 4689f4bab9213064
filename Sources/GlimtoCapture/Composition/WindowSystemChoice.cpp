#include "Composition/WindowSystemChoice.h"

#include <memory>
#include <string>
#include <utility>

#include "Composition/SessionWindowSystem.h"
#include "Composition/UnavailableWindowSystem.h"
#include "Support/LoadableModule.h"

#ifdef GLIMTO_HAS_X11
#include "Backends/X11/Clipboard/X11PasteboardOwner.h"
#include "Backends/X11/X11WindowSystem.h"
#endif

namespace glimto {

namespace {

#ifdef GLIMTO_HAS_WAYLAND
constexpr bool hasWayland = true;
#else
constexpr bool hasWayland = false;
#endif
#ifdef GLIMTO_HAS_PORTAL
constexpr bool hasPortal = true;
#else
constexpr bool hasPortal = false;
#endif

using ModuleDirectories = std::vector<std::filesystem::path>;
using Way = SessionWindowSystem::Way;

bool isSet(const ProcessEnvironment& process, const char* name)
{
    const auto value = process.variable(name);
    return value && !value->empty();
}

std::unique_ptr<WindowSystem> unavailable(const std::string& reason)
{
    return std::make_unique<UnavailableWindowSystem>(reason);
}

std::unique_ptr<WindowSystem> x11()
{
#ifdef GLIMTO_HAS_X11
    return makeX11WindowSystem();
#else
    return unavailable("This build has no X11 backend.");
#endif
}

// Through the window system of a module.
Way wayThroughModule(
    const std::string& name, const std::string& fileName, const ModuleDirectories& moduleDirectories)
{
    const auto module
        = std::make_shared<LoadableModule>(fileName, moduleDirectories, "The backend for " + name);
    return {name, [module]() -> WindowSystem& { return module->service<WindowSystem>(); }};
}

std::unique_ptr<WindowSystem> waylandSession(const std::string& wish,
    const ModuleDirectories& moduleDirectories, SessionWindowSystem::Listener listener)
{
    std::vector<Way> ways;
    if (hasWayland && wish != "portal")
        ways.push_back(wayThroughModule("Wayland", "glimto-capture-wayland.so", moduleDirectories));
    if (hasPortal && wish != "wayland")
        ways.push_back(
            wayThroughModule("the desktop's portal", "glimto-capture-portal.so", moduleDirectories));
    if (!ways.empty())
        return std::make_unique<SessionWindowSystem>(std::move(ways), std::move(listener));
    if (!wish.empty())
        return unavailable(
            "This build has no backend for what GLIMTO_WINDOW_SYSTEM names, \"" + wish + "\".");
    return unavailable("This is a Wayland session (WAYLAND_DISPLAY is set), and this build has no Wayland "
                       "backend. Use an X11 session, or unset WAYLAND_DISPLAY to capture the X display "
                       "that DISPLAY names.");
}

} // namespace

std::unique_ptr<WindowSystem> chooseWindowSystem(
    const ProcessEnvironment& process, const ModuleDirectories& moduleDirectories, LineOutput& diagnostics)
{
    const std::string wish = process.variable("GLIMTO_WINDOW_SYSTEM").value_or("");
    if (wish == "x11" || (wish.empty() && !isSet(process, "WAYLAND_DISPLAY")))
        return x11();
    if (!wish.empty() && wish != "wayland" && wish != "portal")
        return unavailable(
            "GLIMTO_WINDOW_SYSTEM names \"" + wish + "\"; there are \"x11\", \"wayland\" and \"portal\".");
    const bool tells = isSet(process, "GLIMTO_DIAGNOSTICS");
    return waylandSession(wish, moduleDirectories, [tells, &diagnostics](const std::string& sentence) {
        if (tells)
            diagnostics.writeLine("diagnostics: " + sentence);
    });
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
