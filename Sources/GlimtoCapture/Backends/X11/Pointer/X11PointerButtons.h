#pragma once

#include <cstdint>
#include <optional>

#include "Platform/EventTap.h"

namespace glimto {

// The left and the right button of one pointer, logical buttons 1 and 3.
class X11PointerButtons {
public:
    // The event that a press or release of a logical button is; none for other buttons.
    std::optional<InputEventType> press(std::uint32_t button);
    std::optional<InputEventType> release(std::uint32_t button);

    // What a move is now: a drag while one of them is down, the left one first.
    InputEventType move() const;

    // What the server says about them.
    void set(bool leftIsDown, bool rightIsDown);

private:
    bool leftIsDown_ = false;
    bool rightIsDown_ = false;
};

} // namespace glimto
