#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include "InputEvents/EventsDocument.h"

namespace glimto {

// A click that is still seen.
struct ClickRing {
    double x = 0; // where it was, within the picture
    double y = 0;
    double age = 0; // from 0, just pressed, to 1, gone

    friend bool operator==(const ClickRing&, const ClickRing&) = default;
};

// What is drawn of the pointer at a moment. Places within the picture, from 0 to 1.
struct PointerState {
    bool isVisible = false;
    double x = 0; // of the tip
    double y = 0;
    bool isPressed = false;
    double scroll = 0; // from -1, just scrolled down, to 1, just scrolled up; the older, the nearer to 0
    std::vector<ClickRing> rings;

    friend bool operator==(const PointerState&, const PointerState&) = default;
};

// Where the pointer is and what it does at any time. Between its events it moves smoothly, but around a click
// it is exactly where the event was.
class PointerPath {
public:
    static constexpr double ringSeconds = 0.5;
    static constexpr double scrollSeconds = 0.4;
    static constexpr std::size_t mostRings = 8;

    // `events` in the order of their times.
    explicit PointerPath(const std::deque<RecordedEvent>& events);

    PointerState at(double seconds) const;

private:
    struct Place {
        double time = 0; // seconds
        double x = 0;
        double y = 0;
    };
    struct Press {
        Place place;
        bool isDown = false;
    };
    struct Scroll {
        double time = 0;
        double amount = 0;
    };

    Place placeAt(double seconds) const;
    Place smoothedPlaceAt(double seconds) const;
    double secondsToNearestPress(double seconds) const;

    std::vector<Place> places_;
    std::vector<Press> presses_;
    std::vector<Scroll> scrolls_;
};

} // namespace glimto
