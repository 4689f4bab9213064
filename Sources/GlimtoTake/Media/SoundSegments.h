#pragma once

#include <cstdint>
#include <filesystem>

#include "GlimtoTake/Media/TrackReader.h"

namespace glimto {

// Makes media segments of an AAC track that was recorded, for its initialization segment. Times in ticks of
// the track, which are its samples. Files appear whole or not at all. Throw PlatformError.

// The sound of `piece` that lies before `end`; its last block is as long as is left of it.
void writeSoundBefore(const std::filesystem::path& initializationSegment, const MediaPiece& piece,
    std::int64_t end, const std::filesystem::path& target);

// Silence.
void writeSilence(const std::filesystem::path& initializationSegment, std::int64_t start, std::int64_t end,
    const std::filesystem::path& target);

inline constexpr std::int64_t soundBlockTicks = 1024; // samples in one block of AAC

} // namespace glimto
