#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Backends/Streams/WakeUp.h"
#include "Backends/X11/Pointer/X11PointerListener.h"
#include "Backends/X11/Pointer/X11PointerPacer.h"
#include "Platform/EventTap.h"

namespace glimto {

// The tap over the pointers of the X server that DISPLAY names.
//
// A tap whose server has gone is disabled; enable() then connects anew, at most once a second.
class X11EventTap final : public EventTap {
public:
    X11EventTap(std::unique_ptr<X11PointerListener> listener, std::uint64_t eventMask);

    void run(std::chrono::nanoseconds timerPeriod, const Handlers& handlers) override;
    void stop() override { wakeUp_.end(); }
    bool isEnabled() const override { return isEnabled_; }
    void enable() override;

private:
    struct Wait {
        std::int64_t until = 0;
        bool wakesOnEvents = true;
    };

    std::optional<Wait> listenFor(std::int64_t now);
    void disable();
    void finish();
    void deliver(const Handlers& handlers);
    void waitUntil(std::int64_t deadline, bool forServer);
    void waitForServer(std::int64_t deadline);

    std::unique_ptr<X11PointerListener> listener_; // null once its server has gone
    X11PointerPacer pacer_;
    std::uint64_t eventMask_;
    WakeUp wakeUp_; // ends run()
    bool isEnabled_ = false;
    std::int64_t nextAttempt_ = 0;
    std::vector<InputEvent> settled_;
};

class X11EventTapFactory final : public EventTapFactory {
public:
    // Null when there is no display, or its server has no X Input extension of version 2.1 or later.
    std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t eventMask) override;
};

} // namespace glimto
