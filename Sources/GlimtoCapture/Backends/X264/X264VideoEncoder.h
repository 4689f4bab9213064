#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

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
// begins or the quality suffers. While it is in charge, every other picture is predicted from both sides.
class X264VideoEncoder final : public VideoEncoder {
public:
    // Null when x264 refuses the settings.
    static std::unique_ptr<X264VideoEncoder> make(
        const VideoEncodingSettings& settings, std::int32_t timescale);

    const VideoCodec& codec() const override { return codec_; }
    const VideoSampleDescription& sampleDescription() const override { return sampleDescription_; }
    std::vector<EncodedPicture> encode(const FramePicture& picture, std::span<const PixelRect> changedRects,
        std::int64_t time, PictureKind kind) override;
    std::vector<EncodedPicture> repeat(std::int64_t time, PictureKind kind) override;
    std::optional<std::vector<EncodedPicture>> refine(std::int64_t time) override;
    std::vector<EncodedPicture> finish() override;

private:
    X264VideoEncoder(const VideoEncodingSettings& settings, std::int32_t timescale,
        std::unique_ptr<X264PictureCoder> coder, std::vector<std::uint8_t> decoderConfiguration);
    struct Given {
        std::int64_t time = 0;
        double seconds = 0; // since the picture before
        RateController::Plan plan;
        bool isBetween = false;
        bool isRefinement = false;
    };

    std::vector<EncodedPicture> encodePicture(std::int64_t time, PictureKind kind, int changedMacroblocks);
    void give(std::vector<EncodedPicture>& pictures, const Given& given);
    bool isBetween(std::int64_t time, const RateController::Plan& plan) const;
    int quantizerOf(const Given& given) const;
    void learn(const std::vector<EncodedPicture>& pictures);
    void learn(const Given& given, std::int64_t bits);
    double secondsSinceLast(std::int64_t time) const;
    RateController::Plan plan(std::int64_t time, PictureKind kind, int changedMacroblocks);
    CodingTools wantedTools(const RateController::Plan& plan) const;
    std::vector<EncodedPicture> takeOver(CodingTools tools);

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
    std::deque<Given> given_; // to the coder, and not back yet
    std::int64_t bitsAhead_ = 0; // of the picture after the one in between, until that one is back
    int unchangedFrames_ = 0; // since the picture last changed
};

class X264VideoEncoderFactory final : public VideoEncoderFactory {
public:
    std::unique_ptr<VideoEncoder> makeEncoder(
        const VideoEncodingSettings& settings, std::int32_t timescale) override;
};

} // namespace glimto
