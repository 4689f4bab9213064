#include "Backends/X11/Pictures/X11PixelFormat.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr X11PixelFormat deepColour
    = {.bitsPerPixel = 32, .scanlinePad = 32, .red = {20, 10}, .green = {10, 10}, .blue = {0, 10}};
constexpr X11PixelFormat highColour
    = {.bitsPerPixel = 16, .scanlinePad = 32, .red = {11, 5}, .green = {5, 6}, .blue = {0, 5}};

// One pixel of a format as B, G, R, X.
std::vector<int> converted(const X11PixelFormat& format, std::uint32_t pixel)
{
    std::uint8_t source[4];
    std::memcpy(source, &pixel, sizeof source);
    std::uint8_t target[4];
    X11PixelConverter(format).convertRow(source, target, 1);
    return {target[0], target[1], target[2], target[3]};
}

TEST(X11PixelFormatTests, AChannelIsReadFromItsMask)
{
    const auto green = X11ColourChannel::fromMask(0x7e0);
    EXPECT_EQ(green.shift, 5);
    EXPECT_EQ(green.bits, 6);
    const auto red = X11ColourChannel::fromMask(0x3ff00000);
    EXPECT_EQ(red.shift, 20);
    EXPECT_EQ(red.bits, 10);
}

TEST(X11PixelFormatTests, AMaskThatMeansNoChannelHasNoBits)
{
    for (const std::uint32_t mask : {0U, 0x5U, 0xff00ffU, 0x1ffffU})
        EXPECT_EQ(X11ColourChannel::fromMask(mask).bits, 0) << mask;
}

TEST(X11PixelFormatTests, OnlyEightBitsAChannelInTheUsualOrderArePlain)
{
    EXPECT_TRUE(X11PixelFormat().isPlain());
    EXPECT_FALSE(deepColour.isPlain());
    EXPECT_FALSE(highColour.isPlain());
    X11PixelFormat swapped;
    std::swap(swapped.red, swapped.blue);
    EXPECT_FALSE(swapped.isPlain());
}

TEST(X11PixelFormatTests, RowsArePaddedAsTheServerPadsThem)
{
    EXPECT_EQ(X11PixelFormat().bytesPerRow(3), 12U);
    EXPECT_EQ(highColour.bytesPerRow(2), 4U);
    EXPECT_EQ(highColour.bytesPerRow(3), 8U);
}

TEST(X11PixelFormatTests, FiveAndSixBitsReachFromBlackToWhite)
{
    EXPECT_EQ(converted(highColour, 0x0000), (std::vector<int>{0, 0, 0, 255}));
    EXPECT_EQ(converted(highColour, 0xffff), (std::vector<int>{255, 255, 255, 255}));
    // 16/31, 32/63 and 1/31 of 255.
    EXPECT_EQ(converted(highColour, (1U << 11U) | (32U << 5U) | 16U), (std::vector<int>{132, 130, 8, 255}));
}

TEST(X11PixelFormatTests, TenBitsAreRoundedToTheNearestOfEight)
{
    EXPECT_EQ(converted(deepColour, 0x3fffffff), (std::vector<int>{255, 255, 255, 255}));
    // 2/1023 of 255 is 0.4985, 3/1023 is 0.748 and 512/1023 is 127.6.
    EXPECT_EQ(converted(deepColour, (512U << 20U) | (3U << 10U) | 2U), (std::vector<int>{0, 1, 128, 255}));
}

TEST(X11PixelFormatTests, EightBitsInAnotherOrderStayAsTheyAre)
{
    X11PixelFormat swapped;
    std::swap(swapped.red, swapped.blue);
    EXPECT_EQ(converted(swapped, 0x00112233), (std::vector<int>{0x11, 0x22, 0x33, 255}));
}

TEST(X11PixelFormatTests, ARowIsConvertedPixelByPixel)
{
    const std::vector<std::uint8_t> row = {0x00, 0xf8, 0xe0, 0x07, 0x1f, 0x00};
    std::vector<std::uint8_t> target(12);
    X11PixelConverter(highColour).convertRow(row.data(), target.data(), 3);
    EXPECT_EQ(target, (std::vector<std::uint8_t>{0, 0, 255, 255, 0, 255, 0, 255, 255, 0, 0, 255}));
}

} // namespace
} // namespace glimto
