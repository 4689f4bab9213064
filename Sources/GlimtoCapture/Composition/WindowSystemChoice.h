#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/ProcessEnvironment.h"
#include "Platform/WindowSystem.h"
#include "Support/LineOutput.h"

namespace glimto {

// The window system of the session that this process belongs to, by its environment, among those the program
// was built for. Where there is none, every service of the result says why.
//
// In a Wayland session, which WAYLAND_DISPLAY tells, it is the compositor itself where that lets programs
// capture the screen, else the desktop's portal. The X server beside such a session is never taken: its
// screen is black.
//
// The variable GLIMTO_WINDOW_SYSTEM, "x11", "wayland" or "portal", overrides the choice. With
// GLIMTO_DIAGNOSTICS set, what was chosen and why is told on `diagnostics`, which lives as long as the
// result. Backends in modules are looked for in `moduleDirectories`, and opened when they are first used.
std::unique_ptr<WindowSystem> chooseWindowSystem(const ProcessEnvironment& process,
    const std::vector<std::filesystem::path>& moduleDirectories, LineOutput& diagnostics);

// Some services are kept up by a process of their own, which is this program started once more. Runs such a
// service and returns the exit status; nothing when this process is none. Only a service asks for the
// directories.
std::optional<int> runWindowSystemService(int argumentCount, char** argumentValues,
    const std::function<std::vector<std::filesystem::path>()>& moduleDirectories);

} // namespace glimto
