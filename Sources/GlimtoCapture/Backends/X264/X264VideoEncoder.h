#pragma once

#include "Platform/VideoEncoder.h"

namespace glimto {

// H.264 High profile, 4:2:0, level chosen by x264. Odd sizes are padded to even by repeating the last
// column or row.
//
// Where much moves that is not copied from the picture before, or cannot be made fine, a coder with thorough
// tools takes over, and gives back when little moves or what moves is copied. That happens at keyframes, and
// at once, with a keyframe of its own, when the quality suffers. The first picture of a scene waits for the
// next one, which tells whether the scene moves, and how. While the thorough coder is in charge, two of three
// pictures are predicted from both sides.
//
// Of a picture that stands still only the first two keyframes are encoded.
class X264VideoEncoderFactory final : public VideoEncoderFactory {
public:
    // Null when x264 refuses the settings.
    std::unique_ptr<VideoEncoder> makeEncoder(const VideoEncodingSettings& settings) override;
};

} // namespace glimto
