#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "Artifacts/RecordingMetadataJSON.h"
#include "Options/RecordOptions.h"
#include "Platform/PlatformServices.h"
#include "Progress/RecordingFigures.h"
#include "Recording/CaptureStart.h"
#include "Recording/RecordingClock.h"
#include "Recording/RecordingProgress.h"
#include "Recording/RecordingStopSequence.h"
#include "Recording/RecordingTake.h"
#include "Support/LineOutput.h"

namespace glimto {

// Records the screen from start to end: resolves the source, captures it into a take's directory until
// the recording is to stop, and completes the take.
//
// Everything it says goes line by line to standard output; warnings go to standard error.
class ScreenSegmentRecorder {
public:
    // The services and outputs outlive the process's last command, because a stage that hangs is let go
    // of with them.
    ScreenSegmentRecorder(PlatformServices& services, Outputs outputs);

    // With another clock, which outlives this object, and other limits.
    ScreenSegmentRecorder(PlatformServices& services, Outputs outputs, RecordingClock& clock,
        const RecordingStopLimits& limits, const CaptureStartLimits& startLimits = {});

    // What the recording counts goes into `figures`, from the thread that calls record() and others.
    void countInto(std::shared_ptr<RecordingFigures> figures) { figures_ = std::move(figures); }

    // Returns when the take is complete. On a failure of any kind, nothing is captured any more,
    // finished segments stay on the disk, and the failure is thrown as it is. Files of an earlier take that
    // may be replaced are removed at the last moment before the capture starts. `captureStarted` is called
    // once the screen is being recorded into a directory that holds nothing of an earlier take; what it
    // throws is such a failure.
    RecordingMetadataJSON record(
        const RecordOptions& options, const std::function<void()>& captureStarted = nullptr);

private:
    void requirePermission(std::string_view nextStage, RecordingProgress& progress);
    void prepare(const RecordOptions& options, RecordingTake& take, RecordingProgress& progress,
        CaptureStart& captureStart);
    void prepareAudioSources(const RecordOptions& options, RecordingTake& take, CaptureStart& captureStart);
    void openCapture(const RecordOptions& options, const CaptureRequest& request, RecordingTake& take,
        CaptureStart& captureStart);
    void makeWriter(const RecordOptions& options, RecordingTake& take);
    void start(const RecordOptions& options, RecordingTake& take, RecordingProgress& progress,
        CaptureStart& captureStart);
    void startSound(RecordingTake& take, CaptureStart& captureStart);
    void startEventTrack(InputEventRecorder& recorder);
    void warn(const std::string& message);
    void waitForEnd(const RecordOptions& options, const RecordingTake& take, RecordingProgress& progress);

    PlatformServices& services_;
    Outputs outputs_;
    SystemRecordingClock systemClock_;
    RecordingClock& clock_;
    RecordingStopLimits limits_;
    CaptureStartLimits startLimits_;
    std::shared_ptr<RecordingFigures> figures_ = std::make_shared<RecordingFigures>();
};

} // namespace glimto
