#pragma once

#include <cstdint>
#include <optional>

#include "Platform/FrameGrid.h"

namespace glimto {

// Decides when a stream does what. All times are nanoseconds of the host clock.
//
// Pictures are taken on the points of a grid that begins with the first one; points that pass meanwhile
// are skipped, never made up for. While nothing changes, the last frame is repeated every half second.
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
        std::int64_t until = 0; // for `wait`: when to ask again, at the latest
    };

    // What to do now. `hasChanges`: something is there to be grabbed.
    Step next(std::int64_t now, bool hasChanges);

    // A picture was taken, or tried to, or the pointer polled.
    void didTick(std::int64_t now);

    // A frame was delivered.
    enum class Delivery { newPicture, repetition };
    void didDeliver(std::int64_t now, Delivery delivery);

private:
    FrameGrid grid_;
    PointerPolling polling_;
    bool hasBegun_ = false;
    std::int64_t lastTick_ = 0;
    std::int64_t lastNewPicture_ = 0;
    std::int64_t repeatDue_ = 0;
    // Fixed when the need shows itself: the point after a later "now" would never come.
    std::optional<std::int64_t> changeDue_;
    std::optional<std::int64_t> pollDue_;
};

} // namespace glimto
