#include "Backends/X264/RateController.h"

#include <algorithm>
#include <cmath>

namespace glimto {

namespace {

// Before anything is known: a picture full of text takes about this at the first quantizer.
constexpr int firstQuantizer = 21;
constexpr double firstBitsPerMacroblock = 350;
constexpr double predictionGain = 8; // how much less a changed macroblock costs than one of a keyframe

constexpr double reserveSeconds = 4;
constexpr double restingReserveSeconds = 1; // where spending and income balance
constexpr double keyframeShareOfReserve = 0.35;
constexpr int largestStep = 4; // of the quantizer from one moving picture to the next

double scale(int quantizer)
{
    return std::exp2(quantizer / 6.0);
}

int quantizerFor(double cost, double bits)
{
    const double ideal = 6 * std::log2(std::max(cost, 1.0) / std::max(bits, 1.0));
    return std::clamp(static_cast<int>(std::lround(std::min(ideal, 60.0))), RateController::finestQuantizer,
        RateController::coarsestQuantizer);
}

// Follows the newest measurement fast, but not at once.
double blended(double old, double measured, double weight)
{
    return old * (1 - weight) + measured * weight;
}

} // namespace

RateController::RateController(std::int64_t bitsPerSecond, int framesPerSecond, int macroblockCount)
    : bitsPerSecond_(static_cast<double>(std::max<std::int64_t>(bitsPerSecond, 1)))
    , bitsPerFrame_(bitsPerSecond_ / std::max(framesPerSecond, 1))
    , macroblockCount_(std::max(macroblockCount, 1))
    , reserve_(bitsPerSecond_ * restingReserveSeconds)
    , keyframeCost_(firstBitsPerMacroblock * scale(firstQuantizer))
    , changeCost_(keyframeCost_ / predictionGain)
{
}

int RateController::chooseQuantizer(PictureKind kind, int changedMacroblocks, double seconds)
{
    reserve_ = std::min(reserve_ + bitsPerSecond_ * std::max(seconds, 0.0), bitsPerSecond_ * reserveSeconds);
    changedShare_ = std::clamp(changedMacroblocks / macroblockCount_, 1 / macroblockCount_, 1.0);
    return kind == PictureKind::keyframe ? quantizerOfKeyframe() : quantizerOfPredicted();
}

bool RateController::isMoving() const
{
    return lastPredictedQuantizer_ > 0 && usualChangedShare_ > 0.3;
}

int RateController::quantizerOfKeyframe() const
{
    const int quantizer = quantizerFor(keyframeCost_ * macroblockCount_, reserve_ * keyframeShareOfReserve);
    if (!isMoving())
        return quantizer;
    // In the middle of a scene a keyframe must not stand out.
    return std::clamp(
        quantizer, std::max(lastPredictedQuantizer_ - 4, finestQuantizer), lastPredictedQuantizer_ + 2);
}

int RateController::quantizerOfPredicted() const
{
    const double fill = std::clamp(reserve_ / (bitsPerSecond_ * restingReserveSeconds), 0.05, 4.0);
    // Much more change than usual is a new scene, which costs about what a keyframe does.
    const bool isNewScene = changedShare_ > 4 * usualChangedShare_ && changedShare_ > 0.05;
    const double cost = isNewScene ? std::max(changeCost_, keyframeCost_ / 2) : changeCost_;
    const int quantizer = quantizerFor(cost * changedShare_ * macroblockCount_, bitsPerFrame_ * fill);
    if (isNewScene || !isMoving())
        return quantizer;
    // Half-way towards it, so that the quality of a moving picture does not tremble.
    return lastPredictedQuantizer_
        + std::clamp((quantizer - lastPredictedQuantizer_) / 2, -largestStep, largestStep);
}

void RateController::pictureEncoded(PictureKind kind, int quantizer, std::int64_t bits)
{
    const auto spent = static_cast<double>(bits);
    // A debt of more than a resting reserve would punish a scene for too long.
    reserve_ = std::max(reserve_ - spent, -bitsPerSecond_ * restingReserveSeconds);
    const double cost = spent * scale(quantizer) / macroblockCount_;
    if (kind == PictureKind::keyframe) {
        keyframeCost_ = blended(keyframeCost_, cost, 0.8);
        if (lastPredictedQuantizer_ == 0)
            changeCost_ = keyframeCost_ / predictionGain;
        return;
    }
    changeCost_ = blended(changeCost_, cost / changedShare_, 0.25 + 0.5 * changedShare_);
    usualChangedShare_ = blended(usualChangedShare_, changedShare_, 0.2);
    lastPredictedQuantizer_ = quantizer;
}

} // namespace glimto
