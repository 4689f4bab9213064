#pragma once

#include "Platform/Pasteboard.h"
#include "Platform/PasteboardOwner.h"

namespace glimto {

// The clipboard of a compositor that lets programs without a window use it (ext-data-control or
// wlr-data-control). Pictures are asked of their owner each time, so setPNG() leaves a process of its own
// behind.
class WaylandPasteboard final : public Pasteboard {
public:
    std::optional<std::string> setPNG(std::span<const std::byte> data) override;
};

// What that process does.
class WaylandPasteboardOwner final : public PasteboardOwner {
public:
    void offer(std::span<const std::byte> png, const std::function<bool()>& isOffered) override;
};

} // namespace glimto
