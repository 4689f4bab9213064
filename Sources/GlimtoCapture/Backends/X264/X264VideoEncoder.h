#pragma once

#include <memory>

#include "Backends/X264/I420Picture.h"
#include "Backends/X264/RateController.h"
#include "Backends/X264/X264PictureCoder.h"
#include "Platform/VideoEncoder.h"

namespace glimto {

// H.264 High profile, 4:2:0, level chosen by x264. Odd sizes are padded to even by repeating the last
// column or row.
//
// Where much moves and cannot be made fine, a coder with thorough tools takes over, and gives back when
// little moves. That happens at keyframes, and at once, with a keyframe of its own, when another scene
// begins or the quality suffers.
class X264VideoEncoder final : public VideoEncoder {
public:
    // Null when x264 refuses the settings.
    static std::unique_ptr<X264VideoEncoder> make(
        const VideoEncodingSettings& settings, std::int32_t timescale);

    const VideoCodec& codec() const override { return codec_; }
    const VideoSampleDescription& sampleDescription() const override { return sampleDescription_; }
    EncodedPicture encode(const FramePicture& picture, std::span<const PixelRect> changedRects,
        std::int64_t time, PictureKind kind) override;
    EncodedPicture repeat(std::int64_t time, PictureKind kind) override;
    std::optional<EncodedPicture> refine(std::int64_t time) override;

private:
    X264VideoEncoder(const VideoEncodingSettings& settings, std::int32_t timescale,
        std::unique_ptr<X264PictureCoder> coder, std::vector<std::uint8_t> decoderConfiguration);
    EncodedPicture encodePicture(std::int64_t time, PictureKind kind, int changedMacroblocks);
    EncodedPicture encodeWith(int quantizer, std::int64_t time, PictureKind kind);
    int stepInCycle(PictureKind kind, int quantizer);
    double secondsSinceLast(std::int64_t time) const;
    int chooseQuantizer(std::int64_t time, PictureKind kind, int changedMacroblocks);
    CodingTools wantedTools(PictureKind kind, int quantizer) const;
    bool takeOver(CodingTools tools);

    const VideoCodec codec_;
    const VideoEncodingSettings settings_;
    const std::int32_t timescale_;
    std::unique_ptr<X264PictureCoder> coder_;
    CodingTools tools_ = CodingTools::quick;
    I420Picture picture_;
    const VideoSampleDescription sampleDescription_;
    RateController rate_;
    std::optional<std::int64_t> lastTime_;
    int lastQuantizer_ = 0;
    int positionInCycle_ = 0;
};

class X264VideoEncoderFactory final : public VideoEncoderFactory {
public:
    std::unique_ptr<VideoEncoder> makeEncoder(
        const VideoEncodingSettings& settings, std::int32_t timescale) override;
};

} // namespace glimto
