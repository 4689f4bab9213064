#include "Backends/X11/Pictures/X11PixelFormat.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(X11PixelFormatTests, RowsArePaddedAsTheServerPadsThem)
{
    constexpr X11PixelFormat highColour = {.format = PixelFormat::rgb565};
    EXPECT_EQ(X11PixelFormat().bytesPerRow(3), 12U);
    EXPECT_EQ(highColour.bytesPerRow(2), 4U);
    EXPECT_EQ(highColour.bytesPerRow(3), 8U);
    EXPECT_EQ(highColour.byteCount({3, 5}), 40U);
}

TEST(X11PixelFormatTests, PixelsLieAsTheFormatSays)
{
    constexpr X11PixelFormat highColour = {.format = PixelFormat::rgb565};
    std::uint8_t bytes[16] = {};
    const PixelCanvas pixels = highColour.pixels(bytes, {3, 2}, nullptr);
    EXPECT_EQ(pixels.format, PixelFormat::rgb565);
    EXPECT_EQ(pixels.pixelAt(1, 1), bytes + 10);
}

} // namespace
} // namespace glimto
