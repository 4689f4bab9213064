#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

#include "Backends/X11/Pointer/X11PointerDevice.h"
#include "Backends/X11/Pointer/X11ServerClock.h"
#include "Platform/EventTap.h"
#include "Support/HostClock.h"

namespace glimto {

// A press, release or move as the server has recorded it.
struct X11RecordedEvent {
    enum class Kind { motion, press, release };

    Kind kind = Kind::motion;
    std::uint32_t stamp = 0; // server milliseconds
    Point location; // whole pixels of the root
    std::uint32_t button = 0; // logical
    bool leftIsDown = false; // just before
    bool rightIsDown = false;
};

// What a raw event tells beside the server's record.
struct X11RawAddition {
    enum class Kind {
        press, // of a button of the device, never one that is made of an axis's motion
        release,
        scroll, // of an axis
        touchBegin, // of the touch that moves the pointer
        touchMove,
        touchEnd,
    };

    Kind kind = Kind::scroll;
    std::uint32_t stamp = 0;
    X11ScrollLines lines; // of `scroll`
    std::uint32_t button = 0; // logical, of `press` and `release`
    std::optional<Point> location; // of a touch, if it is known
};

// Makes the tap's events from two streams that come on two connections: the server's record, which has
// places but does not tell a turned wheel from the buttons that are made of a smooth one for old clients,
// nor any touch but its first place; and raw events, which tell just that.
//
// Both are in order of time, and one event has the same stamp in both. A server drops parts of the record
// when they come faster than they are read, but no raw event: a press or release that only the raw events
// know of is where the pointer was last.
class X11PlacedEvents {
public:
    void add(const X11RecordedEvent& event) { recorded_.push_back(event); }
    void add(const X11RawAddition& event) { raw_.push_back(event); }
    bool isWaiting() const { return !recorded_.empty() || !raw_.empty(); }

    // Settles what happened until `until`; everything of both streams up to then must have been added.
    void settle(const X11ServerClock& clock, HostTime now, HostTime until);

    // Where the pointer is, if no event has told so yet.
    void setFirstPlace(Point place);

    // Where the server says that the only pointer is. It may know of a move before the record of it is
    // there; but what it says twice, while no event comes, has happened without a record.
    void setPlace(Point place, HostTime now);

    // What has been settled since the last call, in order of time.
    std::vector<InputEvent> take() { return std::exchange(settled_, {}); }

private:
    void settleOne(const X11RecordedEvent& event, HostTime hostTime);
    void settleOne(const X11RawAddition& event);
    bool takeRaw(X11RawAddition::Kind kind, std::uint32_t stamp, std::uint32_t button);
    void click(X11RawAddition::Kind kind, std::uint32_t button);
    void move(InputEventType type, Point location);
    void emit(InputEventType type, X11ScrollLines lines = {});

    std::deque<X11RecordedEvent> recorded_;
    std::deque<X11RawAddition> raw_;
    std::optional<Point> place_; // after the last settled event
    std::optional<Point> unexplainedPlace_; // that the server has named once
    bool isOfTouch_ = false; // place_, which the pointer itself need not have followed
    HostTime time_; // of the last settled event
    HostTime settledUntil_;
    std::vector<InputEvent> settled_;
};

} // namespace glimto
