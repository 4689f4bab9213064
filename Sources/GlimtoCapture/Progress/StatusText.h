#pragma once

#include <string>

#include "Progress/RecordingFigures.h"

namespace glimto {

// What a person is shown of a recording on one line of `columns` columns, none of which it fills to the end:
//
//     REC 0:12  375 frames  0 dropped  1.0 MB  system -12 dB  microphone -35 dB  2 objects to upload
//
// ASCII; empty when there is nothing to be shown yet, or any more.
std::string statusText(const RecordingSnapshot& snapshot, int columns);

// A number of bytes as people write it: "812 kB", "1.4 MB", "12.0 GB".
std::string bytesText(std::int64_t bytes);

} // namespace glimto
