#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Lifecycle/GlimtoCaptureEventEmitter.h"
#include "Platform/MediaTime.h"
#include "Support/LineOutput.h"

namespace glimto {

// Tells the user and the driving program on standard output how far one recording is: sentences,
// lifecycle events and status lines. Used from the session's thread.
class RecordingProgress {
public:
    // `standardOutput` outlives this object.
    RecordingProgress(LineOutput& standardOutput, std::optional<std::string> recordingId);

    // One line, whatever `text` holds: every control character but a tab becomes a space.
    void line(std::string_view text);

    // Event "capture_starting": `stage` says what comes next.
    void captureStarting(std::string_view stage, const ScreenCaptureAccess& access);

    // Event and status line "recording".
    void recording();

    // `line` and the event "stop_seen".
    void stopSeen(std::string_view line);

    // A line of its own and the event "max_duration_reached" with the limit in whole seconds.
    void maximumDurationReached(Seconds limit);

    // Event "stopping_capture", only the first time.
    void emitStoppingCaptureIfNeeded();

    // Status line "stopped".
    void stopped();

    // Events "finalizing" and "completed".
    void finalizing();
    void completed();

private:
    GlimtoCaptureLifecycleEvent event(std::string kind) const;
    void emitState(const std::string& state);

    LineOutput& standardOutput_;
    GlimtoCaptureEventEmitter emitter_;
    std::optional<std::string> recordingId_;
    bool didAnnounceStopping_ = false;
};

} // namespace glimto
