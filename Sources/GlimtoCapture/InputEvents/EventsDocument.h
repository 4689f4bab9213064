#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

namespace glimto {

enum class InputEventKind : std::uint8_t { down, up, move, scroll };

// In the order of the enumerators.
inline constexpr std::array<std::string_view, 4> inputEventKindNames = {"down", "up", "move", "scroll"};

// One event on the recording's timeline. There may be millions: no strings in here.
struct RecordedEvent {
    double t = 0; // milliseconds since the first video frame, at least 0
    double x = 0; // within the captured picture: 0 is its left edge, 1 its right one
    double y = 0; // 0 is the top, 1 the bottom
    double dx = 0; // scroll deltas; written for `scroll` only
    double dy = 0;
    InputEventKind k = InputEventKind::move;
    std::optional<std::uint8_t> button = std::nullopt; // 0 left, 1 right; for `down` and `up`

    friend bool operator==(const RecordedEvent&, const RecordedEvent&) = default;
};

// The first video frame's presentation time, and the same moment on the host clock. All zero when there
// was no frame.
struct EventsClock {
    std::int64_t firstVideoSamplePtsValue = 0;
    std::int32_t firstVideoSamplePtsTimescale = 0;
    std::int64_t firstVideoSampleHostTimeNs = 0;

    friend bool operator==(const EventsClock&, const EventsClock&) = default;
};

struct EventsDisplay {
    int capturePixelWidth = 0;
    int capturePixelHeight = 0;
    double pointScale = 1; // pixels a point
};

enum class CursorInVideo { shown, hidden };

// What events.json holds.
struct EventsDocument {
    static constexpr int version = 1;

    EventsClock clock;
    EventsDisplay display;
    bool cursorHidden = false; // left out of the video
    std::deque<RecordedEvent> events; // in the order in which they arrived
};

// The document as one line of JSON without spaces, keys in the order of the fields, numbers in the
// shortest form that reads back as the same number. `write` gets it in pieces of about 64 KiB, so that a
// long recording's text never stands in memory whole; what it throws passes on.
//
//     {"version":1,"clock":{...},"display":{...},"cursorHidden":true,"events":[
//      {"t":500.0,"k":"down","x":0.25,"y":0.5,"button":0}]}
//
// `writeEarlierEvents`, if any, writes events that come before those of the document, with commas between
// them, and returns whether there were any.
void encodeEventsDocument(const EventsDocument& document,
    const std::function<void(std::string_view piece)>& write,
    const std::function<bool()>& writeEarlierEvents = nullptr);

// The same in lines, so that it can grow while the recording runs: first what the document begins with,
// but for `cursorHidden`, then one event a line.
void encodeEventsHeading(
    const EventsDocument& document, const std::function<void(std::string_view piece)>& write);
void encodeEventLines(
    std::span<const RecordedEvent> events, const std::function<void(std::string_view piece)>& write);

} // namespace glimto
