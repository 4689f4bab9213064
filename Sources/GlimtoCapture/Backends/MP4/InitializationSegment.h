#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Backends/MP4/TrackDescription.h"

namespace glimto {

// The only track of the files written here.
constexpr std::uint32_t onlyTrack = 1;

// "ftyp" and "moov" (ISO/IEC 14496-12 sections 4.3 and 8.2) of a file with one track that goes on in
// fragments. Times count from the track's start and need no edit list. Throws PlatformError when MP4 cannot
// hold such samples.
std::vector<std::byte> initializationSegment(const TrackDescription& track);

} // namespace glimto
