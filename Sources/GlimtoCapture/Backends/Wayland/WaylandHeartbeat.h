#pragma once

#include <cstdint>

#include "Backends/Wayland/WaylandConnection.h"

namespace glimto {

// Tells a compositor that hangs from one whose screen stands still: asks it for a sign of life every few
// seconds. Used by the thread of its connection, which outlives it.
class WaylandHeartbeat {
public:
    explicit WaylandHeartbeat(WaylandConnection& connection);

    // Called now and then, after events were handled. `now` in nanoseconds of the host clock. Throws
    // PlatformError noAnswer when the last question has stood for too long.
    void beat(std::int64_t now);

private:
    WaylandConnection& connection_;
    WaylandCallbackHandle question_; // null while none stands
    std::int64_t asked_ = 0;
};

} // namespace glimto
