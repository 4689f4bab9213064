#include "Recording/RecordingProgress.h"

#include <cmath>
#include <utility>

#include "Support/Text.h"

namespace glimto {

RecordingProgress::RecordingProgress(LineOutput& standardOutput, std::optional<std::string> recordingId)
    : standardOutput_(standardOutput)
    , emitter_(standardOutput)
    , recordingId_(std::move(recordingId))
{
}

void RecordingProgress::line(std::string_view text)
{
    standardOutput_.writeLine(singleLine(text));
}

void RecordingProgress::captureStarting(std::string_view stage, const ScreenCaptureAccess& access)
{
    auto starting = event("capture_starting");
    starting.stage = std::string(stage);
    starting.permission = ScreenCapturePermissionJSON::fromPreflight(access);
    emitter_.emit(std::move(starting));
}

void RecordingProgress::recording()
{
    emitState("recording");
    emitter_.emitStatus("recording");
}

void RecordingProgress::stopSeen(std::string_view text)
{
    line(text);
    emitter_.emit(event("stop_seen"));
}

void RecordingProgress::maximumDurationReached(Seconds limit)
{
    line("Maximum recording duration reached; finishing recording");
    auto reached = event("max_duration_reached");
    reached.limitSeconds = std::llround(limit.count());
    emitter_.emit(std::move(reached));
}

void RecordingProgress::emitStoppingCaptureIfNeeded()
{
    if (std::exchange(didAnnounceStopping_, true))
        return;
    emitter_.emit(event("stopping_capture"));
}

void RecordingProgress::stopped()
{
    emitter_.emitStatus("stopped");
}

void RecordingProgress::finalizing()
{
    emitState("finalizing");
}

void RecordingProgress::completed()
{
    emitState("completed");
}

GlimtoCaptureLifecycleEvent RecordingProgress::event(std::string kind) const
{
    GlimtoCaptureLifecycleEvent result;
    result.kind = std::move(kind);
    result.recordingId = recordingId_;
    return result;
}

void RecordingProgress::emitState(const std::string& state)
{
    auto reached = event(state);
    reached.state = state;
    emitter_.emit(std::move(reached));
}

} // namespace glimto
