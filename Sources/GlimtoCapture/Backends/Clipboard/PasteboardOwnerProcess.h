#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Platform/PasteboardOwner.h"

namespace glimto {

// How the process is told that the clipboard is that of the Wayland compositor.
inline constexpr const char* waylandPasteboardOwnerArgument = "offer-png-wayland";

// A process that keeps a picture on the clipboard after the tool has ended: this program started once more,
// in a session of its own and without any of our descriptors.

// Starts one and waits at most 5 seconds until it has the clipboard. `argument` tells it which clipboard that
// is, and `silence` is what to say when it says nothing. Absent when all is well; else what stands in the
// way, as a sentence for the user, and no process is left behind. Does not throw.
std::optional<std::string> startPasteboardOwner(
    const std::string& argument, std::span<const std::byte> png, const std::string& silence);

// Whether this process was started to be that owner.
bool isPasteboardOwner(int argumentCount, char** argumentValues, std::string_view argument);

// Is that owner. Returns the exit status: 0 unless the clipboard could not be had. To be called before
// anything else is set up.
int runPasteboardOwner(PasteboardOwner& owner);

} // namespace glimto
