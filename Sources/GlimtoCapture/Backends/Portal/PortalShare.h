#pragma once

#include <cstdint>
#include <memory>

#include "Backends/Portal/PipeWireScreen.h"
#include "Backends/Portal/ScreenCastSession.h"
#include "Backends/Portal/SessionBus.h"
#include "Backends/Streams/WakeUp.h"
#include "Support/HostClock.h"

namespace glimto {

// What the user shares with us, for as long as this lives: the session on the bus and its stream. One thread
// at a time.
class PortalShare {
public:
    // Asks the user, and returns when the stream has begun: with its first picture, or without one where the
    // screen sends none. `opening` ends that from another thread; `consumers` is woken when pictures come
    // back. Throws what ScreenCastSession and PipeWireScreen throw.
    PortalShare(std::shared_ptr<WakeUp> opening, std::shared_ptr<WakeUp> consumers);

    ScreenCastSession::Grant open(const ScreenCastSession::Wish& wish) { return session_.open(wish); }
    void beginStream(const ScreenCastSession::Grant& grant, std::uint32_t mostFramesPerSecond);

    // Handles what has come from both. The thread holds a Turn of the screen. Throws PlatformError when the
    // source is gone.
    void handleEvents();

    // Waits until something comes, `wakeUp` is woken, or `deadline`.
    void wait(WakeUp& wakeUp, HostTime deadline);

    PipeWireScreen& screen() { return *screen_; }

private:
    void waitForStream();

    std::shared_ptr<WakeUp> opening_;
    std::shared_ptr<WakeUp> consumers_;
    SessionBus bus_;
    ScreenCastSession session_;
    std::unique_ptr<PipeWireScreen> screen_;
};

} // namespace glimto
