#include "Backends/Portal/PortalPointer.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <poll.h>

namespace glimto {

namespace {

// A tap that does not take them loses the oldest.
constexpr std::size_t mostWaitingMoves = 10'000;

// The pointer is told with the next picture, a little after it moved; devices tell at once.
constexpr std::chrono::milliseconds settlingTime(150);

} // namespace

void PortalPointer::moved(Point location, HostTime time)
{
    const auto listener = state_.with([&](State& state) -> std::shared_ptr<WakeUp> {
        if (state.last == location)
            return nullptr;
        state.last = location;
        state.lastTime = std::max(time, state.lastTime);
        if (!state.listener)
            return nullptr;
        if (state.moves.size() >= mostWaitingMoves)
            state.moves.pop_front();
        state.moves.push_back(
            {.type = InputEventType::mouseMoved, .time = state.lastTime, .globalLocation = location});
        return state.listener;
    });
    if (listener)
        listener->wake();
}

PortalEventTap::PortalEventTap(std::shared_ptr<PortalPointer> pointer, PointerDevices devices)
    : pointer_(std::move(pointer))
    , devices_(std::move(devices))
{
    // Where the pointer already is, is the first that is known of it.
    pointer_->state_.with([&](PortalPointer::State& state) {
        state.listener = wakeUp_;
        state.mustStop = false;
        state.lastTime = std::max(HostClock::now(), state.lastTime);
        if (state.last)
            state.moves = {
                {.type = InputEventType::mouseMoved, .time = state.lastTime, .globalLocation = *state.last}};
    });
}

PortalEventTap::~PortalEventTap()
{
    pointer_->state_.with([](PortalPointer::State& state) {
        state.listener.reset();
        state.moves.clear();
    });
}

void PortalEventTap::run(std::chrono::nanoseconds timerPeriod, const Handlers& handlers)
{
    auto timerDue = HostClock::now() + timerPeriod;
    for (;;) {
        const bool mustStop = takeEvents();
        const bool mayPlaceAll = mustStop || devices_.isEmpty();
        for (const InputEvent& event :
            placing_.take(mayPlaceAll ? HostTime::max() : HostClock::now() - settlingTime))
            handlers.onEvent(event);
        if (mustStop)
            return;
        const auto now = HostClock::now();
        if (now >= timerDue) {
            timerDue = now + timerPeriod;
            devices_.look();
            handlers.onTimer();
        }
        const auto oldest = placing_.oldest();
        waitForMore(oldest ? std::min(timerDue, *oldest + settlingTime) : timerDue);
    }
}

// Whether the tap was stopped before.
bool PortalEventTap::takeEvents()
{
    wakeUp_->clear();
    std::deque<InputEvent> moves;
    const bool mustStop = pointer_->state_.with([&](PortalPointer::State& state) {
        moves.swap(state.moves);
        return state.mustStop;
    });
    for (const InputEvent& move : moves)
        placing_.add(move);
    for (const InputEvent& event : devices_.take())
        placing_.add(event);
    return mustStop;
}

void PortalEventTap::waitForMore(HostTime deadline)
{
    std::vector<pollfd> entries = {{.fd = wakeUp_->fileDescriptor(), .events = POLLIN, .revents = 0}};
    devices_.addTo(entries);
    waitFor(entries, deadline);
}

void PortalEventTap::stop()
{
    pointer_->state_.with([](PortalPointer::State& state) { state.mustStop = true; });
    wakeUp_->wake();
}

PortalEventTapFactory::PortalEventTapFactory(std::shared_ptr<PortalPointer> pointer)
    : pointer_(std::move(pointer))
{
}

std::unique_ptr<EventTap> PortalEventTapFactory::makeListenOnlyTap(std::uint64_t eventMask)
{
    constexpr auto moves = std::uint64_t{1} << static_cast<unsigned>(InputEventType::mouseMoved);
    hearsClicks_ = false;
    if (!pointer_->isTold() || (eventMask & moves) == 0)
        return nullptr;
    PointerDevices devices;
    hearsClicks_ = !devices.isEmpty();
    return std::make_unique<PortalEventTap>(pointer_, std::move(devices));
}

} // namespace glimto
