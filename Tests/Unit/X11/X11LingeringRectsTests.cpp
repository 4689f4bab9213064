#include "Backends/X11/Pictures/X11LingeringRects.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

constexpr X11LingeringRects::TimePoint start{};
constexpr PixelRect left{0, 0, 10, 10};
constexpr PixelRect right{50, 0, 10, 10};

TEST(X11LingeringRectsTests, WhatIsGoneStaysForAWhile)
{
    X11LingeringRects rects;
    rects.update({left}, start, 500ms);
    EXPECT_EQ(rects.update({right}, start + 1s, 500ms), (std::vector<PixelRect>{right, left}));
    EXPECT_EQ(rects.update({right}, start + 1400ms, 500ms), (std::vector<PixelRect>{right, left}));
    EXPECT_EQ(rects.update({right}, start + 1500ms, 500ms), (std::vector<PixelRect>{right}));
}

TEST(X11LingeringRectsTests, TellsWhenSomethingExpires)
{
    X11LingeringRects rects;
    rects.update({left}, start, 500ms);
    rects.update({}, start, 500ms);
    EXPECT_FALSE(rects.hasExpired(start + 499ms));
    EXPECT_TRUE(rects.hasExpired(start + 500ms));
    EXPECT_TRUE(rects.update({}, start + 500ms, 500ms).empty());
    EXPECT_FALSE(rects.hasExpired(start + 1h));
}

TEST(X11LingeringRectsTests, WithoutADurationNothingStays)
{
    X11LingeringRects rects;
    rects.update({left}, start, 0ms);
    EXPECT_TRUE(rects.update({}, start, 0ms).empty());
}

} // namespace
} // namespace glimto
