#pragma once

#include "Platform/ScreenAccess.h"

namespace glimto {

// Questions to the X display that DISPLAY names, each on a connection of its own. The screen may be
// captured when the display answers and a picture of its root window can be read.
class X11ScreenAccess final : public ScreenAccess {
public:
    ScreenCaptureAccess preflightScreenCaptureAccess() override;
    std::optional<std::int32_t> frontmostProcessID() override;
    std::optional<Point> cursorLocation() override;
    std::optional<std::uint32_t> displayIDAt(Point point) override;
};

} // namespace glimto
