#include "Backends/X264/X264VideoEncoder.h"

#include <algorithm>
#include <utility>

namespace glimto {

namespace {

// A picture coarser than this is refined while it stands still, this much at a time.
constexpr int quantizerOfRest = 22;
constexpr int refinementStep = 8;

} // namespace

std::unique_ptr<X264VideoEncoder> X264VideoEncoder::make(
    const VideoEncodingSettings& settings, std::int32_t timescale)
{
    auto coder = X264PictureCoder::make(settings, timescale);
    if (!coder)
        return nullptr;
    return std::unique_ptr<X264VideoEncoder>(new X264VideoEncoder(settings, timescale, std::move(coder)));
}

X264VideoEncoder::X264VideoEncoder(
    const VideoEncodingSettings& settings, std::int32_t timescale, std::unique_ptr<X264PictureCoder> coder)
    // The playlist's text is a fixed contract: High profile at level 4.0, also where x264 chose another
    // level.
    : codec_{.name = "h264", .playlistCodec = "avc1.640028"}
    , timescale_(timescale)
    , coder_(std::move(coder))
    , picture_(settings.width, settings.height)
    , sampleDescription_{.format = "avc1",
          .decoderConfiguration = coder_->decoderConfiguration(),
          .width = picture_.width(),
          .height = picture_.height()}
    , rate_(settings.averageBitRate, settings.framesPerSecond, picture_.macroblockCount())
{
}

EncodedPicture X264VideoEncoder::encode(
    const PixelBuffer& pixels, std::span<const PixelRect> changedRects, std::int64_t time, PictureKind kind)
{
    picture_.update(pixels, changedRects);
    return encodePicture(time, kind, picture_.changedMacroblockCount(), std::nullopt);
}

EncodedPicture X264VideoEncoder::repeat(std::int64_t time, PictureKind kind)
{
    picture_.markAllUnchanged();
    return encodePicture(time, kind, 0, std::nullopt);
}

std::optional<EncodedPicture> X264VideoEncoder::refine(std::int64_t time)
{
    if (lastQuantizer_ <= quantizerOfRest)
        return std::nullopt;
    picture_.markAllUnchanged();
    // What is refined changes all over, whatever the screen did.
    return encodePicture(time, PictureKind::predicted, picture_.macroblockCount(),
        std::max(lastQuantizer_ - refinementStep, quantizerOfRest));
}

EncodedPicture X264VideoEncoder::encodePicture(
    std::int64_t time, PictureKind kind, int changedMacroblocks, std::optional<int> quantizer)
{
    const double secondsSinceLast = lastTime_ ? static_cast<double>(time - *lastTime_) / timescale_ : 0;
    const int chosen = rate_.chooseQuantizer(kind, changedMacroblocks, secondsSinceLast);
    const int used = quantizer.value_or(chosen);
    EncodedPicture encoded = coder_->encode(picture_, time, kind, used);
    rate_.pictureEncoded(kind, used, static_cast<std::int64_t>(encoded.data.size()) * 8);
    lastTime_ = time;
    lastQuantizer_ = used;
    return encoded;
}

std::unique_ptr<VideoEncoder> X264VideoEncoderFactory::makeEncoder(
    const VideoEncodingSettings& settings, std::int32_t timescale)
{
    return X264VideoEncoder::make(settings, timescale);
}

} // namespace glimto
