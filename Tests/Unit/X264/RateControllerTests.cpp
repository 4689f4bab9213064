#include "Backends/X264/RateController.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr int framesPerSecond = 30;
constexpr int macroblocks = 8160; // 1920x1088
constexpr std::int64_t bitsPerSecond = 7'776'000;

// An encoder whose pictures need `cost` bits a changed macroblock at quantizer 0.
class ModelEncoder {
public:
    double encode(
        PictureKind kind, int changed, double seconds, double cost, Movement movement = Movement::unknown)
    {
        // What a usual unit of detail costs in a keyframe.
        constexpr double detailCost = 1.25;
        const double detail
            = controller.needsDetail(kind, changed, false) ? cost * macroblocks / detailCost : 0;
        const auto plan = controller.plan({.kind = kind,
            .changedMacroblocks = changed,
            .sinceLast = Seconds(seconds),
            .detail = detail,
            .movement = movement});
        lastQuantizer = plan.quantizer;
        const double bits = cost * changed / std::exp2(lastQuantizer / 6.0);
        controller.pictureEncoded(plan, std::llround(bits));
        return bits;
    }

    // One second of moving pictures; the bits that they took.
    double encodeMovingSecond(double cost, Movement movement = Movement::unknown)
    {
        double bits = 0;
        for (int frame = 0; frame < framesPerSecond; ++frame)
            bits += encode(PictureKind::predicted, macroblocks, 1.0 / framesPerSecond, cost, movement);
        return bits;
    }

    RateController controller{bitsPerSecond, framesPerSecond, macroblocks};
    int lastQuantizer = 0;
};

TEST(RateControllerTests, MovingPictureKeepsToTheAverageBitRate)
{
    for (const double cost : {800.0, 2000.0, 5000.0}) {
        ModelEncoder encoder;
        encoder.encode(PictureKind::keyframe, macroblocks, 0, cost * 8);
        for (int second = 0; second < 10; ++second)
            encoder.encodeMovingSecond(cost);
        double bits = 0;
        for (int second = 0; second < 20; ++second)
            bits += encoder.encodeMovingSecond(cost);
        EXPECT_NEAR(bits / 20, bitsPerSecond, 0.1 * bitsPerSecond) << "cost " << cost;
    }
}

TEST(RateControllerTests, EasyPictureIsNotMadeFinerThanCanBeSeenInMotion)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 100);
    encoder.encodeMovingSecond(10);
    const double bits = encoder.encodeMovingSecond(10);
    EXPECT_EQ(encoder.lastQuantizer, 20);
    EXPECT_LT(bits, bitsPerSecond);
}

// What comes out is known a picture or two later only.
TEST(RateControllerTests, PicturesAfterTheFirstAreAffordableBeforeItsCostIsKnown)
{
    RateController controller(bitsPerSecond, framesPerSecond, macroblocks);
    constexpr double detail = 2e8;
    const auto first = controller.plan(
        {.kind = PictureKind::keyframe, .changedMacroblocks = macroblocks, .detail = detail});
    const auto second = controller.plan(
        {.changedMacroblocks = macroblocks, .sinceLast = Seconds(1.0 / framesPerSecond), .detail = detail});
    EXPECT_FALSE(second.isNewScene);
    EXPECT_GT(second.quantizer, first.quantizer);
}

TEST(RateControllerTests, CostsOfAYoungSceneAreLearntAtOnce)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 24'000);
    for (int frame = 0; frame < framesPerSecond / 2; ++frame)
        encoder.encode(PictureKind::predicted, macroblocks, 1.0 / framesPerSecond, 600);
    const double bits = encoder.encodeMovingSecond(600);
    EXPECT_GT(bits, 0.6 * bitsPerSecond);
}

// A slow pan finds the picture before at some of its positions only.
TEST(RateControllerTests, PictureThatCostsNowMuchNowLittleKeepsItsQuality)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 24'000);
    const auto cost = [](int frame) { return frame % 10 == 0 ? 20'000.0 : 800.0; };
    for (int frame = 0; frame < 300; ++frame)
        encoder.encode(PictureKind::predicted, macroblocks, 1.0 / framesPerSecond, cost(frame));
    int coarsest = 0;
    int finest = 99;
    for (int frame = 0; frame < 60; ++frame) {
        encoder.encode(PictureKind::predicted, macroblocks, 1.0 / framesPerSecond, cost(frame));
        coarsest = std::max(coarsest, encoder.lastQuantizer);
        finest = std::min(finest, encoder.lastQuantizer);
    }
    EXPECT_LE(coarsest - finest, 4);
}

TEST(RateControllerTests, FirstPictureHasWhatItNeedsButLeavesMostOfASecondToTheNext)
{
    for (const double cost : {3000.0, 15'000.0, 40'000.0}) {
        ModelEncoder encoder;
        const double bits = encoder.encode(PictureKind::keyframe, macroblocks, 0, cost);
        EXPECT_LT(bits, 0.4 * bitsPerSecond) << "cost " << cost;
        EXPECT_GT(bits, 0.25 * bitsPerSecond) << "cost " << cost;
    }
}

TEST(RateControllerTests, SceneThatOpenedWithAnExpensivePictureIsNotStarvedForIt)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 10'000);
    encoder.controller.pictureEncoded({.kind = PictureKind::keyframe, .quantizer = 30}, bitsPerSecond);
    double least = 1e12;
    for (int frame = 0; frame < 15; ++frame)
        least = std::min(
            least, encoder.encode(PictureKind::predicted, macroblocks, 1.0 / framesPerSecond, 2000));
    EXPECT_GT(least, 0.15 * bitsPerSecond / framesPerSecond);
}

TEST(RateControllerTests, FirstPictureOfAMovingSceneIsLittleFinerThanTheOthers)
{
    RateController controller(bitsPerSecond, framesPerSecond, macroblocks);
    constexpr double detail = 2e8;
    const auto first = controller.plan({.kind = PictureKind::keyframe,
        .changedMacroblocks = macroblocks,
        .detail = detail,
        .motionShare = 1});
    const auto second
        = controller.plan({.changedMacroblocks = macroblocks, .sinceLast = Seconds(1.0 / framesPerSecond)});
    EXPECT_FALSE(second.isNewScene);
    EXPECT_LT(first.quantizer, second.quantizer);
    EXPECT_LE(second.quantizer - first.quantizer, 6);
}

TEST(RateControllerTests, MovingSceneBeginsFinerWhereItsPicturesAreAlike)
{
    const auto quantizers = [](double likeness) {
        RateController controller(bitsPerSecond, framesPerSecond, macroblocks);
        const auto first = controller.plan({.kind = PictureKind::keyframe,
            .changedMacroblocks = macroblocks,
            .detail = 2e8,
            .motionShare = 1,
            .likeness = likeness});
        const auto second = controller.plan(
            {.changedMacroblocks = macroblocks, .sinceLast = Seconds(1.0 / framesPerSecond)});
        return std::pair(first.quantizer, second.quantizer);
    };
    const auto unknown = quantizers(0);
    EXPECT_EQ(quantizers(0.3), unknown);
    EXPECT_EQ(quantizers(1.6), unknown);
    EXPECT_LT(quantizers(2).second, unknown.second);
    EXPECT_LE(quantizers(2.5).first, unknown.first);
    EXPECT_LE(quantizers(2.5).second, unknown.second - 6);
    EXPECT_EQ(quantizers(100), quantizers(2.5));
}

TEST(RateControllerTests, MovingSceneBeginsUntilOneOfItsPicturesIsKnown)
{
    RateController controller(bitsPerSecond, framesPerSecond, macroblocks);
    EXPECT_FALSE(controller.beginsMotion());
    const auto first = controller.plan(
        {.kind = PictureKind::keyframe, .changedMacroblocks = macroblocks, .detail = 2e8, .motionShare = 1});
    controller.pictureEncoded(first, 500'000);
    EXPECT_TRUE(controller.beginsMotion());
    const auto second
        = controller.plan({.changedMacroblocks = macroblocks, .sinceLast = Seconds(1.0 / framesPerSecond)});
    EXPECT_TRUE(controller.beginsMotion());
    controller.pictureEncoded(second, 100'000);
    EXPECT_FALSE(controller.beginsMotion());
}

// What moves may cost as much as in a keyframe; the third picture is as coarse as that needs.
TEST(RateControllerTests, MovingSceneThatCannotBePredictedIsPaidForByTwoPictures)
{
    RateController controller(bitsPerSecond, framesPerSecond, macroblocks);
    constexpr double cost = 10'000;
    const auto bitsOf = [](const RateController::Plan& plan) {
        return std::llround(cost * macroblocks / std::exp2(plan.quantizer / 6.0));
    };
    const auto first = controller.plan({.kind = PictureKind::keyframe,
        .changedMacroblocks = macroblocks,
        .detail = cost * macroblocks / 1.25,
        .motionShare = 1});
    controller.pictureEncoded(first, bitsOf(first));
    std::int64_t bits = 0;
    for (int frame = 1; frame <= 3; ++frame) {
        const auto plan = controller.plan(
            {.changedMacroblocks = macroblocks, .sinceLast = Seconds(1.0 / framesPerSecond)});
        bits = bitsOf(plan);
        controller.pictureEncoded(plan, bits);
    }
    EXPECT_TRUE(controller.knowsScene());
    EXPECT_LT(bits, 1.5 * bitsPerSecond / framesPerSecond);
}

TEST(RateControllerTests, StillPictureIsRefinedAsFarAsTheReserveGoes)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 10'000);
    const int coarse = encoder.lastQuantizer;
    const int finer = encoder.controller.refinedQuantizer(coarse, 10'000.0 * macroblocks);
    EXPECT_LT(finer, coarse);
    EXPECT_EQ(encoder.controller.refinedQuantizer(coarse, 0), RateController::finestQuantizer);
    EXPECT_EQ(encoder.controller.refinedQuantizer(finer, 10'000.0 * macroblocks), finer);
}

TEST(RateControllerTests, QuantizerOfASteadySceneDoesNotTremble)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 24'000);
    for (int second = 0; second < 10; ++second)
        encoder.encodeMovingSecond(3000);
    const int before = encoder.lastQuantizer;
    for (int frame = 0; frame < 60; ++frame) {
        encoder.encode(PictureKind::predicted, macroblocks, 1.0 / framesPerSecond, 3000);
        EXPECT_LE(std::abs(encoder.lastQuantizer - before), 1);
    }
}

TEST(RateControllerTests, SmallChangeOfADesktopIsFine)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 3000);
    encoder.encode(PictureKind::predicted, 10, 0.05, 3000);
    EXPECT_EQ(encoder.lastQuantizer, RateController::finestQuantizer);
}

TEST(RateControllerTests, NewSceneAfterARestIsCoarserThanASmallChange)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 40'000);
    for (int frame = 0; frame < 30; ++frame)
        encoder.encode(PictureKind::predicted, 10, 0.05, 3000);
    encoder.encode(PictureKind::predicted, macroblocks, 0.05, 20'000);
    EXPECT_GT(encoder.lastQuantizer, RateController::finestQuantizer + 4);
}

TEST(RateControllerTests, KeyframeWithinASceneStandsOutByLittle)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 40'000);
    for (int second = 0; second < 5; ++second)
        encoder.encodeMovingSecond(9000);
    const int moving = encoder.lastQuantizer;
    encoder.encode(PictureKind::keyframe, macroblocks, 1.0 / framesPerSecond, 40'000);
    EXPECT_GE(encoder.lastQuantizer, moving - 4);
    EXPECT_LE(encoder.lastQuantizer, moving + 2);
}

TEST(RateControllerTests, QuantizerStaysInItsRangeWhateverHappens)
{
    ModelEncoder encoder;
    for (const double cost : {1e12, 0.0, 1e12, 1.0}) {
        for (int frame = 0; frame < 100; ++frame) {
            encoder.encode(frame % 50 == 0 ? PictureKind::keyframe : PictureKind::predicted, frame % 7 * 1000,
                0.03, cost);
            EXPECT_GE(encoder.lastQuantizer, RateController::finestQuantizer);
            EXPECT_LE(encoder.lastQuantizer, RateController::coarsestQuantizer);
        }
    }
}

TEST(RateControllerTests, OwnMovementIsCoarserThanWhatProgramsCopy)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 100);
    encoder.encodeMovingSecond(10, Movement::own);
    encoder.encodeMovingSecond(10, Movement::own);
    EXPECT_EQ(encoder.lastQuantizer, 22);
}

TEST(RateControllerTests, KeyframeOfCopiedMovementIsAsFineAsCanBeAfforded)
{
    const auto quantizerOfKeyframe = [](Movement movement, double cost) {
        ModelEncoder encoder;
        encoder.encode(PictureKind::keyframe, macroblocks, 0, 3000);
        for (int second = 0; second < 8; ++second)
            encoder.encodeMovingSecond(cost, movement);
        encoder.encode(PictureKind::keyframe, macroblocks, 1.0 / framesPerSecond, 3000, movement);
        return encoder.lastQuantizer;
    };
    EXPECT_EQ(quantizerOfKeyframe(Movement::unknown, 50), 17);
    EXPECT_EQ(quantizerOfKeyframe(Movement::copied, 50), RateController::finestQuantizer);
    // Not where there is little left.
    EXPECT_GT(quantizerOfKeyframe(Movement::copied, 3000), 18);
}

TEST(RateControllerTests, LargeChangeAfterARestIsANewSceneHoweverOftenThereIsOne)
{
    ModelEncoder encoder;
    encoder.encode(PictureKind::keyframe, macroblocks, 0, 3000);
    encoder.encodeMovingSecond(500);
    constexpr int changed = macroblocks / 2;
    EXPECT_FALSE(encoder.controller.needsDetail(PictureKind::predicted, changed, false));
    EXPECT_TRUE(encoder.controller.needsDetail(PictureKind::predicted, changed, true));
    EXPECT_FALSE(encoder.controller.needsDetail(PictureKind::predicted, macroblocks / 50, true));
}

TEST(RateControllerTests, MotionThatTakesMostOfTheBitsIsBusy)
{
    const auto isBusy = [](double cost) {
        ModelEncoder encoder;
        encoder.encode(PictureKind::keyframe, macroblocks, 0, 8 * cost);
        encoder.encodeMovingSecond(cost, Movement::copied);
        return encoder.controller.isBusy();
    };
    EXPECT_TRUE(isBusy(300));
    EXPECT_FALSE(isBusy(100));
}

TEST(RateControllerTests, PicturesInBetweenAreNeededWhereBitsAreShort)
{
    const auto needs = [](double cost, bool already) {
        ModelEncoder encoder;
        encoder.encode(PictureKind::keyframe, macroblocks, 0, 8 * cost);
        encoder.encodeMovingSecond(cost, Movement::own);
        return encoder.controller.needsInBetween(already);
    };
    EXPECT_TRUE(needs(3000, false));
    EXPECT_TRUE(needs(3000, true));
    EXPECT_FALSE(needs(100, false));
    EXPECT_FALSE(needs(100, true));
    // So that they are not given up as soon as they have brought what they bring.
    constexpr double inTheMiddle = 300;
    EXPECT_FALSE(needs(inTheMiddle, false));
    EXPECT_TRUE(needs(inTheMiddle, true));
}

} // namespace
} // namespace glimto
