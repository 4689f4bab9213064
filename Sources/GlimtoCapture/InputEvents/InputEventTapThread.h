#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "Platform/EventTap.h"
#include "Support/LineOutput.h"
#include "Support/NamedThread.h"

namespace glimto {

// The thread "glimto.capture.input-events", on which an event tap lives: it makes the tap, keeps it
// enabled, says on standard error when the system switched it off, and hands its events on.
//
// start() and stop() are called from one thread.
class InputEventTapThread {
public:
    // Clicks and drags of the left and right button, moves and the scroll wheel: bits 1 to 7 and 22.
    static constexpr std::uint64_t eventMask = 0x4000FE;
    static constexpr std::size_t stackBytes = 0x80000;

    // `onEvent` runs on the tap's thread, must own what it touches, and gets clicks, moves and scrolls.
    // `onCheck` does so every `checkInterval`, once the tap was looked after. The factory and `standardError`
    // outlive the process's last command, because a tap that hangs is let go of with them.
    InputEventTapThread(EventTapFactory& factory, LineOutput& standardError,
        std::chrono::nanoseconds checkInterval, std::function<void(const InputEvent& event)> onEvent,
        std::function<void()> onCheck);

    // Stops.
    ~InputEventTapThread();

    // Returns once the tap is installed or was refused, after `limit` in any case. A tap that cannot be
    // installed costs a warning and nothing else.
    void start(std::chrono::nanoseconds limit);

    // Ends the tap and its thread. A thread that has not ended after `limit` is let go of. Does nothing
    // the second time.
    void stop(std::chrono::nanoseconds limit);

private:
    struct Core;
    std::shared_ptr<Core> core_; // this object's and the thread's
    std::unique_ptr<NamedThread> thread_;
};

} // namespace glimto
