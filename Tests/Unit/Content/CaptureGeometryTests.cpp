#include "Content/CaptureGeometry.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

ContentFilter filterWithScale(std::optional<float> scale)
{
    return {WindowContentFilter{}, scale};
}

TEST(DisplayScaleTests, IsPixelsPerPoint)
{
    EXPECT_EQ(displayScale({1, {0, 0, 1512, 982}, 1512, 982, 3024, 1964}), 2.0);
}

TEST(DisplayScaleTests, IsTheLargerOfBothDirections)
{
    EXPECT_EQ(displayScale({1, {0, 0, 100, 100}, 100, 100, 100, 150}), 1.5);
    EXPECT_EQ(displayScale({1, {0, 0, 100, 100}, 100, 100, 250, 150}), 2.5);
}

TEST(DisplayScaleTests, SizeInPointsStandsInForAnEmptyFrame)
{
    EXPECT_EQ(displayScale({1, {}, 50, 100, 100, 100}), 2.0);
}

TEST(DisplayScaleTests, FrameGoesBeforeTheSizeInPoints)
{
    EXPECT_EQ(displayScale({1, {0, 0, 200, 200}, 100, 100, 200, 200}), 1.0);
}

TEST(DisplayScaleTests, IsOneWhenPixelsAreUnknown)
{
    const Display display = {1, {0, 0, 1920, 1080}, 1920, 1080, 0, 0};
    EXPECT_EQ(displayScale(display), 1.0);
    EXPECT_EQ(measuredDisplayScale(display), std::nullopt);
}

TEST(DisplayScaleTests, IsOneWhenPointsAreUnknown)
{
    const Display display = {1, {}, 0, 0, 1920, 1080};
    EXPECT_EQ(displayScale(display), 1.0);
    EXPECT_EQ(measuredDisplayScale(display), std::nullopt);
}

TEST(DisplayScaleTests, IsOneWhenTheQuotientIsNotFinite)
{
    const double tiny = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(displayScale({1, {0, 0, tiny, tiny}, 1, 1, 1920, 1080}), 1.0);
}

TEST(PixelScaleTests, FilterGoesBeforeTheDisplay)
{
    EXPECT_EQ(pixelScale(filterWithScale(1.5F), 2.0), 1.5);
}

TEST(PixelScaleTests, DisplayStandsInForAnAbsentOrUnusableScale)
{
    EXPECT_EQ(pixelScale(filterWithScale(std::nullopt), 2.0), 2.0);
    EXPECT_EQ(pixelScale(filterWithScale(0.0F), 2.0), 2.0);
    EXPECT_EQ(pixelScale(filterWithScale(-1.0F), 2.0), 2.0);
    EXPECT_EQ(pixelScale(filterWithScale(std::numeric_limits<float>::infinity()), 2.0), 2.0);
    EXPECT_EQ(pixelScale(filterWithScale(std::nanf("")), 2.0), 2.0);
}

TEST(WholePixelsTests, RoundsHalfAwayFromZero)
{
    EXPECT_EQ(wholePixels(2.5), 3);
    EXPECT_EQ(wholePixels(-2.5), -3);
    EXPECT_EQ(wholePixels(2.4999), 2);
}

TEST(WholePixelsTests, RefusesWhatAnIntCannotHold)
{
    EXPECT_THROW(wholePixels(3e9), CLIError);
    EXPECT_THROW(wholePixels(-3e9), CLIError);
    EXPECT_THROW(wholePixels(std::nan("")), CLIError);
    EXPECT_EQ(wholePixels(2147483647.0), 2147483647);
}

} // namespace
} // namespace glimto
