#include "Platform/Geometry.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(RectTests, LeftAndTopEdgesBelongToItRightAndBottomDoNot)
{
    const Rect rect = {10, 20, 30, 40};
    EXPECT_TRUE(rect.contains({10, 20}));
    EXPECT_TRUE(rect.contains({39.999, 59.999}));
    EXPECT_FALSE(rect.contains({40, 30}));
    EXPECT_FALSE(rect.contains({20, 60}));
    EXPECT_FALSE(rect.contains({9.999, 30}));
}

TEST(RectTests, IsEmptyWithoutWidthOrHeight)
{
    EXPECT_TRUE((Rect{0, 0, 0, 5}).isEmpty());
    EXPECT_TRUE((Rect{0, 0, 5, -1}).isEmpty());
    EXPECT_TRUE((Rect{0, 0, std::nan(""), 5}).isEmpty());
    EXPECT_FALSE((Rect{0, 0, 0.001, 0.001}).isEmpty());
}

TEST(RectTests, AreaOfAnEmptyOneIsZero)
{
    EXPECT_EQ((Rect{0, 0, -3, -4}).area(), 0);
    EXPECT_EQ((Rect{1, 2, 3, 4}).area(), 12);
}

TEST(RectTests, IsFiniteOnlyWhenEveryComponentIs)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_TRUE((Rect{-1, 2, 3, 4}).isFinite());
    EXPECT_FALSE((Rect{infinity, 2, 3, 4}).isFinite());
    EXPECT_FALSE((Rect{1, std::nan(""), 3, 4}).isFinite());
    EXPECT_FALSE((Rect{1, 2, -infinity, 4}).isFinite());
    EXPECT_FALSE((Rect{1, 2, 3, infinity}).isFinite());
}

TEST(RectTests, IntersectionIsTheCommonPart)
{
    EXPECT_EQ(intersection(Rect{0, 0, 10, 10}, Rect{5, -5, 10, 10}), (Rect{5, 0, 5, 5}));
}

TEST(RectTests, IntersectionOfTouchingOrDistantOnesIsEmpty)
{
    EXPECT_TRUE(intersection(Rect{0, 0, 10, 10}, Rect{10, 0, 10, 10}).isEmpty());
    EXPECT_TRUE(intersection(Rect{0, 0, 10, 10}, Rect{50, 50, 10, 10}).isEmpty());
}

TEST(RectTests, IntegralIsTheSmallestOfWholePointsAround)
{
    EXPECT_EQ(integral({0.6, 0.6, 10.3, 10.3}), (Rect{0, 0, 11, 11}));
    EXPECT_EQ(integral({-0.5, 2, 1, 3}), (Rect{-1, 2, 2, 3}));
    EXPECT_EQ(integral({3, 4, 5, 6}), (Rect{3, 4, 5, 6}));
}

TEST(PixelRectTests, IntersectionIsTheCommonPart)
{
    EXPECT_EQ(intersection(PixelRect{0, 0, 10, 10}, PixelRect{-2, 8, 5, 5}), (PixelRect{0, 8, 3, 2}));
}

TEST(PixelRectTests, IntersectionOfTouchingOnesIsEmpty)
{
    EXPECT_TRUE(intersection(PixelRect{0, 0, 10, 10}, PixelRect{0, 10, 10, 10}).isEmpty());
}

} // namespace
} // namespace glimto
