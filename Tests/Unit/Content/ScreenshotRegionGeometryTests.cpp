#include "Content/ScreenshotRegionGeometry.h"

#include <limits>

#include <gtest/gtest.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

TEST(ScreenshotRegionGeometryTests, WholePointsAreCapturedAndKept)
{
    const ScreenshotRegionGeometry geometry({10, 20, 30, 40}, 1);
    EXPECT_EQ(geometry.sourceRect, (Rect{10, 20, 30, 40}));
    EXPECT_EQ(geometry.pixelWidth, 30);
    EXPECT_EQ(geometry.pixelHeight, 40);
    EXPECT_EQ(geometry.pixelCropRect, (PixelRect{0, 0, 30, 40}));
}

TEST(ScreenshotRegionGeometryTests, FractionsAreCapturedWholeAndCutOut)
{
    const ScreenshotRegionGeometry geometry({0.6, 0.6, 10.3, 10.3}, 2);
    EXPECT_EQ(geometry.sourceRect, (Rect{0, 0, 11, 11}));
    EXPECT_EQ(geometry.pixelWidth, 22);
    EXPECT_EQ(geometry.pixelHeight, 22);
    EXPECT_EQ(geometry.pixelCropRect, (PixelRect{1, 1, 21, 21}));
}

TEST(ScreenshotRegionGeometryTests, BothDirectionsAreIndependent)
{
    const ScreenshotRegionGeometry geometry({5.5, 8, 4, 2.5}, 1);
    EXPECT_EQ(geometry.sourceRect, (Rect{5, 8, 5, 3}));
    EXPECT_EQ(geometry.pixelWidth, 5);
    EXPECT_EQ(geometry.pixelHeight, 3);
    EXPECT_EQ(geometry.pixelCropRect, (PixelRect{1, 0, 4, 3}));
}

TEST(ScreenshotRegionGeometryTests, CropHasAtLeastOnePixel)
{
    const ScreenshotRegionGeometry geometry({3.2, 3.2, 0.1, 0.1}, 1);
    EXPECT_EQ(geometry.sourceRect, (Rect{3, 3, 1, 1}));
    EXPECT_EQ(geometry.pixelCropRect, (PixelRect{0, 0, 1, 1}));
}

TEST(ScreenshotRegionGeometryTests, CropStaysInsideAtTheRightAndBottomEdge)
{
    // The offset of half a pixel rounds up, and the size does too.
    const ScreenshotRegionGeometry geometry({0.5, 0.5, 9.5, 9.5}, 1);
    EXPECT_EQ(geometry.pixelWidth, 10);
    EXPECT_EQ(geometry.pixelCropRect, (PixelRect{0, 0, 10, 10}));

    const ScreenshotRegionGeometry shifted({0.5, 0.5, 8.5, 8.5}, 1);
    EXPECT_EQ(shifted.pixelWidth, 9);
    EXPECT_EQ(shifted.pixelCropRect, (PixelRect{0, 0, 9, 9}));
}

TEST(ScreenshotRegionGeometryTests, CaptureHasAtLeastOnePixelEvenAtATinyScale)
{
    const ScreenshotRegionGeometry geometry({0.9, 0.9, 0.1, 0.1}, 0.01);
    EXPECT_EQ(geometry.pixelWidth, 1);
    EXPECT_EQ(geometry.pixelHeight, 1);
    EXPECT_EQ(geometry.pixelCropRect, (PixelRect{0, 0, 1, 1}));
}

TEST(ScreenshotRegionGeometryTests, SizesBeyondAllNumbersAreRefused)
{
    EXPECT_THROW(ScreenshotRegionGeometry({0, 0, 1e18, 10}, 2), CLIError);
    EXPECT_THROW(ScreenshotRegionGeometry({0, 0, std::numeric_limits<double>::infinity(), 10}, 2), CLIError);
}

} // namespace
} // namespace glimto
