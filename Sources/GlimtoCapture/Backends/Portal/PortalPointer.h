#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "Platform/EventTap.h"
#include "Platform/Geometry.h"
#include "Support/Guarded.h"

namespace glimto {

// Where the pointer moves, as the capture that runs is told beside its pictures. Clicks and scrolls are told
// to nobody. Owned by the window system, the capture and the taps; any thread.
class PortalPointer {
public:
    // Whether a capture is told of the pointer.
    void setIsTold(bool isTold) { state_.with([&](State& state) { state.isTold = isTold; }); }
    bool isTold() const { return state_.with([](const State& state) { return state.isTold; }); }

    // Of the capture's thread: the pointer was there, in global display points. A place that is as before is
    // no move.
    void moved(Point location, std::int64_t hostNs);

private:
    friend class PortalEventTap;

    struct State {
        bool isTold = false;
        bool isListenedTo = false;
        bool mustStop = false;
        std::optional<Point> last;
        std::int64_t lastNs = 0; // no event is older
        std::deque<InputEvent> moves; // that nobody has taken yet
    };
    Guarded<State> state_;
};

// Moves only. One at a time hears them.
class PortalEventTap final : public EventTap {
public:
    explicit PortalEventTap(std::shared_ptr<PortalPointer> pointer);
    ~PortalEventTap() override;

    void run(std::chrono::nanoseconds timerPeriod, const Handlers& handlers) override;
    void stop() override;
    bool isEnabled() const override { return true; }
    void enable() override { }

private:
    std::shared_ptr<PortalPointer> pointer_;
};

// Null for a tap where the capture that runs is not told of the pointer.
class PortalEventTapFactory final : public EventTapFactory {
public:
    explicit PortalEventTapFactory(std::shared_ptr<PortalPointer> pointer);

    std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t eventMask) override;

private:
    std::shared_ptr<PortalPointer> pointer_;
};

} // namespace glimto
