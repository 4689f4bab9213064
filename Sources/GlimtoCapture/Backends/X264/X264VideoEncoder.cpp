#include "Backends/X264/X264VideoEncoder.h"

#include <algorithm>
#include <utility>

#include "Backends/X264/PictureDetail.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

// Motion that stays coarser than this, although it gets all bits that there are, is worth thorough tools;
// what quick ones find well is as fine as motion gets.
constexpr int coarseInMotion = 22;

// A scene that begins coarser than this is worth them at once, whether it will move or not.
constexpr int coarseBeginning = 27;

// With thorough tools one picture in four is finer than the average and the others are coarser: those after
// it are predicted from it, and what moves looks better for the same bits.
constexpr int cycleLength = 4;
constexpr int finerInCycle = 2;
constexpr int coarserInCycle = 1;

// Smaller changes are not worth a keyframe.
constexpr double largeShare = 0.6;
constexpr double smallShare = 0.1;

void append(std::vector<std::uint8_t>& record, const std::vector<std::uint8_t>& parameterSet)
{
    record.push_back(static_cast<std::uint8_t>(parameterSet.size() >> 8U));
    record.push_back(static_cast<std::uint8_t>(parameterSet.size() & 0xFFU));
    record.insert(record.end(), parameterSet.begin(), parameterSet.end());
}

// The avcC record (ISO/IEC 14496-15 section 5.3.3.1) with the parameter sets of both coders.
std::vector<std::uint8_t> decoderConfiguration(
    const X264PictureCoder::ParameterSets& first, const X264PictureCoder::ParameterSets& second)
{
    constexpr int lengthBytes = 4;
    constexpr int setCount = 2;
    // A player that can decode the higher level can decode all.
    const std::uint8_t level = std::max(first.sequence[3], second.sequence[3]);
    std::vector<std::uint8_t> record
        = {1, first.sequence[1], first.sequence[2], level, 0xFC | (lengthBytes - 1), 0xE0 | setCount};
    append(record, first.sequence);
    append(record, second.sequence);
    record.push_back(setCount);
    append(record, first.picture);
    append(record, second.picture);
    // High profile adds the chroma format and bit depths: 4:2:0, 8 and 8.
    record.insert(record.end(), {0xFC | 1, 0xF8, 0xF8, 0});
    return record;
}

} // namespace

std::unique_ptr<X264VideoEncoder> X264VideoEncoder::make(
    const VideoEncodingSettings& settings, std::int32_t timescale)
{
    auto coder = X264PictureCoder::make(settings, timescale, CodingTools::quick);
    const auto thorough = X264PictureCoder::make(settings, timescale, CodingTools::thorough);
    if (!coder || !thorough)
        return nullptr;
    auto configuration = decoderConfiguration(coder->parameterSets(), thorough->parameterSets());
    return std::unique_ptr<X264VideoEncoder>(
        new X264VideoEncoder(settings, timescale, std::move(coder), std::move(configuration)));
}

X264VideoEncoder::X264VideoEncoder(const VideoEncodingSettings& settings, std::int32_t timescale,
    std::unique_ptr<X264PictureCoder> coder, std::vector<std::uint8_t> decoderConfiguration)
    // The playlist's text is a fixed contract: High profile at level 4.0, also where x264 chose another
    // level.
    : codec_{.name = "h264", .playlistCodec = "avc1.640028"}
    , settings_(settings)
    , timescale_(timescale)
    , coder_(std::move(coder))
    , picture_(settings.width, settings.height)
    , sampleDescription_{.format = "avc1",
          .decoderConfiguration = std::move(decoderConfiguration),
          .width = picture_.width(),
          .height = picture_.height()}
    , rate_(settings.averageBitRate, settings.framesPerSecond, picture_.macroblockCount())
{
}

EncodedPicture X264VideoEncoder::encode(
    const FramePicture& picture, std::span<const PixelRect> changedRects, std::int64_t time, PictureKind kind)
{
    picture_.update(picture.pixels(), changedRects);
    return encodePicture(time, kind, picture_.changedMacroblockCount());
}

EncodedPicture X264VideoEncoder::repeat(std::int64_t time, PictureKind kind)
{
    picture_.markAllUnchanged();
    return encodePicture(time, kind, 0);
}

std::optional<EncodedPicture> X264VideoEncoder::refine(std::int64_t time)
{
    if (lastQuantizer_ <= RateController::finestQuantizer)
        return std::nullopt;
    const int finer = rate_.refinedQuantizer(lastQuantizer_, detailOf(picture_));
    if (finer >= lastQuantizer_)
        return std::nullopt;
    picture_.markAllUnchanged();
    EncodedPicture encoded = coder_->encode(picture_, time, PictureKind::predicted, finer);
    rate_.pictureRefined(secondsSinceLast(time), static_cast<std::int64_t>(encoded.data.size()) * 8);
    lastTime_ = time;
    lastQuantizer_ = finer;
    return encoded;
}

EncodedPicture X264VideoEncoder::encodePicture(std::int64_t time, PictureKind kind, int changedMacroblocks)
{
    int quantizer = chooseQuantizer(time, kind, changedMacroblocks);
    if (takeOver(wantedTools(kind, quantizer)) && kind == PictureKind::predicted) {
        kind = PictureKind::keyframe; // the first one of a coder
        lastTime_ = time;
        quantizer = chooseQuantizer(time, kind, changedMacroblocks);
    }
    return encodeWith(quantizer, time, kind);
}

double X264VideoEncoder::secondsSinceLast(std::int64_t time) const
{
    return lastTime_ ? static_cast<double>(time - *lastTime_) / timescale_ : 0;
}

int X264VideoEncoder::chooseQuantizer(std::int64_t time, PictureKind kind, int changedMacroblocks)
{
    return rate_.chooseQuantizer({.kind = kind,
        .changedMacroblocks = changedMacroblocks,
        .seconds = secondsSinceLast(time),
        .detail = rate_.needsDetail(kind, changedMacroblocks) ? detailOf(picture_) : 0});
}

EncodedPicture X264VideoEncoder::encodeWith(int quantizer, std::int64_t time, PictureKind kind)
{
    // Rate control knows of the average only.
    EncodedPicture encoded = coder_->encode(picture_, time, kind, quantizer + stepInCycle(kind, quantizer));
    rate_.pictureEncoded(kind, quantizer, static_cast<std::int64_t>(encoded.data.size()) * 8);
    lastTime_ = time;
    lastQuantizer_ = quantizer;
    return encoded;
}

int X264VideoEncoder::stepInCycle(PictureKind kind, int quantizer)
{
    positionInCycle_ = kind == PictureKind::keyframe ? 0 : (positionInCycle_ + 1) % cycleLength;
    if (tools_ == CodingTools::quick || kind == PictureKind::keyframe || rate_.isNewScene())
        return 0;
    const int step = positionInCycle_ == 0 ? -finerInCycle : coarserInCycle;
    return std::clamp(quantizer + step, RateController::finestQuantizer, RateController::coarsestQuantizer)
        - quantizer;
}

CodingTools X264VideoEncoder::wantedTools(PictureKind kind, int quantizer) const
{
    if (!X264PictureCoder::hasTimeToBeThorough(settings_))
        return CodingTools::quick;
    if (tools_ == CodingTools::thorough) {
        const bool isAtRest
            = rate_.usualChangedShare() <= smallShare || picture_.changedMacroblockCount() == 0;
        return kind == PictureKind::keyframe && lastTime_ && isAtRest ? CodingTools::quick : tools_;
    }
    const bool suffers = rate_.usualQuantizer() >= coarseInMotion && rate_.usualChangedShare() > smallShare;
    const bool isLarge = picture_.changedMacroblockCount() > largeShare * picture_.macroblockCount();
    const bool isBeginning = !lastTime_ || (rate_.isNewScene() && isLarge);
    return suffers || (isBeginning && quantizer >= coarseBeginning) ? CodingTools::thorough : tools_;
}

// Whether another coder is in charge now; its first picture is a keyframe.
bool X264VideoEncoder::takeOver(CodingTools tools)
{
    if (tools == tools_)
        return false;
    coder_.reset(); // first: two of them would need twice the memory
    coder_ = X264PictureCoder::make(settings_, timescale_, tools);
    if (!coder_)
        throw PlatformError("x264", 0, "The H.264 encoder could not be made.");
    tools_ = tools;
    return true;
}

std::unique_ptr<VideoEncoder> X264VideoEncoderFactory::makeEncoder(
    const VideoEncodingSettings& settings, std::int32_t timescale)
{
    return X264VideoEncoder::make(settings, timescale);
}

} // namespace glimto
