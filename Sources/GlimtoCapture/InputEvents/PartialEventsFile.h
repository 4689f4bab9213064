#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string_view>

#include "InputEvents/InputEventTrack.h"
#include "Support/FileDescriptor.h"
#include "Support/SerialQueue.h"

namespace glimto {

// The events of a recording that runs, in a hidden file beside events.json, so that they need not stay in
// memory and a process that is killed leaves all but the last second of them: one line of what events.json
// begins with, without "cursorHidden", and one line an event.
//
// A file that cannot be written keeps the whole lines that it has and is not tried again; nobody hears of
// that. Safe to use from any thread; who comes second waits for the disk.
class PartialEventsFile {
public:
    explicit PartialEventsFile(std::filesystem::path path);

    // Where it lies for an events.json.
    static std::filesystem::path pathFor(const std::filesystem::path& eventsURL);

    // Moves the track's events that have come since the last call here. The file appears with the first one,
    // unless another lies there: that is what an earlier recording which was killed has left.
    void append(InputEventTrack& track);

    // Hands out the events, as JSON with commas between them, in pieces. False when there are none. Throws
    // PlatformError when they cannot be read.
    bool readEvents(const std::function<void(std::string_view piece)>& write);

    // Removes the file if this object has made it.
    void remove();

private:
    struct State {
        FileDescriptor descriptor;
        std::size_t headingBytes = 0;
        std::size_t wholeBytes = 0; // up to the end of the last line that was written whole
        bool isOurs = false; // on the disk
        bool isGivenUp = false;
    };

    bool open(const EventsDocument& heading, State& state) const;
    void removeFile(State& state) const;
    static void cutToWholeLines(State& state);

    const std::filesystem::path path_;
    State state_; // of whose turn it is; no lock is held while the disk is waited for
    SerialQueue turns_{"glimto.capture.events-file", SerialQueue::Thread::none};
};

} // namespace glimto
