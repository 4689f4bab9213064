#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace glimto {

struct DecodedPicture {
    std::int64_t time = 0; // ticks of the track
    bool isKeyframe = false;
    int firstLuma = 0; // of the top left pixel
};

struct DecodedMedia {
    int width = 0;
    int height = 0;
    int profile = 0; // as in the sequence parameter set: 100 is High
    std::vector<DecodedPicture> pictures;
    std::int64_t duration = 0; // end of the last picture, ticks
};

// Demuxes and decodes an MP4 in memory; throws std::runtime_error at the first fault.
DecodedMedia decodeMedia(std::span<const std::byte> data);

} // namespace glimto
