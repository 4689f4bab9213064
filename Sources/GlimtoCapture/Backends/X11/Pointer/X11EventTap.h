#pragma once

#include "Platform/EventTap.h"

namespace glimto {

// Taps over the pointers of the X server that DISPLAY names.
//
// A tap whose server has gone is disabled; enable() then connects anew, at most once a second.
class X11EventTapFactory final : public EventTapFactory {
public:
    // Null when there is no display, or its server has no X Input extension of version 2.1 or later.
    std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t eventMask) override;
};

} // namespace glimto
