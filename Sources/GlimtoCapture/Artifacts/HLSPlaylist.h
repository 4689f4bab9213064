#pragma once

#include <string>
#include <vector>

#include "Artifacts/CapturedSegment.h"

namespace glimto {

// Where a media playlist lies: beside its segments, or in "segments" above them.
enum class PlaylistPlacement { besideSegments, aboveSegments };

// The finished media playlist of one track (RFC 8216 section 4.3): version 7, an initialization segment,
// all segments, an end. Durations have six decimals; the target duration is the longest one rounded
// up, at least 1.
//
// Keys are paths below the take's root. Beside its segments the playlist names a file by the part after
// the last slash ("init.mp4"), above them by the key without "segments/" ("video/init.mp4").
std::string mediaPlaylistText(const std::string& initSegmentKey, const std::vector<CapturedSegment>& segments,
    PlaylistPlacement placement);

// The master playlist (RFC 8216 section 4.3.4) of a take with "video/playlist.m3u8" and
// "audio/playlist.m3u8". Sizes in pixels; `videoCodec` as in CODECS, such as "avc1.640028".
std::string masterPlaylistText(int width, int height, int framesPerSecond, const std::string& videoCodec);

} // namespace glimto
