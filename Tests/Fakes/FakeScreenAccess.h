#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/ScreenAccess.h"

namespace glimto {

class FakeScreenAccess final : public ScreenAccess {
public:
    bool granted = true;
    ScreenCaptureAccess::Verdict verdict = ScreenCaptureAccess::Verdict::granted; // while granted
    std::optional<int> grantedAnswers; // when set, only so many answers more say that it is granted
    std::optional<std::int32_t> frontmostProcess;
    std::optional<Point> cursor = Point{};
    std::optional<std::uint32_t> displayIDUnderPoint;
    std::optional<Point> askedPoint; // the last one displayIDAt() was asked for

    ScreenCaptureAccess preflightScreenCaptureAccess() override
    {
        if (granted && (!grantedAnswers || (*grantedAnswers)-- > 0))
            return {.verdict = verdict, .obstacle = {}};
        return ScreenCaptureAccess::denied("The screen is out of reach.");
    }
    std::optional<std::int32_t> frontmostProcessID() override { return frontmostProcess; }
    std::optional<Point> cursorLocation() override { return cursor; }
    std::optional<std::uint32_t> displayIDAt(Point point) override
    {
        askedPoint = point;
        return displayIDUnderPoint;
    }
};

} // namespace glimto
