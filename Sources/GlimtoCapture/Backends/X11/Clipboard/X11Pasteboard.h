#pragma once

#include "Platform/Pasteboard.h"
#include "Platform/PasteboardOwner.h"

namespace glimto {

// The CLIPBOARD selection (ICCCM, section 2).
//
// A selection's contents are asked of its owner each time, so the owner has to live on: setPNG() starts this
// program once more, as a small process that only offers the picture, and hears from it whether it got the
// selection.
class X11Pasteboard final : public Pasteboard {
public:
    // Waits at most 5 seconds. When something stands in the way, no process is left behind. A Wayland session
    // does: its clipboard is another one.
    std::optional<std::string> setPNG(std::span<const std::byte> data) override;
};

// How that process is told to own the clipboard of the X display.
inline constexpr const char* x11PasteboardOwnerArgument = "offer-png";

// What it does: owns the selection until another program takes it or the X server goes.
class X11PasteboardOwner final : public PasteboardOwner {
public:
    void offer(std::span<const std::byte> png, const std::function<bool()>& isOffered) override;
};

} // namespace glimto
