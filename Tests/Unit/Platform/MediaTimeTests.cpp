#include "Platform/MediaTime.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(MediaTimeTests, IsInvalidUnlessTheTimescaleIsPositive)
{
    EXPECT_FALSE(MediaTime{}.isValid());
    EXPECT_FALSE((MediaTime{5, -1}).isValid());
    EXPECT_TRUE((MediaTime{-5, 1}).isValid());
}

TEST(MediaTimeTests, SecondsAreValueOverTimescale)
{
    EXPECT_EQ((MediaTime{3, 2}).seconds(), 1.5);
    EXPECT_EQ((MediaTime{-1, 4}).seconds(), -0.25);
}

TEST(MediaTimeTests, FromSecondsRoundsHalfAwayFromZero)
{
    EXPECT_EQ(MediaTime::fromSeconds(4.0, 600), (MediaTime{2400, 600}));
    EXPECT_EQ(MediaTime::fromSeconds(0.25, 2), (MediaTime{1, 2}));
    EXPECT_EQ(MediaTime::fromSeconds(-0.25, 2), (MediaTime{-1, 2}));
    EXPECT_EQ(MediaTime::fromSeconds(0.24, 2), (MediaTime{0, 2}));
}

TEST(MediaTimeTests, ConversionRoundsHalfAwayFromZero)
{
    EXPECT_EQ((MediaTime{1, 2}).converted(1), (MediaTime{1, 1}));
    EXPECT_EQ((MediaTime{-1, 2}).converted(1), (MediaTime{-1, 1}));
    EXPECT_EQ((MediaTime{1, 3}).converted(1), (MediaTime{0, 1}));
    EXPECT_EQ((MediaTime{2, 3}).converted(1'000'000'000), (MediaTime{666'666'667, 1'000'000'000}));
}

TEST(MediaTimeTests, ConversionOfLongUptimesDoesNotOverflow)
{
    const std::int64_t tenYears = 10LL * 365 * 86'400;
    EXPECT_EQ(
        (MediaTime{tenYears * 1'000'000'000, 1'000'000'000}).converted(90'000).value, tenYears * 90'000);
    EXPECT_EQ((MediaTime{tenYears * 90'000, 90'000}).nanoseconds(), tenYears * 1'000'000'000);
}

TEST(MediaTimeTests, DifferenceKeepsACommonTimescale)
{
    EXPECT_EQ((MediaTime{700, 600}) - (MediaTime{100, 600}), (MediaTime{600, 600}));
}

TEST(MediaTimeTests, DifferenceOfTwoTimescalesIsInNanoseconds)
{
    EXPECT_EQ((MediaTime{3, 2}) - (MediaTime{1, 4}), (MediaTime{1'250'000'000, 1'000'000'000}));
}

TEST(MediaTimeTests, OrderIsThatOfTheTimeNotOfTheValues)
{
    EXPECT_TRUE((MediaTime{1, 2}) < (MediaTime{1, 1}));
    EXPECT_FALSE((MediaTime{600, 600}) < (MediaTime{1, 1}));
    EXPECT_TRUE((MediaTime{-1, 1}) < (MediaTime{0, 600}));
}

} // namespace
} // namespace glimto
