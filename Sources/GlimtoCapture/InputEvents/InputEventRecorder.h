#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>

#include "Content/CaptureGeometry.h"
#include "InputEvents/InputEventTapThread.h"
#include "InputEvents/InputEventTrack.h"
#include "InputEvents/PartialEventsFile.h"
#include "Platform/EventTap.h"
#include "Platform/MediaTime.h"
#include "Support/LineOutput.h"

namespace glimto {

// How long a tap may take to be installed, and to end.
struct InputEventTapLimits {
    std::chrono::nanoseconds start = std::chrono::seconds(2);
    std::chrono::nanoseconds stop = std::chrono::seconds(2);
};

// Records what the pointer does while the screen is captured, and writes it as events.json: clicks, moves
// and scrolls by the time of the first video frame and by their place in the picture.
//
// Only listens. Nothing of this ever fails a recording: what goes wrong is a warning on standard error,
// and at worst the track is empty. While the recording runs, the events that have their place on its
// timeline are also kept in a PartialEventsFile, which goes when events.json is there.
class InputEventRecorder {
public:
    using Limits = InputEventTapLimits;

    // `geometry` is where the source lies when the recording begins; places are told against that, also
    // when a window moves later. Every `flushInterval` the tap is looked after. The factory and
    // `standardError` outlive the process's last command.
    InputEventRecorder(std::filesystem::path outputURL, const CaptureGeometry& geometry,
        std::chrono::nanoseconds flushInterval, EventTapFactory& factory, LineOutput& standardError,
        const Limits& limits = {});

    // Ends the tap; writes nothing, and removes the partial file unless events.json could not be written.
    ~InputEventRecorder();

    // Waits until the tap is installed or refused, for `limits.start` at most.
    void start();

    // When the first video frame was, on the host clock; only the first call counts. Events from before it
    // are dropped.
    void setClockAnchor(MediaTime firstVideoSample);

    // Ends the tap and writes the document. Without an anchor its list of events is empty. Does nothing
    // the second time.
    void stop(CursorInVideo cursor);

private:
    void write(CursorInVideo cursor);

    const std::filesystem::path outputURL_;
    LineOutput& standardError_;
    const Limits limits_;
    std::atomic<bool> stopped_ = false;
    std::shared_ptr<InputEventTrack> track_; // this object's and the tap thread's
    std::shared_ptr<PartialEventsFile> partialFile_; // likewise
    InputEventTapThread tapThread_;
};

} // namespace glimto
