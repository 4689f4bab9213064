#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "Platform/Geometry.h"

namespace glimto {

// Whether the screen may be captured by this process, as far as can be told without asking the user.
struct ScreenCaptureAccess {
    enum class Verdict {
        granted,
        denied,
        onlyAskingTells, // a capture would ask the user, who may say no
    };
    Verdict verdict = Verdict::granted;
    std::string obstacle; // what stands in the way, as a sentence for the user; empty unless denied

    // Whether it makes sense to open a capture. A system that asks the user is a way in.
    bool allowsOpening() const { return verdict != Verdict::denied; }

    static ScreenCaptureAccess denied(std::string obstacle) { return {Verdict::denied, std::move(obstacle)}; }
};

// Small questions to the window system. None of them ever asks the user anything, and none throws:
// what cannot be found out is absent.
class ScreenAccess {
public:
    virtual ~ScreenAccess() = default;

    virtual ScreenCaptureAccess preflightScreenCaptureAccess() = 0;

    // The process whose application is in front: that of the active window.
    virtual std::optional<std::int32_t> frontmostProcessID() = 0;

    // Where the pointer is, in global display points.
    virtual std::optional<Point> cursorLocation() = 0;

    // The `displayID` of the first display that shows `point`.
    virtual std::optional<std::uint32_t> displayIDAt(Point point) = 0;
};

} // namespace glimto
