#include "Platform/StillCapture.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(StillImageTests, ACopyHasTheRowsWithoutWhatLiesBetweenThem)
{
    const std::array<std::uint8_t, 24> bytes
        = {1, 2, 3, 4, 5, 6, 7, 8, 90, 91, 92, 93, 11, 12, 13, 14, 15, 16, 17, 18};
    const PixelBuffer pixels
        = {.width = 2, .height = 2, .bytesPerRow = 12, .bytes = bytes.data(), .storage = {}};
    const auto copy = StillImage::copyOf(pixels);
    EXPECT_EQ(copy.width, 2);
    EXPECT_EQ(copy.height, 2);
    EXPECT_EQ(copy.bytesPerRow, 8U);
    EXPECT_EQ(std::vector<int>(copy.bytes, copy.bytes + 16),
        (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 11, 12, 13, 14, 15, 16, 17, 18}));
}

TEST(StillImageTests, ItsPixelsKeepItAlive)
{
    const std::array<std::uint8_t, 4> bytes = {1, 2, 3, 4};
    auto image = StillImage::copyOf(
        {.width = 1, .height = 1, .bytesPerRow = 4, .bytes = bytes.data(), .storage = {}});
    const auto pixels = image.pixels();
    image = {};
    EXPECT_EQ(pixels.bytes[2], 3);
    EXPECT_NE(pixels.storage, nullptr);
}

} // namespace
} // namespace glimto
