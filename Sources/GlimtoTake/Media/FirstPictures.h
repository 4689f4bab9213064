#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "Backends/FFmpeg/FFmpegHandles.h"
#include "GlimtoTake/Media/TakeExamination.h"

namespace glimto {

// The pictures of a group from a moment within it on, encoded again so that the first one is a keyframe. They
// use parameter sets with an id of their own, so that the copied pictures behind them can go on using theirs.
struct FirstPictures {
    std::deque<PacketHandle> packets; // in ticks of the take's track
    std::vector<std::uint8_t> decoderConfiguration; // avcC with both parameter sets
};

// `time` in ticks of the track, after the start of the piece `first` and before its end.
FirstPictures encodeFirstPictures(const ExaminedTrack& video, std::size_t first, std::int64_t time);

} // namespace glimto
