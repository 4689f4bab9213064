#include "Backends/X11/Pointer/X11PlacedEvents.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace glimto {

using RawKind = X11RawAddition::Kind;

namespace {

constexpr std::uint32_t leftButton = 1; // logical ones
constexpr std::uint32_t rightButton = 3;

// A move is a drag while one of them is down, the left one first.
InputEventType typeOfMove(const X11RecordedEvent& event)
{
    if (event.leftIsDown)
        return InputEventType::leftMouseDragged;
    return event.rightIsDown ? InputEventType::rightMouseDragged : InputEventType::mouseMoved;
}

// Stamps start anew after 2^32.
bool isBefore(std::uint32_t stamp, std::uint32_t other)
{
    return static_cast<std::int32_t>(stamp - other) < 0;
}

bool isNear(Point a, Point b)
{
    return std::abs(a.x - b.x) <= 1 && std::abs(a.y - b.y) <= 1;
}

// Of two with the same stamp: a touch begins with a move that is recorded, and what goes on with it is not
// recorded. Several touches may have the same stamp.
bool comesBefore(const X11RawAddition& raw, const X11RecordedEvent& recorded, std::optional<Point> place)
{
    if (raw.stamp != recorded.stamp)
        return isBefore(raw.stamp, recorded.stamp);
    if (raw.kind == RawKind::touchBegin)
        return place && raw.location && isNear(*place, *raw.location);
    return raw.kind == RawKind::touchMove || raw.kind == RawKind::touchEnd;
}

} // namespace

void X11PlacedEvents::settle(const X11ServerClock& clock, HostTime now, HostTime until)
{
    while (isWaiting()) {
        const bool isRaw
            = recorded_.empty() || (!raw_.empty() && comesBefore(raw_.front(), recorded_.front(), place_));
        const auto stamp = isRaw ? raw_.front().stamp : recorded_.front().stamp;
        const auto hostTime = std::min(now, clock.hostTime(stamp, now));
        if (hostTime > until)
            break;
        time_ = std::max(time_, hostTime);
        if (isRaw) {
            const auto event = raw_.front();
            raw_.pop_front();
            settleOne(event);
        } else {
            const auto event = recorded_.front();
            recorded_.pop_front();
            settleOne(event, hostTime);
        }
    }
    settledUntil_ = std::max(settledUntil_, until);
}

void X11PlacedEvents::setPlace(Point place, HostTime now)
{
    setFirstPlace(place);
    if (isWaiting() || isOfTouch_ || place == place_) {
        unexplainedPlace_.reset();
    } else if (std::exchange(unexplainedPlace_, place) == place) {
        time_ = std::max(time_, now);
        move(InputEventType::mouseMoved, place);
    }
}

void X11PlacedEvents::setFirstPlace(Point place)
{
    if (!place_)
        place_ = place;
}

void X11PlacedEvents::settleOne(const X11RecordedEvent& event, HostTime hostTime)
{
    isOfTouch_ = false;
    unexplainedPlace_.reset();
    if (event.kind == X11RecordedEvent::Kind::motion)
        return move(typeOfMove(event), event.location);
    place_ = event.location;
    const auto kind = event.kind == X11RecordedEvent::Kind::press ? RawKind::press : RawKind::release;
    const bool hasRaw = takeRaw(kind, event.stamp, event.button);
    // Without a raw event it is made of a wheel's motion, or comes so late that the raw event has gone.
    if (hasRaw || (hostTime > settledUntil_ && x11WheelLines(event.button).isZero()))
        click(kind, event.button);
}

void X11PlacedEvents::settleOne(const X11RawAddition& event)
{
    const Point location = event.location.value_or(place_.value_or(Point()));
    switch (event.kind) {
    case RawKind::press:
    case RawKind::release:
        return click(event.kind, event.button); // missing in the record
    case RawKind::scroll:
        return emit(InputEventType::scrollWheel, event.lines);
    case RawKind::touchBegin:
        isOfTouch_ = true;
        // The server has moved the pointer there and knows better than a computation.
        if (!place_ || !isNear(*place_, location))
            place_ = location;
        return emit(InputEventType::leftMouseDown);
    case RawKind::touchMove:
        isOfTouch_ = true;
        return move(InputEventType::leftMouseDragged, location);
    case RawKind::touchEnd:
        isOfTouch_ = true;
        place_ = location;
        return emit(InputEventType::leftMouseUp);
    }
}

// Whether a raw event tells the same; it is used up by that.
bool X11PlacedEvents::takeRaw(RawKind kind, std::uint32_t stamp, std::uint32_t button)
{
    const auto found = std::ranges::find_if(raw_, [&](const X11RawAddition& event) {
        return event.kind == kind && event.stamp == stamp && event.button == button;
    });
    if (found == raw_.end())
        return false;
    raw_.erase(found);
    return true;
}

void X11PlacedEvents::click(RawKind kind, std::uint32_t button)
{
    const bool isPress = kind == RawKind::press;
    if (button == leftButton)
        emit(isPress ? InputEventType::leftMouseDown : InputEventType::leftMouseUp);
    if (button == rightButton)
        emit(isPress ? InputEventType::rightMouseDown : InputEventType::rightMouseUp);
    const auto lines = x11WheelLines(button);
    if (isPress && !lines.isZero())
        emit(InputEventType::scrollWheel, lines);
}

void X11PlacedEvents::move(InputEventType type, Point location)
{
    if (std::exchange(place_, location) != location)
        emit(type);
}

void X11PlacedEvents::emit(InputEventType type, X11ScrollLines lines)
{
    settled_.push_back({
        .type = type,
        .time = time_,
        .globalLocation = place_.value_or(Point()),
        .scrollDeltaY = lines.y,
        .scrollDeltaX = lines.x,
    });
}

} // namespace glimto
