#pragma once

#include <memory>

#include "Platform/WindowSystem.h"

namespace glimto {

// The X display that DISPLAY names.
std::unique_ptr<WindowSystem> makeX11WindowSystem();

} // namespace glimto
