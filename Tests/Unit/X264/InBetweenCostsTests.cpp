#include "Backends/X264/InBetweenCosts.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(InBetweenCostsTests, NothingIsKnownWithoutPicturesOfBothKinds)
{
    InBetweenCosts onlyOthers;
    onlyOthers.learn(false, 30, 100'000);
    EXPECT_EQ(onlyOthers.share(), 0);
    InBetweenCosts onlyInBetween;
    onlyInBetween.learn(true, 30, 100'000);
    EXPECT_EQ(onlyInBetween.share(), 0);
}

TEST(InBetweenCostsTests, SharesAreThoseAtTheSameQuantizer)
{
    InBetweenCosts costs;
    costs.learn(false, 30, 100'000);
    costs.learn(true, 36, 10'000); // which would be 20'000 at 30
    EXPECT_DOUBLE_EQ(costs.share(), 0.2);
}

TEST(InBetweenCostsTests, OnePictureOfAnotherKindOfSceneChangesLittle)
{
    InBetweenCosts costs;
    for (int picture = 0; picture < 30; ++picture) {
        costs.learn(false, 30, 100'000);
        costs.learn(true, 30, 20'000);
    }
    costs.learn(true, 30, 100'000);
    EXPECT_LT(costs.share(), 0.3);
    for (int picture = 0; picture < 30; ++picture)
        costs.learn(true, 30, 100'000);
    EXPECT_GT(costs.share(), 0.9);
}

} // namespace
} // namespace glimto
