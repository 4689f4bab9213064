#include "InputEvents/InputEventTrack.h"

#include <algorithm>

namespace glimto {

namespace {

struct EventClass {
    InputEventKind kind;
    std::optional<std::uint8_t> button;
};

std::optional<EventClass> eventClass(InputEventType type)
{
    switch (type) {
    case InputEventType::leftMouseDown:
        return EventClass{InputEventKind::down, 0};
    case InputEventType::leftMouseUp:
        return EventClass{InputEventKind::up, 0};
    case InputEventType::rightMouseDown:
        return EventClass{InputEventKind::down, 1};
    case InputEventType::rightMouseUp:
        return EventClass{InputEventKind::up, 1};
    case InputEventType::mouseMoved:
    case InputEventType::leftMouseDragged:
    case InputEventType::rightMouseDragged:
        return EventClass{InputEventKind::move, std::nullopt};
    case InputEventType::scrollWheel:
        return EventClass{InputEventKind::scroll, std::nullopt};
    case InputEventType::tapDisabledByTimeout:
    case InputEventType::tapDisabledByUserInput:
        break;
    }
    return std::nullopt;
}

// Where `position` lies between `start`, which is 0, and `start` + `length`, which is 1.
double normalized(double position, double start, double length)
{
    const double value = (position - start) / length;
    if (!(value > 0)) // also what is no number
        return 0;
    return value < 1 ? value : 1;
}

// `later` must not be before `earlier`. Exact wherever the two lie.
double millisecondsBetween(std::int64_t earlier, std::int64_t later)
{
    return static_cast<double>(static_cast<std::uint64_t>(later) - static_cast<std::uint64_t>(earlier)) / 1e6;
}

} // namespace

InputEventTrack::InputEventTrack(const CaptureGeometry& geometry)
    : geometry_(geometry)
{
}

void InputEventTrack::record(const InputEvent& event, State& state) const
{
    const std::int64_t anchor = state.anchor->firstVideoSampleHostTimeNs;
    const std::int64_t time = event.time.time_since_epoch().count();
    const auto found = eventClass(event.type);
    if (!found || time < anchor)
        return;
    const Rect& frame = geometry_.globalFrame;
    const Point place = event.globalLocation;
    const bool scrolls = found->kind == InputEventKind::scroll;
    state.recorded.push_back({.t = millisecondsBetween(anchor, time),
        .x = frame.isEmpty() ? 0 : normalized(place.x, frame.minX(), frame.width),
        .y = frame.isEmpty() ? 0 : normalized(place.y, frame.minY(), frame.height),
        .dx = scrolls ? event.scrollDeltaX : 0,
        .dy = scrolls ? event.scrollDeltaY : 0,
        .k = found->kind,
        .button = found->button});
}

void InputEventTrack::append(const InputEvent& event)
{
    if (!eventClass(event.type))
        return;
    state_.with([&](State& state) {
        if (state.finished)
            return;
        if (state.recorded.size() + state.pending.size() >= mostEvents)
            ++state.droppedCount;
        else if (state.anchor)
            record(event, state);
        else
            state.pending.push_back(event);
    });
}

void InputEventTrack::setClockAnchor(const EventsClock& anchor)
{
    state_.with([&](State& state) {
        if (state.anchor)
            return;
        state.anchor = anchor;
        // One by one, so that a long recording is not in memory twice.
        for (; !state.pending.empty(); state.pending.pop_front())
            record(state.pending.front(), state);
    });
}

std::optional<EventsDocument> InputEventTrack::heading()
{
    const auto anchor = state_.with([](const State& state) { return state.anchor; });
    if (!anchor)
        return std::nullopt;
    EventsDocument document = emptyDocument();
    document.clock = *anchor;
    return document;
}

std::vector<RecordedEvent> InputEventTrack::nextEvents(std::size_t most)
{
    return state_.with([most](State& state) {
        const auto begin = state.recorded.begin() + static_cast<std::ptrdiff_t>(state.givenCount);
        const std::size_t count = std::min(most, state.recorded.size() - state.givenCount);
        state.givenCount += count;
        return std::vector<RecordedEvent>(begin, begin + static_cast<std::ptrdiff_t>(count));
    });
}

void InputEventTrack::forgetGivenEvents()
{
    state_.with([](State& state) {
        state.recorded.erase(
            state.recorded.begin(), state.recorded.begin() + static_cast<std::ptrdiff_t>(state.givenCount));
        state.givenCount = 0;
    });
}

std::size_t InputEventTrack::droppedCount() const
{
    return state_.with([](const State& state) { return state.droppedCount; });
}

EventsDocument InputEventTrack::emptyDocument() const
{
    EventsDocument document;
    document.display = {.capturePixelWidth = geometry_.capturePixelWidth,
        .capturePixelHeight = geometry_.capturePixelHeight,
        .pointScale = geometry_.pointScale};
    return document;
}

EventsDocument InputEventTrack::finish(CursorInVideo cursor)
{
    EventsDocument document = emptyDocument();
    document.cursorHidden = cursor == CursorInVideo::hidden;
    state_.with([&](State& state) {
        document.clock = state.anchor.value_or(EventsClock());
        document.events.swap(state.recorded);
        state.pending.clear();
        state.givenCount = 0;
        state.finished = true;
    });
    return document;
}

} // namespace glimto
