#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Geometry.h"

namespace glimto {

// Small questions to the window system. None of them ever asks the user anything, and none throws:
// what cannot be found out is absent or false.
class ScreenAccess {
public:
    virtual ~ScreenAccess() = default;

    // Whether the screen may be captured by this process now.
    virtual bool preflightScreenCaptureAccess() = 0;

    // What stands in the way of capturing the screen, as a sentence for the user; absent when nothing does.
    virtual std::optional<std::string> screenCaptureObstacle() = 0;

    // The process whose application is in front: that of the active window.
    virtual std::optional<std::int32_t> frontmostProcessID() = 0;

    // Where the pointer is, in global display points.
    virtual std::optional<Point> cursorLocation() = 0;

    // The `displayID` of the first display that shows `point`.
    virtual std::optional<std::uint32_t> displayIDAt(Point point) = 0;
};

} // namespace glimto
