#pragma once

#include <memory>
#include <optional>

#include "Platform/ProcessEnvironment.h"
#include "Platform/WindowSystem.h"

namespace glimto {

// The window system of the session that this process belongs to, by its environment, among those the program
// was built for. Where there is none, every service of the result says why.
//
// In a Wayland session the X server beside it is never taken: its screen is black.
std::unique_ptr<WindowSystem> chooseWindowSystem(const ProcessEnvironment& process);

// Some services are kept up by a process of their own, which is this program started once more. Runs such a
// service and returns the exit status; nothing when this process is none.
std::optional<int> runWindowSystemService(int argumentCount, char** argumentValues);

} // namespace glimto
