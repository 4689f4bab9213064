#pragma once

#include "Platform/VideoEncoder.h"

namespace glimto {

// H.264 High profile, 4:2:0, level chosen by x264. Odd sizes are padded to even by repeating the last
// column or row.
//
// Where much moves and cannot be made fine, a coder with thorough tools takes over, and gives back when
// little moves. That happens at keyframes, and at once, with a keyframe of its own, when another scene
// begins or the quality suffers. While it is in charge, every other picture is predicted from both sides.
class X264VideoEncoderFactory final : public VideoEncoderFactory {
public:
    // Null when x264 refuses the settings.
    std::unique_ptr<VideoEncoder> makeEncoder(
        const VideoEncodingSettings& settings, std::int32_t timescale) override;
};

} // namespace glimto
