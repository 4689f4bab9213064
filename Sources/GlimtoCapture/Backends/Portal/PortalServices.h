#pragma once

#include "Platform/WindowSystem.h"

namespace glimto {

// Whether there is a portal that shares screens, without asking the user; the rest is what is known beside
// it.
class PortalScreenAccess final : public ScreenAccess {
public:
    explicit PortalScreenAccess(ScreenAccess& beside)
        : beside_(beside)
    {
    }

    ScreenCaptureAccess preflightScreenCaptureAccess() override;
    std::optional<std::int32_t> frontmostProcessID() override { return beside_.frontmostProcessID(); }
    std::optional<Point> cursorLocation() override { return beside_.cursorLocation(); }
    std::optional<std::uint32_t> displayIDAt(Point point) override;

private:
    ScreenAccess& beside_;
};

// The displays that are known beside the portal; where there are none, one of unknown size that stands for
// whatever the user picks. No windows: only the portal's dialog knows them.
class PortalContent final : public ShareableContentProvider {
public:
    static constexpr std::uint32_t pickedDisplayID = 1;

    explicit PortalContent(ShareableContentProvider& beside)
        : beside_(beside)
    {
    }

    ShareableContent fetch(const ContentQuery& query) override;

private:
    ShareableContentProvider& beside_;
};

} // namespace glimto
