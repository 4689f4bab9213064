#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "Content/CaptureGeometry.h"
#include "InputEvents/EventsDocument.h"
#include "Platform/EventTap.h"
#include "Support/Guarded.h"

namespace glimto {

// The events of one recording. They wait as they came until the first video frame's time is known, and
// are then placed on the recording's timeline and in its picture.
//
// Safe to use from any thread; the lock is held for a short time only, never while anything is written.
class InputEventTrack {
public:
    explicit InputEventTrack(const CaptureGeometry& geometry);

    // Takes a click, a move or a scroll; ignores every other type, events from before the anchor, and
    // everything after finish().
    void append(const InputEvent& event);

    // Sets when the first frame was; only the first call counts.
    void setClockAnchor(const EventsClock& anchor);

    // What the document begins with, without events; nothing before the anchor is known.
    std::optional<EventsDocument> heading();

    // The next events, at most `most`, that no call has given before.
    std::vector<RecordedEvent> nextEvents(std::size_t most);

    // The events that nextEvents() has given are kept elsewhere.
    void forgetGivenEvents();

    // Moves the events out that were not forgotten; nothing more is appended. Events that still wait for an
    // anchor are lost.
    EventsDocument finish(CursorInVideo cursor);

    // How many events were dropped because so many are held already: half an hour of a pointer that never
    // rests, for which nobody else had room.
    std::size_t droppedCount() const;

    static constexpr std::size_t mostEvents = 1 << 20; // about 56 MiB

private:
    // Deques grow without moving what they hold, and shrink while they are emptied.
    struct State {
        std::optional<EventsClock> anchor;
        std::deque<InputEvent> pending; // for the anchor
        std::deque<RecordedEvent> recorded;
        std::size_t givenCount = 0; // of recorded, by nextEvents()
        std::size_t droppedCount = 0;
        bool finished = false;
    };

    void record(const InputEvent& event, State& state) const;
    EventsDocument emptyDocument() const;

    const CaptureGeometry geometry_;
    Guarded<State> state_;
};

} // namespace glimto
