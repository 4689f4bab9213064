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
    std::vector<std::uint8_t> luma; // row by row
};

struct DecodedMedia {
    int width = 0;
    int height = 0;
    int profile = 0; // as in the sequence parameter set: 100 is High
    std::vector<DecodedPicture> pictures;
    std::int64_t duration = 0; // end of the last picture, ticks
};

// Sound whose time stamps join without gaps and overlaps.
struct DecodedSound {
    int sampleRate = 0;
    int profile = 0; // as in the decoder's configuration: 1 is AAC-LC
    std::int64_t start = 0; // of the first frame, frames
    std::vector<std::vector<float>> channels;
    std::int64_t duration = 0; // end of the track as declared, frames
};

// Both demux and decode an MP4 in memory; they throw std::runtime_error at the first fault.
DecodedMedia decodeMedia(std::span<const std::byte> data);
DecodedSound decodeSound(std::span<const std::byte> data);

} // namespace glimto
