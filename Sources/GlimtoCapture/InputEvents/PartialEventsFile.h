#pragma once

#include <filesystem>
#include <string_view>

#include "InputEvents/InputEventTrack.h"
#include "Support/FileDescriptor.h"

namespace glimto {

// The events of a recording that runs, in a hidden file beside events.json, so that a process that is
// killed leaves all but the last second of them: one line of what events.json begins with, without
// "cursorHidden", and one line an event.
//
// A file that cannot be written is removed and not tried again; nobody hears of that.
class PartialEventsFile {
public:
    explicit PartialEventsFile(std::filesystem::path path);

    // Where it lies for an events.json.
    static std::filesystem::path pathFor(const std::filesystem::path& eventsURL);

    // Writes the track's events that have come since the last call. The file appears with the first one.
    void append(InputEventTrack& track);

private:
    void write(std::string_view text);
    void giveUp();

    const std::filesystem::path path_;
    FileDescriptor descriptor_;
    bool isGivenUp_ = false;
};

} // namespace glimto
