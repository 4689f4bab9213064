#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "Backends/InputDevices/PointerDevices.h"
#include "Backends/InputDevices/PointerPlacing.h"
#include "Backends/Streams/WakeUp.h"
#include "Platform/EventTap.h"
#include "Platform/Geometry.h"
#include "Support/Guarded.h"
#include "Support/HostClock.h"

namespace glimto {

// Where the pointer moves, as the capture that runs is told beside its pictures. Owned by the window system,
// the capture and the taps; any thread.
class PortalPointer {
public:
    // Whether a capture is told of the pointer.
    void setIsTold(bool isTold)
    {
        state_.with([&](State& state) { state.isTold = isTold; });
    }
    bool isTold() const
    {
        return state_.with([](const State& state) { return state.isTold; });
    }

    // Of the capture's thread: the pointer was there, in global display points. A place that is as before is
    // no move.
    void moved(Point location, HostTime time);

private:
    friend class PortalEventTap;

    struct State {
        bool isTold = false;
        std::shared_ptr<WakeUp> listener; // null while nobody listens
        bool mustStop = false;
        std::optional<Point> last;
        HostTime lastTime = {}; // no event is older
        std::deque<InputEvent> moves; // that nobody has taken yet
    };
    Guarded<State> state_;
};

// Moves, and clicks and scrolls of the devices that the user may read, which happen where the pointer is. One
// at a time hears them.
class PortalEventTap final : public EventTap {
public:
    // Throws PlatformError (POSIX).
    PortalEventTap(std::shared_ptr<PortalPointer> pointer, PointerDevices devices);
    ~PortalEventTap() override;

    void run(std::chrono::nanoseconds timerPeriod, const Handlers& handlers) override;
    void stop() override;
    bool isEnabled() const override { return true; }
    void enable() override { }

private:
    bool takeEvents();
    void waitForMore(HostTime deadline);

    std::shared_ptr<PortalPointer> pointer_;
    std::shared_ptr<WakeUp> wakeUp_ = std::make_shared<WakeUp>(); // also of whoever tells of the pointer
    PointerDevices devices_;
    PointerPlacing placing_;
};

// Null for a tap where the capture that runs is not told of the pointer.
class PortalEventTapFactory final : public EventTapFactory {
public:
    explicit PortalEventTapFactory(std::shared_ptr<PortalPointer> pointer);

    std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t eventMask) override;

    // Whether the tap that was made last hears clicks and scrolls. Any thread.
    bool hearsClicks() const { return hearsClicks_; }

private:
    std::shared_ptr<PortalPointer> pointer_;
    std::atomic<bool> hearsClicks_ = false;
};

} // namespace glimto
