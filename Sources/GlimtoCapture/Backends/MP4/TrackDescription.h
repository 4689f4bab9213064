#pragma once

#include <cstdint>
#include <span>
#include <variant>

#include "Platform/VideoEncoder.h"

namespace glimto {

struct VideoTrackDescription {
    VideoSampleDescription samples = {};
    std::int32_t timescale = 0; // ticks a second
    std::int64_t averageBitRate = 0; // bits a second; 0 when not known
};

// AAC. The timescale is the sample rate.
struct AudioTrackDescription {
    std::int32_t sampleRate = 0; // Hz
    int channelCount = 0;
    std::span<const std::uint8_t> decoderConfiguration = {}; // AudioSpecificConfig (ISO/IEC 14496-3)
    std::int64_t averageBitRate = 0; // bits a second
};

using TrackDescription = std::variant<VideoTrackDescription, AudioTrackDescription>;

} // namespace glimto
