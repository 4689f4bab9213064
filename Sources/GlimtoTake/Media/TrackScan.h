#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "GlimtoTake/Media/TrackReader.h"

namespace glimto {

// What one segment holds. Times in ticks of the track.
struct ScannedSegment {
    std::int64_t start = 0; // of the earliest packet
    std::int64_t lastTime = 0; // of the latest packet
    std::int64_t lastDecodeTime = 0; // of the last packet
    std::int64_t end = 0; // of the latest packet, as far as libavformat knows how long it lasts
    int packetCount = 0; // 0 when nothing could be read
    bool startsWithKeyframe = false;
};

// What a track's files say of it.
struct TrackScan {
    std::int32_t timescale = 0; // ticks a second
    int width = 0; // pixels, as decoded; 0 for sound
    int height = 0;
    double framesPerSecond = 0; // as the encoder was told; 0 when it does not say
    int sampleRate = 0; // Hz; 0 for pictures
    int channelCount = 0;
    std::vector<ScannedSegment> segments; // one a piece

    double seconds(std::int64_t ticks) const { return static_cast<double>(ticks) / timescale; }
};

// Reads the whole track once. A segment whose content cannot be read, and all behind it, has no packets.
// Throws like TrackReader when the initialization segment cannot be used.
TrackScan scanTrack(
    const std::filesystem::path& initializationSegment, const std::vector<MediaPiece>& pieces);

} // namespace glimto
