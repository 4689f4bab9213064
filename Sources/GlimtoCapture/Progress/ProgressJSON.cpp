#include "Progress/ProgressJSON.h"

#include <cmath>

#include <nlohmann/json.hpp>

namespace glimto {

namespace {

// To one digit, in a way that a double prints with one.
double decibels(double level)
{
    return std::round(level * 10) / 10;
}

} // namespace

std::string progressJSON(const RecordingSnapshot& snapshot)
{
    const double seconds = std::chrono::duration<double>(snapshot.elapsed).count();
    nlohmann::ordered_json line = {{"version", 1}, {"phase", recordingPhaseName(snapshot.phase)},
        {"elapsed", std::round(seconds * 1000) / 1000}, {"frames", snapshot.frames},
        {"dropped", snapshot.dropped}, {"bytes", snapshot.bytes}};
    if (snapshot.systemLevel)
        line["levels"]["systemAudio"] = decibels(*snapshot.systemLevel);
    if (snapshot.microphoneLevel)
        line["levels"]["microphone"] = decibels(*snapshot.microphoneLevel);
    if (snapshot.upload)
        line["upload"] = {{"sent", snapshot.upload->sentObjects},
            {"waiting", snapshot.upload->waitingObjects}, {"waitingBytes", snapshot.upload->waitingBytes}};
    return line.dump();
}

} // namespace glimto
