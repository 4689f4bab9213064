#pragma once

#include "Platform/PasteboardOwner.h"

namespace glimto {

// How a process is told to own the clipboard of the X display.
inline constexpr const char* x11PasteboardOwnerArgument = "offer-png";

// Owns the CLIPBOARD selection until another program takes it or the X server goes.
class X11PasteboardOwner final : public PasteboardOwner {
public:
    void offer(std::span<const std::byte> png, const std::function<bool()>& isOffered) override;
};

} // namespace glimto
