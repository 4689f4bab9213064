#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "Backends/X11/Pointer/X11PointerButtons.h"
#include "Backends/X11/Pointer/X11PointerDevice.h"
#include "Backends/X11/Pointer/X11PointerTrack.h"
#include "Platform/EventTap.h"

namespace glimto {

using X11PointerID = std::uint16_t;

// A raw event, understood.
struct X11PointerEvent {
    enum class Kind { motion, press, release };

    X11PointerID pointer = 0;
    std::uint32_t sequence = 0; // of the last request that the server had handled before it
    std::int64_t hostNs = 0;
    Kind kind = Kind::motion;
    X11Motion motion;
    X11ScrollLines scroll;
    std::uint32_t button = 0; // logical
};

// What the server says about a pointer.
struct X11PointerAnswer {
    X11PointerID pointer = 0;
    Point location;
    bool leftIsDown = false;
    bool rightIsDown = false;
};

// Makes the tap's events from raw ones, which wait here until an answer of the server settles where
// the pointer was at each of them.
class X11PointerEvents {
public:
    X11PointerEvents(int width, int height);

    void setScreenSize(int width, int height);

    void add(const X11PointerEvent& event);
    bool isWaiting() const { return !waiting_.empty(); }

    // Settles the events that came before the answers to the requests `sequence` and following, which
    // were asked at `askedAt`. A pointer that is elsewhere than its events have led it has moved.
    void settle(std::uint32_t sequence, std::int64_t askedAt, const std::vector<X11PointerAnswer>& answers);

    // Settles all events by their steps alone.
    void settleUnanswered();

    // What has been settled since the last call, in order of time.
    std::vector<InputEvent> take();

private:
    struct Pointer {
        X11PointerTrack track;
        X11PointerButtons buttons;
        std::optional<Point> shown; // where the last event has put it
    };

    Pointer& pointer(X11PointerID id);
    void settleFirst(std::size_t count, const std::vector<X11PointerAnswer>& answers);
    void settleOne(const X11PointerEvent& event, Point location);
    void settleButton(const X11PointerEvent& event, Point location);
    void move(Pointer& pointer, std::int64_t hostNs, Point location);
    void emit(InputEventType type, std::int64_t hostNs, Point location, X11ScrollLines lines = {});

    int width_;
    int height_;
    std::map<X11PointerID, Pointer> pointers_;
    std::deque<X11PointerEvent> waiting_;
    std::int64_t lastTime_ = 0;
    std::vector<InputEvent> settled_;
};

} // namespace glimto
