#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "Platform/Geometry.h"
#include "Support/HostClock.h"

namespace glimto {

// The numbers are those of the event mask's bits; the last two tell that the system switched the tap off.
enum class InputEventType : std::int64_t {
    leftMouseDown = 1,
    leftMouseUp = 2,
    rightMouseDown = 3,
    rightMouseUp = 4,
    mouseMoved = 5,
    leftMouseDragged = 6,
    rightMouseDragged = 7,
    scrollWheel = 22,
    tapDisabledByTimeout = 0xFFFFFFFE,
    tapDisabledByUserInput = 0xFFFFFFFF,
};

struct InputEvent {
    InputEventType type = InputEventType::mouseMoved;
    HostTime time = {}; // when it happened
    Point globalLocation = {}; // where the pointer was then, global display points
    double scrollDeltaY
        = 0; // axis 1, lines; positive moves the content down, as a wheel turned away from the user
    double scrollDeltaX = 0; // axis 2, lines; positive moves the content right
};

// Listens to the pointer of the whole screen without taking anything from any application.
//
// Made, run and destroyed on one thread; stop() may be called from any.
class EventTap {
public:
    struct Handlers {
        // In order of time, on the thread that runs the tap.
        std::function<void(const InputEvent& event)> onEvent;
        // Every `timerPeriod`, first one period after run() began.
        std::function<void()> onTimer;
    };

    virtual ~EventTap() = default;

    // Delivers events until stop() was called, before or during this. Does not throw: a tap that can no
    // longer listen is disabled, and its timer goes on.
    virtual void run(std::chrono::nanoseconds timerPeriod, const Handlers& handlers) = 0;

    // Returns at once: it waits neither for run() to return nor for a handler.
    virtual void stop() = 0;

    virtual bool isEnabled() const = 0;

    // Listens (again), if it can. On the thread that runs the tap.
    virtual void enable() = 0;
};

class EventTapFactory {
public:
    virtual ~EventTapFactory() = default;

    // A listen-only tap for the events whose types are bits of `eventMask`, not listening yet. Null when
    // the system does not permit one.
    virtual std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t eventMask) = 0;
};

} // namespace glimto
