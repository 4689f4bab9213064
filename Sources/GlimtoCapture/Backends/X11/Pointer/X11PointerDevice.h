#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace glimto {

struct X11AxisValue {
    int axis = 0;
    double value = 0;
};

// A place in pixels of the root; none for an axis that rests.
struct X11EventPlace {
    std::optional<double> x;
    std::optional<double> y;
};

// How far a wheel was turned; signs as in InputEvent.
struct X11ScrollLines {
    double y = 0;
    double x = 0;

    bool isZero() const { return y == 0 && x == 0; }
};

// What is needed to understand the raw events of one input device.
struct X11PointerDevice {
    // An axis that tells a place.
    struct PlaceAxis {
        double minimum = 0;
        double maximum = 0;
    };

    struct ScrollAxis {
        enum class Direction { vertical, horizontal };
        int axis = 0;
        Direction direction = Direction::vertical;
        double increment = 1; // of one line down or right
    };

    std::array<std::optional<PlaceAxis>, 2> placeAxes; // X and Y are axes 0 and 1; none that only tell steps
    std::vector<ScrollAxis> scrollAxes;
    bool isTouchScreen = false; // a finger is where it touches; on a touch pad it only moves the pointer
    std::vector<std::uint8_t> buttonMap; // the logical number of each physical button, from button 1 on

    // Where an event is on a root of this size, as far as it tells.
    X11EventPlace place(std::span<const X11AxisValue> values, int width, int height) const;

    X11ScrollLines scrollLines(std::span<const X11AxisValue> values) const;

    // What the user's settings make of a button; a left-handed one swaps 1 and 3.
    std::uint32_t logicalButton(std::uint32_t button) const;
};

// What one press of the logical button scrolls: a wheel without axes turns by pressing 4 to 7.
X11ScrollLines x11WheelLines(std::uint32_t button);

} // namespace glimto
