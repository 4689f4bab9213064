#pragma once

#include "Backends/Clipboard/PasteboardOwnerProcess.h"
#include "Backends/X11/Clipboard/X11PasteboardOwner.h"
#include "Platform/Pasteboard.h"

namespace glimto {

// The CLIPBOARD selection (ICCCM, section 2).
//
// A selection's contents are asked of its owner each time, so the owner has to live on: setPNG() starts this
// program once more, as a small process that only offers the picture (X11PasteboardOwner.h), and hears from
// it whether it got the selection.
class X11Pasteboard final : public Pasteboard {
public:
    // Waits at most 5 seconds. When something stands in the way, no process is left behind. A Wayland session
    // does: its clipboard is another one.
    std::optional<std::string> setPNG(std::span<const std::byte> data) override
    {
        return startPasteboardOwner(x11PasteboardOwnerArgument, data, "The X server does not answer.");
    }
};

} // namespace glimto
