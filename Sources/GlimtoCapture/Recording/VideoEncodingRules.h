#pragma once

#include "Platform/AssetWriter.h"

namespace glimto {

// The settings of a recording's video track.
//
// The bit rate grows with the pixels a second: an eighth of a bit for each of them, when there are at
// least 16,000,000, else 2,000,000 bits a second. Examples: 1920 x 1080 at 30 fps gets 7,776,000 bit/s,
// 320 x 240 at 30 fps gets 2,000,000. A keyframe comes at least once a segment of `segmentDuration`
// (greater than 0).
VideoEncodingSettings videoEncodingSettings(
    int width, int height, int framesPerSecond, Seconds segmentDuration);

// `segmentDuration` over a timescale of 600: at least one such unit, and never more than fits.
MediaTime preferredSegmentInterval(Seconds segmentDuration);

} // namespace glimto
