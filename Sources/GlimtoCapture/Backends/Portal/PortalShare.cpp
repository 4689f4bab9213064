#include "Backends/Portal/PortalShare.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

#include "Backends/Portal/PortalErrors.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds formatLimit(15);
constexpr std::chrono::seconds firstPictureLimit(3);
constexpr std::chrono::seconds askAgainAfter(1);
constexpr std::chrono::milliseconds longestWait(100);
constexpr std::chrono::milliseconds sessionEndLimit(300);

} // namespace

PortalShare::PortalShare(std::shared_ptr<WakeUp> opening, std::shared_ptr<WakeUp> consumers)
    : opening_(std::move(opening))
    , consumers_(std::move(consumers))
    , bus_(*opening_)
    , session_(bus_)
{
}

void PortalShare::beginStream(const ScreenCastSession::Grant& grant, std::uint32_t mostFramesPerSecond)
{
    screen_ = openPipeWireScreen(session_.openPipeWireRemote(), grant.stream.nodeID, mostFramesPerSecond,
        grant.cursorMode == PortalCursorMode::metadata ? PipeWireParameters::PointerPlace::wanted
                                                       : PipeWireParameters::PointerPlace::notWanted,
        consumers_);
    waitForStream();
}

void PortalShare::waitForStream()
{
    const PipeWireScreen::Turn turn(*screen_);
    const auto began = HostClock::now();
    HostTime agreed;
    HostTime asked;
    for (;;) {
        handleEvents();
        const auto now = HostClock::now();
        if (opening_->hasEnded())
            throw portalError(PortalFailure::givenUp, "The capture is no longer wanted.");
        if (screen_->arrived())
            return;
        if (screen_->format()) {
            if (agreed == HostTime())
                agreed = asked = now;
            if (now - agreed >= firstPictureLimit)
                return;
            if (now - asked >= askAgainAfter) {
                screen_->askForPicture();
                asked = now;
            }
        } else if (now - began >= formatLimit) {
            throw portalError(PortalFailure::noAnswer, "The stream of the screen did not begin in time.");
        }
        wait(*opening_, now + longestWait);
    }
}

void PortalShare::handleEvents()
{
    bus_.handleEvents();
    session_.check();
    try {
        screen_->handleEvents();
    } catch (const PlatformError&) {
        // Where the user ended the session, the stream goes with it, and its end may be here first.
        session_.waitForClosing(sessionEndLimit);
        session_.check();
        throw;
    }
}

void PortalShare::wait(WakeUp& wakeUp, HostTime deadline)
{
    std::array<pollfd, 3> entries = {{
        {.fd = screen_->fileDescriptor(), .events = POLLIN, .revents = 0},
        {.fd = bus_.fileDescriptor(), .events = POLLIN, .revents = 0},
        {.fd = wakeUp.fileDescriptor(), .events = POLLIN, .revents = 0},
    }};
    if (!waitFor(entries, deadline))
        throw PlatformError::posix("Could not wait for the stream of the screen", errno);
    wakeUp.clear();
}

} // namespace glimto
