#pragma once

#include <string>

#include "Progress/RecordingFigures.h"

namespace glimto {

// One line of the progress channel, without its newline:
//
//     {"version":1,"phase":"recording","elapsed":12.5,"frames":375,"dropped":0,"bytes":1048576,
//      "levels":{"systemAudio":-12.1,"microphone":-120.0},"upload":{"sent":4,"waiting":2,"waitingBytes":700000}}
//
// Seconds have three digits behind the point, decibels one. "levels" has the sources that are recorded and is
// left out without sound, "upload" without upload.
std::string progressJSON(const RecordingSnapshot& snapshot);

} // namespace glimto
