#include "Progress/StatusText.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace glimto {

namespace {

std::string twoDigits(std::int64_t number)
{
    return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string timeText(std::chrono::nanoseconds elapsed)
{
    const std::int64_t seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    const std::string rest = twoDigits(seconds % 60);
    if (seconds < 3600)
        return std::to_string(seconds / 60) + ":" + rest;
    return std::to_string(seconds / 3600) + ":" + twoDigits(seconds / 60 % 60) + ":" + rest;
}

std::string levelText(const char* name, const std::optional<double>& level)
{
    if (!level)
        return "";
    if (*level <= RecordingFigures::silentDecibels)
        return std::string("  ") + name + " silent";
    return std::string("  ") + name + " " + std::to_string(std::lround(*level)) + " dB";
}

std::string counted(std::int64_t count, const std::string& thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string recordingText(const RecordingSnapshot& snapshot)
{
    std::string text = timeText(snapshot.elapsed) + "  " + counted(snapshot.frames, "frame") + "  "
        + std::to_string(snapshot.dropped) + " dropped  " + bytesText(snapshot.bytes)
        + levelText("system", snapshot.systemLevel) + levelText("microphone", snapshot.microphoneLevel);
    if (snapshot.upload)
        text += "  " + counted(snapshot.upload->waitingObjects, "object") + " to upload";
    return text;
}

std::string uploadText(const RecordingSnapshot& snapshot)
{
    if (!snapshot.upload)
        return "UPLOAD";
    const auto& queue = *snapshot.upload;
    return "UPLOAD " + std::to_string(queue.sentObjects) + " of "
        + counted(queue.sentObjects + queue.waitingObjects, "object") + "  " + bytesText(queue.waitingBytes)
        + " left";
}

std::string wholeText(const RecordingSnapshot& snapshot)
{
    switch (snapshot.phase) {
    case RecordingPhase::recording:
        return "REC " + recordingText(snapshot);
    case RecordingPhase::stopping:
        return "END " + recordingText(snapshot);
    case RecordingPhase::uploading:
        return uploadText(snapshot);
    case RecordingPhase::starting:
    case RecordingPhase::ended:
        break;
    }
    return "";
}

} // namespace

std::string bytesText(std::int64_t bytes)
{
    if (bytes < 1'000'000)
        return std::to_string((bytes + 500) / 1000) + " kB";
    const bool isMillions = bytes < 1'000'000'000;
    const std::int64_t tenths = (bytes / (isMillions ? 10'000 : 10'000'000) + 5) / 10;
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + (isMillions ? " MB" : " GB");
}

std::string statusText(const RecordingSnapshot& snapshot, int columns)
{
    return wholeText(snapshot).substr(0, static_cast<std::size_t>(std::max(columns - 2, 0)));
}

} // namespace glimto
