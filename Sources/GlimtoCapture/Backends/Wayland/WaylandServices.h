#pragma once

#include <atomic>

#include "Platform/EventTap.h"
#include "Platform/ScreenAccess.h"
#include "Platform/ShareableContent.h"

namespace glimto {

// Questions to the compositor, each on a connection of its own. The screen may be captured where the
// compositor offers a capture protocol. A client cannot know where the pointer is, nor whose window is in
// front.
class WaylandScreenAccess final : public ScreenAccess {
public:
    ScreenCaptureAccess preflightScreenCaptureAccess() override;
    std::optional<std::int32_t> frontmostProcessID() override { return std::nullopt; }
    std::optional<Point> cursorLocation() override { return std::nullopt; }
    std::optional<std::uint32_t> displayIDAt(Point point) override;

    // The protocol that the last preflight found.
    const char* captureWay() const { return captureWay_; }

private:
    std::atomic<const char*> captureWay_ = "none";
};

class WaylandContentProvider final : public ShareableContentProvider {
public:
    ShareableContent fetch(const ContentQuery& query) override;
};

// No compositor lets a client listen to the pointer everywhere.
class WaylandEventTaps final : public EventTapFactory {
public:
    std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t) override { return nullptr; }
};

} // namespace glimto
