#pragma once

#include <optional>
#include <vector>

#include "Platform/EventTap.h"
#include "Support/HostClock.h"

namespace glimto {

// Brings together moves, which have a place, and clicks and scrolls, which happened wherever the pointer was
// then. They may come in any order: each waits until what happened before it is known. One thread at a time.
class PointerPlacing {
public:
    void add(const InputEvent& event) { waiting_.push_back(event); }

    // When the oldest that waits happened.
    std::optional<HostTime> oldest() const;

    // All that happened until `until`, with their places and in order of time, also with what was taken
    // before. What happened before the first move has no place and is left out.
    std::vector<InputEvent> take(HostTime until);

private:
    std::vector<InputEvent> waiting_;
    std::optional<Point> place_;
    HostTime last_; // no event that was taken is younger
};

} // namespace glimto
