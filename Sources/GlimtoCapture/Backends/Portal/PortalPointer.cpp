#include "Backends/Portal/PortalPointer.h"

#include <algorithm>
#include <utility>

#include "Support/TimeStamps.h"

namespace glimto {

namespace {

// A tap that does not take them loses the oldest.
constexpr std::size_t mostWaitingMoves = 10'000;

} // namespace

void PortalPointer::moved(Point location, std::int64_t hostNs)
{
    state_.change([&](State& state) {
        if (state.last == location)
            return;
        state.last = location;
        state.lastNs = std::max(hostNs, state.lastNs);
        if (!state.isListenedTo)
            return;
        if (state.moves.size() >= mostWaitingMoves)
            state.moves.pop_front();
        state.moves.push_back(
            {.type = InputEventType::mouseMoved, .hostNs = state.lastNs, .globalLocation = location});
    });
}

PortalEventTap::PortalEventTap(std::shared_ptr<PortalPointer> pointer)
    : pointer_(std::move(pointer))
{
    // Where the pointer already is, is the first that is known of it.
    pointer_->state_.with([](PortalPointer::State& state) {
        state.isListenedTo = true;
        state.mustStop = false;
        state.lastNs = std::max(hostTimeNanoseconds(), state.lastNs);
        if (state.last)
            state.moves = {
                {.type = InputEventType::mouseMoved, .hostNs = state.lastNs, .globalLocation = *state.last}};
    });
}

PortalEventTap::~PortalEventTap()
{
    pointer_->state_.with([](PortalPointer::State& state) {
        state.isListenedTo = false;
        state.moves.clear();
    });
}

void PortalEventTap::run(std::chrono::nanoseconds timerPeriod, const Handlers& handlers)
{
    std::int64_t timerDue = hostTimeNanoseconds() + timerPeriod.count();
    for (;;) {
        std::deque<InputEvent> moves;
        bool mustStop = false;
        const std::int64_t left = std::max<std::int64_t>(0, timerDue - hostTimeNanoseconds());
        pointer_->state_.waitFor(
            std::chrono::nanoseconds(left),
            [](const PortalPointer::State& state) { return state.mustStop || !state.moves.empty(); },
            [&](PortalPointer::State& state) {
                moves.swap(state.moves);
                mustStop = state.mustStop;
            });
        for (const InputEvent& move : moves)
            handlers.onEvent(move);
        if (mustStop)
            return;
        const std::int64_t now = hostTimeNanoseconds();
        if (now >= timerDue) {
            timerDue = now + timerPeriod.count();
            handlers.onTimer();
        }
    }
}

void PortalEventTap::stop()
{
    pointer_->state_.change([](PortalPointer::State& state) { state.mustStop = true; });
}

PortalEventTapFactory::PortalEventTapFactory(std::shared_ptr<PortalPointer> pointer)
    : pointer_(std::move(pointer))
{
}

std::unique_ptr<EventTap> PortalEventTapFactory::makeListenOnlyTap(std::uint64_t eventMask)
{
    constexpr auto moves = std::uint64_t{1} << static_cast<unsigned>(InputEventType::mouseMoved);
    if (!pointer_->isTold() || (eventMask & moves) == 0)
        return nullptr;
    return std::make_unique<PortalEventTap>(pointer_);
}

} // namespace glimto
