#include "Composition/WindowSystemChoice.h"

#include <memory>
#include <string>
#include <utility>

#include "Backends/Clipboard/PasteboardOwnerProcess.h"
#include "Composition/SessionWindowSystem.h"
#include "Composition/UnavailableWindowSystem.h"
#include "Support/LoadableModule.h"

#ifdef GLIMTO_HAS_X11
#include "Backends/X11/Clipboard/X11Pasteboard.h"
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

constexpr const char* waylandModule = "glimto-capture-wayland.so";

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

// Through the portal. Beside it stands whatever knows the session's displays and has its clipboard.
Way wayThroughPortal(const std::function<WindowSystem&()>& beside, const ModuleDirectories& moduleDirectories)
{
    const auto module = std::make_shared<LoadableModule>(
        "glimto-capture-portal.so", moduleDirectories, "The backend for the desktop's portal");
    return {"the desktop's portal",
        [module, beside]() -> WindowSystem& { return module->service<WindowSystem>(&beside()); }};
}

// The Wayland compositor beside the portal, whether it lets the screen be captured or not.
std::function<WindowSystem&()> compositorBesideThePortal(const ModuleDirectories& moduleDirectories)
{
    const std::shared_ptr<WindowSystem> none
        = unavailable("Nothing but the desktop's portal is known of this session.");
    if (!hasWayland)
        return [none]() -> WindowSystem& { return *none; };
    const auto way = wayThroughModule("Wayland", waylandModule, moduleDirectories);
    return [none, way]() -> WindowSystem& {
        try {
            return way.open();
        } catch (const std::exception&) {
            return *none;
        }
    };
}

std::unique_ptr<WindowSystem> portalOfX11Session(
    const ModuleDirectories& moduleDirectories, SessionWindowSystem::Listener listener)
{
    if (!hasPortal)
        return unavailable("This build has no backend for the desktop's portal.");
    const std::shared_ptr<WindowSystem> beside = x11();
    return std::make_unique<SessionWindowSystem>(
        std::vector<Way>{
            wayThroughPortal([beside]() -> WindowSystem& { return *beside; }, moduleDirectories)},
        nullptr, std::move(listener));
}

std::unique_ptr<WindowSystem> waylandSession(const std::string& wish,
    const ModuleDirectories& moduleDirectories, std::unique_ptr<WindowSystem> besides,
    SessionWindowSystem::Listener listener)
{
    std::vector<Way> ways;
    if (hasWayland && wish != "portal")
        ways.push_back(wayThroughModule("Wayland", waylandModule, moduleDirectories));
    if (hasPortal && wish != "wayland")
        ways.push_back(wayThroughPortal(compositorBesideThePortal(moduleDirectories), moduleDirectories));
    if (!ways.empty())
        return std::make_unique<SessionWindowSystem>(
            std::move(ways), std::move(besides), std::move(listener));
    if (!wish.empty())
        return unavailable(
            "This build has no backend for what GLIMTO_WINDOW_SYSTEM names, \"" + wish + "\".");
    return unavailable("This is a Wayland session (WAYLAND_DISPLAY is set), and this build has no Wayland "
                       "backend. Use an X11 session, or unset WAYLAND_DISPLAY to capture the X display "
                       "that DISPLAY names.");
}

// Opens the module only once somebody can be told that it is missing.
class OwnerInModule final : public PasteboardOwner {
public:
    explicit OwnerInModule(const ModuleDirectories& moduleDirectories)
        : module_(waylandModule, moduleDirectories, "The backend for Wayland")
    {
    }
    void offer(std::span<const std::byte> png, const std::function<bool()>& isOffered) override
    {
        module_.service<PasteboardOwner>().offer(png, isOffered);
    }

private:
    LoadableModule module_;
};

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
    SessionWindowSystem::Listener listener = [tells, &diagnostics](const std::string& sentence) {
        if (tells)
            diagnostics.writeLine("diagnostics: " + sentence);
    };
    if (wish == "portal" && !isSet(process, "WAYLAND_DISPLAY"))
        return portalOfX11Session(moduleDirectories, std::move(listener));
    auto besides = isSet(process, "DISPLAY") ? x11() : nullptr;
    return waylandSession(wish, moduleDirectories, std::move(besides), std::move(listener));
}

std::optional<int> runWindowSystemService(
    int argumentCount, char** argumentValues, const std::function<ModuleDirectories()>& moduleDirectories)
{
#ifdef GLIMTO_HAS_X11
    if (isPasteboardOwner(argumentCount, argumentValues, x11PasteboardOwnerArgument)) {
        X11PasteboardOwner owner;
        return runPasteboardOwner(owner);
    }
#endif
    if (isPasteboardOwner(argumentCount, argumentValues, waylandPasteboardOwnerArgument)) {
        OwnerInModule owner(moduleDirectories());
        return runPasteboardOwner(owner);
    }
    return std::nullopt;
}

} // namespace glimto
