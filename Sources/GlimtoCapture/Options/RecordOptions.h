#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "Options/CaptureRegion.h"
#include "Options/RecordingUploadOptions.h"

namespace glimto {

struct RecordOptions {
    std::int64_t displayIndex = 0;
    double durationSeconds = 5.0;
    bool recordUntilStopped = false;
    std::optional<double> maxDurationSeconds;
    std::filesystem::path outputDirectory;
    int framesPerSecond = 30; // 1 to 120
    double segmentSeconds = 4.0;
    bool includeCursor = true;
    bool recordEvents = false;
    bool captureSystemAudio = false;
    std::optional<std::string> microphoneDeviceID;
    bool overwrite = false;
    std::optional<std::filesystem::path> stopFileURL;
    std::optional<RecordingUploadOptions> upload;
    std::optional<CaptureRegion> captureRegion;
    std::optional<std::uint32_t> captureWindowId;
    std::optional<std::uint32_t> exceptWindowId;
    bool stdoutJSON = false;
    bool revealOutput = false;

    bool includesAudio() const { return captureSystemAudio || microphoneDeviceID.has_value(); }

    // "capture-" and the local time: "capture-20240131-154502".
    static std::string timestampedDirectoryName();
};

} // namespace glimto
