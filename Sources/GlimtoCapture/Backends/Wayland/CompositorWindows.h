#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "Platform/ShareableContent.h"

namespace glimto {

// What a compositor tells of its windows, with where they are, in a language of its own: sway's IPC (the
// variable SWAYSOCK, as i3 speaks it) or Hyprland's (HYPRLAND_INSTANCE_SIGNATURE). Frontmost first, by when
// each was last used. Applications are named by what the compositor knows: the identifier of the program, or
// the class of its window. Absent where there is no such compositor, or it does not answer within two
// seconds, or what it says makes no sense. Does not throw.
std::optional<std::vector<Window>> compositorWindows();

// The windows in the answer of sway to "get_tree", and of Hyprland to "j/clients". Anything may stand there;
// what makes no sense is left out. Absent when it is no such answer at all.
std::optional<std::vector<Window>> windowsOfSwayTree(std::string_view json);
std::optional<std::vector<Window>> windowsOfHyprland(std::string_view json);

} // namespace glimto
