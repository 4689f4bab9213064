#pragma once

#include <optional>

#include "Platform/FrameGrid.h"
#include "Support/HostClock.h"

namespace glimto {

// Decides when a stream does what.
//
// Pictures are taken on the points of a grid that begins with the first one; points that pass meanwhile
// are skipped, never made up for. While nothing changes, the last frame is repeated after a quarter of a
// second and then every half second.
//
// The pointer is polled at most 60 times a second, and 15 times once nothing has changed for a second:
// a screen at rest is to cost next to nothing.
class X11FramePacer {
public:
    enum class PointerPolling { off, on };
    X11FramePacer(MediaTime interval, PointerPolling polling);

    enum class Action { wait, grab, pollPointer, repeat };
    struct Step {
        Action action = Action::wait;
        HostTime until = {}; // for `wait`: when to ask again, at the latest
    };

    // What to do now. `hasChanges`: something is there to be grabbed.
    Step next(HostTime now, bool hasChanges);

    // A picture was taken, or tried to, or the pointer polled.
    void didTick(HostTime now);

    // A frame was delivered.
    enum class Delivery { newPicture, repetition };
    void didDeliver(HostTime now, Delivery delivery);

private:
    FrameGrid grid_;
    PointerPolling polling_;
    bool hasBegun_ = false;
    HostTime lastTick_;
    HostTime lastNewPicture_;
    HostTime repeatDue_;
    // Fixed when the need shows itself: the point after a later "now" would never come.
    std::optional<HostTime> changeDue_;
    std::optional<HostTime> pollDue_;
};

} // namespace glimto
