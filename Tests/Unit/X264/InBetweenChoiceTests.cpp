#include <gtest/gtest.h>

#include "Backends/X264/InBetweenCosts.h"

namespace glimto {
namespace {

TEST(InBetweenChoiceTests, WhatIsNeededIsChosen)
{
    InBetweenChoice choice;
    EXPECT_TRUE(choice.chosen());
    EXPECT_TRUE(choice.choose(true, 100));
    EXPECT_FALSE(choice.choose(false, 100));
    EXPECT_TRUE(choice.choose(true, 100));
}

TEST(InBetweenChoiceTests, PicturesGoWithoutAsLongAsThatIsCheap)
{
    InBetweenChoice choice;
    choice.choose(true, 100);
    for (int picture = 0; picture < 100; ++picture)
        EXPECT_FALSE(choice.choose(false, 120));
}

TEST(InBetweenChoiceTests, WhatProvesDearIsNotTriedAgain)
{
    InBetweenChoice choice;
    choice.choose(true, 100);
    choice.choose(false, 100);
    int without = 0;
    while (!choice.choose(false, 150) && without < 100)
        ++without;
    EXPECT_EQ(without, 23);
    for (int picture = 0; picture < 100; ++picture)
        EXPECT_TRUE(choice.choose(false, 90));
}

} // namespace
} // namespace glimto
