#include "Backends/X11/Pointer/X11Touches.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Kind = X11RawAddition::Kind;

X11Touches::Touch finger(std::uint32_t id, double x, double y, std::uint16_t device = 8)
{
    return {.device = device, .id = id, .stamp = 5, .x = x, .y = y};
}

TEST(X11TouchesTests, TheFirstFingerIsThePointer)
{
    X11Touches touches;
    const auto began = touches.begin(finger(1, 10.7, 20.2));
    ASSERT_TRUE(began);
    EXPECT_EQ(began->kind, Kind::touchBegin);
    EXPECT_EQ(began->location, (Point{10, 20}));
    EXPECT_EQ(began->stamp, 5U);
    const auto moved = touches.move(finger(1, 30, 40));
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->location, (Point{30, 40}));
    const auto ended = touches.end(finger(1, 31, 41));
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->kind, Kind::touchEnd);
    EXPECT_EQ(ended->location, (Point{31, 41}));
}

TEST(X11TouchesTests, AFingerThatJoinsCountsForNothingAlsoWhenItStaysLonger)
{
    X11Touches touches;
    touches.begin(finger(1, 10, 20));
    EXPECT_FALSE(touches.begin(finger(2, 50, 60)));
    EXPECT_FALSE(touches.move(finger(2, 51, 61)));
    EXPECT_TRUE(touches.end(finger(1, 10, 20)));
    EXPECT_FALSE(touches.begin(finger(3, 70, 80)));
    EXPECT_FALSE(touches.end(finger(2, 51, 61)));
    EXPECT_FALSE(touches.end(finger(3, 70, 80)));
    EXPECT_TRUE(touches.begin(finger(4, 1, 1)));
}

TEST(X11TouchesTests, AnAxisThatRestsIsLeftOut)
{
    X11Touches touches;
    touches.begin(finger(1, 10, 20));
    const auto moved = touches.move({.device = 8, .id = 1, .stamp = 6, .x = 15, .y = {}});
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->location, (Point{15, 20}));
}

TEST(X11TouchesTests, ScreensHaveFingersOfTheirOwn)
{
    X11Touches touches;
    EXPECT_TRUE(touches.begin(finger(1, 10, 20, 8)));
    EXPECT_TRUE(touches.begin(finger(1, 10, 20, 9)));
}

TEST(X11TouchesTests, AFingerThatWasThereBeforeIsNotHeardOf)
{
    X11Touches touches;
    EXPECT_FALSE(touches.move(finger(1, 10, 20)));
    EXPECT_FALSE(touches.end(finger(1, 10, 20)));
}

TEST(X11TouchesTests, ADeviceThatGoesLiftsItsFingers)
{
    X11Touches touches;
    touches.begin(finger(1, 10, 20));
    touches.begin(finger(2, 50, 60));
    const auto ended = touches.endAll(7);
    ASSERT_EQ(ended.size(), 1U);
    EXPECT_EQ(ended[0].kind, Kind::touchEnd);
    EXPECT_EQ(ended[0].location, (Point{10, 20}));
    EXPECT_EQ(ended[0].stamp, 7U);
    EXPECT_TRUE(touches.begin(finger(3, 1, 1)));
}

} // namespace
} // namespace glimto
