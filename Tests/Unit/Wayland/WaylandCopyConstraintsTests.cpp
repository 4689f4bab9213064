#include "Backends/Wayland/WaylandCopyConstraints.h"

#include <initializer_list>

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::uint32_t argb8888 = 0;
constexpr std::uint32_t xrgb8888 = 1;
constexpr std::uint32_t xbgr8888 = fourCharacterCode('X', 'B', '2', '4');
constexpr std::uint32_t bgr888 = fourCharacterCode('B', 'G', '2', '4');
constexpr std::uint32_t rgb565 = fourCharacterCode('R', 'G', '1', '6');
constexpr std::uint32_t unknown = 4711;

WaylandCopyConstraints told(std::uint32_t width, std::initializer_list<std::uint32_t> formats)
{
    WaylandCopyConstraints constraints;
    for (const std::uint32_t format : formats)
        constraints.tellFormat(format);
    constraints.tellSize(width, 10);
    constraints.tellDone();
    return constraints;
}

std::uint32_t bestOf(std::initializer_list<std::uint32_t> formats)
{
    const auto best = told(8, formats).best();
    return best ? best->format : unknown;
}

TEST(WaylandCopyConstraintsTests, NothingIsKnownBeforeAllWasTold)
{
    WaylandCopyConstraints constraints;
    constraints.tellSize(20, 10);
    constraints.tellFormat(xrgb8888);
    EXPECT_FALSE(constraints.areKnown());
    EXPECT_EQ(constraints.best(), std::nullopt);
    constraints.tellDone();
    EXPECT_TRUE(constraints.areKnown());
    EXPECT_EQ(constraints.best(), (WaylandPictureFormat{xrgb8888, 20, 10, 80}));
}

TEST(WaylandCopyConstraintsTests, PixelsThatServeAsTheyStandComeFirst)
{
    EXPECT_EQ(bestOf({rgb565, xbgr8888, xrgb8888}), xrgb8888);
    EXPECT_EQ(bestOf({rgb565, argb8888, xbgr8888}), argb8888);
    EXPECT_EQ(bestOf({rgb565, xbgr8888}), xbgr8888);
    EXPECT_EQ(bestOf({unknown, rgb565}), rgb565);
}

TEST(WaylandCopyConstraintsTests, FormatsThatAreNotKnownAreNoFormats)
{
    const auto constraints = told(8, {unknown});
    EXPECT_TRUE(constraints.areKnown());
    EXPECT_EQ(constraints.best(), std::nullopt);
    EXPECT_EQ(told(8, {}).best(), std::nullopt);
}

TEST(WaylandCopyConstraintsTests, RowsBeginAtWords)
{
    EXPECT_EQ(told(3, {rgb565}).best()->bytesPerRow, 8U);
    EXPECT_EQ(told(5, {bgr888}).best()->bytesPerRow, 16U);
    EXPECT_EQ(told(5, {xrgb8888}).best()->bytesPerRow, 20U);
}

TEST(WaylandCopyConstraintsTests, WhatIsToldAgainReplacesWhatWasTold)
{
    auto constraints = told(8, {xrgb8888});
    constraints.tellSize(30, 20);
    constraints.tellFormat(rgb565);
    EXPECT_EQ(constraints.best()->width, 8U);
    constraints.tellDone();
    EXPECT_EQ(constraints.best(), (WaylandPictureFormat{rgb565, 30, 20, 60}));
}

TEST(WaylandCopyConstraintsTests, SizesThatMakeNoSenseAreNotUsable)
{
    EXPECT_FALSE(told(0, {xrgb8888}).best()->isUsable());
    EXPECT_FALSE(told(0xffffffff, {xrgb8888}).best()->isUsable());
    EXPECT_FALSE(told(0x40000001, {xrgb8888}).best()->isUsable());
}

} // namespace
} // namespace glimto
