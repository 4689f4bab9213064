#include "Backends/X11/Connection/X11PixelRects.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace glimto {
namespace {

bool covers(const std::vector<PixelRect>& boxes, int x, int y)
{
    return std::any_of(boxes.begin(), boxes.end(), [&](const PixelRect& box) {
        return x >= box.x && x < box.x + box.width && y >= box.y && y < box.y + box.height;
    });
}

TEST(X11PixelRectsTests, FewRectanglesStayAsTheyAre)
{
    const std::vector<PixelRect> rects = {{1, 2, 3, 4}, {50, 60, 7, 8}};
    EXPECT_EQ(coalesced(rects, 2), rects);
    EXPECT_TRUE(coalesced({}, 2).empty());
}

TEST(X11PixelRectsTests, ManyRectanglesBecomeFewThatCoverThemAll)
{
    std::vector<PixelRect> rects;
    for (int index = 0; index < 500; ++index)
        rects.push_back({(index * 37) % 1900, (index * 91) % 1070, 5, 5});
    const auto boxes = coalesced(rects, 64);
    EXPECT_LE(boxes.size(), 64U);
    for (const PixelRect& rect : rects) {
        EXPECT_TRUE(covers(boxes, rect.x, rect.y));
        EXPECT_TRUE(covers(boxes, rect.x + rect.width - 1, rect.y + rect.height - 1));
    }
}

TEST(X11PixelRectsTests, DistantGroupsAreNotBridged)
{
    std::vector<PixelRect> rects;
    for (int index = 0; index < 40; ++index) {
        rects.push_back({2 * index, 0, 1, 1});
        rects.push_back({1800 + 2 * index, 1000, 1, 1});
    }
    const auto boxes = coalesced(rects, 64);
    EXPECT_FALSE(covers(boxes, 900, 500));
    EXPECT_FALSE(covers(boxes, 900, 0));
}

TEST(X11PixelRectsTests, ContentOfTheSameShapeFillsThePicture)
{
    EXPECT_EQ(aspectFitRect({800, 600}, {400, 300}), (PixelRect{0, 0, 400, 300}));
}

TEST(X11PixelRectsTests, WideContentGetsBarsAboveAndBelow)
{
    EXPECT_EQ(aspectFitRect({200, 100}, {100, 100}), (PixelRect{0, 25, 100, 50}));
}

TEST(X11PixelRectsTests, NarrowContentGetsBarsAtTheSides)
{
    EXPECT_EQ(aspectFitRect({800, 600}, {1280, 720}), (PixelRect{160, 0, 960, 720}));
}

TEST(X11PixelRectsTests, ExtremeShapesKeepAtLeastOnePixel)
{
    EXPECT_EQ(aspectFitRect({10000, 1}, {100, 100}).height, 1);
    EXPECT_EQ(aspectFitRect({1, 10000}, {100, 100}).width, 1);
}

TEST(X11PixelRectsTests, OriginsAreMovedInside)
{
    EXPECT_EQ(clampedOrigin(5, 10, 100), 5);
    EXPECT_EQ(clampedOrigin(-3, 10, 100), 0);
    EXPECT_EQ(clampedOrigin(99, 2, 100), 98);
    EXPECT_EQ(clampedOrigin(7, 200, 100), 0);
}

TEST(X11PixelRectsTests, AnEmptyRectangleAddsNothingToBounds)
{
    EXPECT_EQ(boundingRect({}, {4, 5, 6, 7}), (PixelRect{4, 5, 6, 7}));
    EXPECT_EQ(boundingRect({4, 5, 6, 7}, {}), (PixelRect{4, 5, 6, 7}));
    EXPECT_EQ(boundingRect({0, 0, 1, 1}, {9, 9, 1, 1}), (PixelRect{0, 0, 10, 10}));
}

} // namespace
} // namespace glimto
