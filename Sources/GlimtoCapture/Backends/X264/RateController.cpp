#include "Backends/X264/RateController.h"

#include <algorithm>
#include <cmath>

namespace glimto {

namespace {

// How much less a changed macroblock costs than one of a keyframe, where most of what changes is copied, and
// where everything moves: measured on zooms (12), films (5 to 15), games (2) and fractals (1).
constexpr double predictionGain = 8;
constexpr double predictionGainInMotion = 4;
constexpr double largestPredictionGainInMotion = 10;
constexpr double usualLikeness = 1.7; // of pictures that are predicted no better than that
constexpr double gainOfLikeness = 10; // by each unit more
constexpr double newSceneFactor = 5; // times the usual share: what moves is a new scene once, not twice
constexpr double firstChangedShare = 0.2;
constexpr double newSceneGain = 1.6; // what is left of that when something else is shown

// Measured on pages, editors, photos and fractals, which are all within a quarter of it.
constexpr double usualDetailCost = 1.25;

constexpr double reserveSeconds = 4;
constexpr double restingReserveSeconds = 1; // where spending and income balance
constexpr double deepestDebtSeconds = 2; // a deeper one would punish a scene for too long

// A debt is paid back over seconds, not at once: a scene that opens with an expensive picture would be
// unreadable for as long as it lasts.
constexpr double repaymentPerSecond = 0.5;
constexpr double smallestFill = 0.2;
constexpr double largestFill = 4;

// What is closer to the finest already is not worth another picture.
constexpr int smallestRefinement = 3;

constexpr double sceneShareOfReserve = 0.35;
constexpr double smallestSceneReserveSeconds = 0.4;

// With more than this left, a keyframe of a picture that stands still would be made finer later on.
constexpr double standingShareOfReserve = 0.8;

// Finer than this a picture is not made at once where all of it has to be encoded.
constexpr double finestOfScene = 16;

// While much moves, nobody sees what is finer than this, but grain would take all bits.
constexpr double finestInMotion = 20;
constexpr double finestInBusyMotion = 22; // also where programs do not copy: each picture has its own grain

// Predicting from both sides saves so much where it saves anything.
constexpr double savedInBetween = 2;
constexpr double missedInBetween = 1.2;

// In the middle of a scene a keyframe must not stand out.
constexpr double finerKeyframe = 3;

// How fast costs are learnt in a steady scene. A picture that pans costs ten times as much at some of its
// positions as at others; following each of them makes the quality pump.
constexpr double steadyLearning = 0.06;
constexpr double surprise = 3; // times what was expected
constexpr int picturesToKnowAScene = 2;

double scale(double quantizer)
{
    return std::exp2(quantizer / 6.0);
}

double idealQuantizer(double cost, double bits)
{
    return std::min(6 * std::log2(std::max(cost, 1.0) / std::max(bits, 1.0)), 60.0);
}

int clamped(double quantizer)
{
    return std::clamp(static_cast<int>(std::lround(quantizer)), RateController::finestQuantizer,
        RateController::coarsestQuantizer);
}

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
    , detailCost_(usualDetailCost)
{
}

bool RateController::needsDetail(PictureKind kind, int changedMacroblocks, bool hasRested) const
{
    if (kind == PictureKind::keyframe)
        return true;
    const double share = changedMacroblocks / macroblockCount_;
    return share > 0.05 && (hasRested || share > newSceneFactor * usualChangedShare_);
}

RateController::Plan RateController::plan(const Picture& picture)
{
    earn(picture.sinceLast);
    Plan plan = {.kind = picture.kind,
        .changedShare = std::clamp(picture.changedMacroblocks / macroblockCount_, 1 / macroblockCount_, 1.0),
        .detail = picture.detail};
    if (picture.kind == PictureKind::keyframe) {
        plan.quantizer = picture.motionShare > 0 ? beginMotion(plan, picture.motionShare, picture.likeness)
                                                 : quantizerOfKeyframe(plan, picture.movement);
        if (changeCost_ <= 0)
            expectOfFirst(plan, predictionGain, firstChangedShare);
        return plan;
    }
    plan.isNewScene
        = plan.detail > 0 && needsDetail(picture.kind, picture.changedMacroblocks, picture.hasRested);
    plan.quantizer
        = plan.isNewScene ? quantizerOfNewScene(plan) : quantizerOfPredicted(plan, picture.movement);
    usualChangedShare_ = blended(usualChangedShare_, plan.changedShare, 0.2);
    usualQuantizer_ = blended(usualQuantizer_, plan.quantizer, 0.2 * plan.changedShare);
    lastPredictedQuantizer_ = plan.quantizer;
    return plan;
}

// What the pictures after the first keyframe will be like, until some of them are there.
void RateController::expectOfFirst(const Plan& plan, double gain, double changedShare)
{
    changeCost_ = plan.detail * detailCost_ / macroblockCount_ / gain;
    usualChangedShare_ = changedShare;
}

// The keyframe that opens a moving scene is not much finer than the scene can stay: it would be paid for by
// the pictures after it.
int RateController::beginMotion(const Plan& plan, double share, double likeness)
{
    const double gain = std::clamp(predictionGainInMotion + gainOfLikeness * (likeness - usualLikeness),
        predictionGainInMotion, largestPredictionGainInMotion);
    expectOfFirst(plan, gain, share);
    picturesOfScene_ = 0;
    beginsMotion_ = true;
    const double cost = changeCost_ * share * macroblockCount_;
    const double expected = std::max(idealQuantizer(cost, bitsPerFrame_), finestInBusyMotion);
    lastPredictedQuantizer_ = clamped(expected);
    const double affordable = idealQuantizer(plan.detail * detailCost_, bitsForScene());
    return clamped(std::max(affordable, expected - finerKeyframe));
}

bool RateController::isBusy() const
{
    const double cost = changeCost_ * usualChangedShare_ * macroblockCount_;
    return isMoving() && idealQuantizer(2 * cost, bitsPerFrame_) > finestInMotion;
}

bool RateController::needsInBetween(bool already) const
{
    constexpr double coarse = finestInBusyMotion + 3;
    if (lastPredictedQuantizer_ > (already ? finestInBusyMotion : coarse))
        return true;
    const double cost = changeCost_ * usualChangedShare_ * macroblockCount_;
    const double without = cost * (already ? savedInBetween : missedInBetween);
    return idealQuantizer(without, std::min(bitsForFrame(), bitsPerFrame_)) > finestInBusyMotion;
}

bool RateController::knowsScene() const
{
    return picturesOfScene_ >= picturesToKnowAScene;
}

double RateController::bitsForFrame() const
{
    const double seconds = reserve_ / bitsPerSecond_;
    const double fill = seconds >= restingReserveSeconds
        ? seconds
        : 1 - repaymentPerSecond * (restingReserveSeconds - seconds);
    return bitsPerFrame_ * std::clamp(fill, smallestFill, largestFill);
}

double RateController::bitsForScene() const
{
    return std::max(reserve_, bitsPerSecond_ * smallestSceneReserveSeconds) * sceneShareOfReserve;
}

// What is copied again and again stays as fine as it came.
int RateController::quantizerOfKeyframe(const Plan& plan, Movement movement) const
{
    const double affordable = idealQuantizer(plan.detail * detailCost_, bitsForScene());
    if (movement == Movement::copied)
        return clamped(affordable);
    const double ideal = std::max(affordable, finestOfScene);
    if (!isMoving())
        return clamped(ideal);
    return clamped(std::clamp(ideal, lastPredictedQuantizer_ - finerKeyframe, lastPredictedQuantizer_ + 1.0));
}

// What is new costs about what it does in a keyframe; what only moved costs less.
int RateController::quantizerOfNewScene(const Plan& plan) const
{
    const double cost = plan.detail * detailCost_ * plan.changedShare / newSceneGain;
    return clamped(std::max(idealQuantizer(cost, bitsForScene()), finestOfScene));
}

int RateController::quantizerOfPredicted(const Plan& plan, Movement movement) const
{
    const double cost = changeCost_ * plan.changedShare * macroblockCount_;
    const bool isMotion = usualChangedShare_ > 0.1 && plan.changedShare > 0.1;
    const double finest = !isMotion             ? finestQuantizer
        : movement == Movement::own || isBusy() ? finestInBusyMotion
                                                : finestInMotion;
    const double ideal = std::max(idealQuantizer(cost, bitsForFrame()), finest);
    if (!isMoving() || !knowsScene())
        return clamped(ideal);
    // One step at a time, so that the quality of a moving picture does not tremble.
    const double difference = ideal - lastPredictedQuantizer_;
    if (std::abs(difference) < 1)
        return lastPredictedQuantizer_;
    const double step = std::abs(difference) > 4 ? difference / 2 : std::copysign(1.0, difference);
    return clamped(lastPredictedQuantizer_ + std::clamp(std::trunc(step), -3.0, 4.0));
}

int RateController::refinedQuantizer(int quantizer, double detail) const
{
    // About half of a keyframe's bits are there already.
    const double ideal = idealQuantizer(detail * detailCost_ / 2, std::max(reserve_, 0.0) / 2);
    const int finer = clamped(ideal);
    return finer + smallestRefinement <= quantizer ? finer : quantizer;
}

int RateController::standingQuantizer(int planned, int shown, double detail) const
{
    if (planned + smallestRefinement <= shown)
        return planned;
    const double affordable
        = idealQuantizer(detail * detailCost_, std::max(reserve_, 0.0) * standingShareOfReserve);
    return std::min(std::max(shown, clamped(affordable)), std::max(planned, shown));
}

bool RateController::affordsOnceMore(Seconds sinceLast, std::int64_t bits) const
{
    return static_cast<double>(bits) <= reserveAfter(sinceLast) * standingShareOfReserve;
}

void RateController::pictureRefined(Seconds sinceLast, std::int64_t bits)
{
    earn(sinceLast);
    spend(bits);
}

void RateController::pictureEncoded(const Plan& plan, std::int64_t bits)
{
    spend(bits);
    const double cost = static_cast<double>(bits) * scale(plan.quantizer);
    if (plan.kind == PictureKind::predicted)
        return learnCostOfChange(plan, cost / macroblockCount_ / plan.changedShare);
    if (plan.detail > 0)
        detailCost_ = std::clamp(
            blended(detailCost_, cost / plan.detail, 0.5), usualDetailCost / 3, usualDetailCost * 3);
}

double RateController::reserveAfter(Seconds sinceLast) const
{
    return std::min(
        reserve_ + bitsPerSecond_ * std::max(sinceLast.count(), 0.0), bitsPerSecond_ * reserveSeconds);
}

void RateController::earn(Seconds sinceLast)
{
    reserve_ = reserveAfter(sinceLast);
}

void RateController::spend(std::int64_t bits)
{
    reserve_ = std::max(reserve_ - static_cast<double>(bits), -bitsPerSecond_ * deepestDebtSeconds);
}

void RateController::learnCostOfChange(const Plan& plan, double cost)
{
    beginsMotion_ = false;
    surprises_ = cost > surprise * changeCost_ ? surprises_ + 1 : 0;
    // One expensive picture is a pan that comes past a whole pixel; two are another scene.
    const bool isSteady = isMoving() && !plan.isNewScene && surprises_ < 2;
    picturesOfScene_ = isSteady ? picturesOfScene_ + 1 : 1;
    // A young scene is known from what its pictures cost so far; the first guess counts as one of them.
    const double weight
        = isSteady ? std::max(steadyLearning, 1.0 / (picturesOfScene_ + 1)) : 0.25 + 0.5 * plan.changedShare;
    changeCost_ = blended(changeCost_, cost, weight);
}

} // namespace glimto
