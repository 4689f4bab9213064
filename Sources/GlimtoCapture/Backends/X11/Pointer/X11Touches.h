#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "Backends/X11/Pointer/X11PlacedEvents.h"

namespace glimto {

// The fingers on touch screens. As for every program that knows nothing of touches, the first one on a
// screen is the pointer with its left button held down; those that join it count for nothing, also when
// they outlast it.
class X11Touches {
public:
    struct Touch {
        std::uint16_t device = 0;
        std::uint32_t id = 0;
        std::uint32_t stamp = 0;
        std::optional<double> x; // none for an axis that rests
        std::optional<double> y;
    };

    // What the touch means for the pointer; nothing when it is not the pointer's.
    std::optional<X11RawAddition> begin(const Touch& touch);
    std::optional<X11RawAddition> move(const Touch& touch);
    std::optional<X11RawAddition> end(const Touch& touch);

    // Ends all touches where they are: a device has gone, and will not tell.
    std::vector<X11RawAddition> endAll(std::uint32_t stamp);

private:
    struct Screen {
        std::set<std::uint32_t> touches;
        std::optional<std::uint32_t> pointing;
        Point place; // of the pointing one
    };

    static X11RawAddition follow(Screen& screen, const Touch& touch, X11RawAddition::Kind kind);

    std::map<std::uint16_t, Screen> screens_;
};

} // namespace glimto
