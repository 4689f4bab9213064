#pragma once

#include "Platform/VideoEncoder.h"

namespace glimto {

// H.264 High profile, 4:2:0, level chosen by x264. Odd sizes are padded to even by repeating the last
// column or row.
//
// Which coding tools are used is chosen anew at keyframes, and at once, with a keyframe of its own, when the
// quality suffers: quick ones where little moves, compact ones where programs copy so much that it takes most
// of the bits, thorough ones where it moves in another way, spreading ones where that gets coarse. The first
// picture of a scene waits for the next one, which tells whether the scene moves, and how. While tools look
// ahead, two of three pictures are predicted from both sides, unless the bits suffice without.
//
// Of a picture that stands still only the first two keyframes are encoded.
class X264VideoEncoderFactory final : public VideoEncoderFactory {
public:
    // Null when x264 refuses the settings.
    std::unique_ptr<VideoEncoder> makeEncoder(const VideoEncodingSettings& settings) override;
};

} // namespace glimto
