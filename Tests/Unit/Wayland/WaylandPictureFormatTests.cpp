#include "Backends/Wayland/WaylandPictureFormat.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::uint32_t argb8888 = 0;
constexpr std::uint32_t xrgb8888 = 1;

TEST(WaylandPictureFormatTests, TheTwoOldNumbersAndThoseOfDRMAreKnown)
{
    EXPECT_EQ((WaylandPictureFormat{.format = argb8888}.pixelFormat()), PixelFormat::argb8888);
    EXPECT_EQ((WaylandPictureFormat{.format = xrgb8888}.pixelFormat()), PixelFormat::xrgb8888);
    EXPECT_EQ((WaylandPictureFormat{.format = fourCharacterCode('X', 'B', '3', '0')}.pixelFormat()),
        PixelFormat::xbgr2101010);
    EXPECT_EQ((WaylandPictureFormat{.format = 4711}.pixelFormat()), std::nullopt);
}

TEST(WaylandPictureFormatTests, SizesAndRowsAreBounded)
{
    const auto isUsable = [](std::uint32_t width, std::uint32_t height, std::uint32_t bytesPerRow) {
        return WaylandPictureFormat{xrgb8888, width, height, bytesPerRow}.isUsable();
    };
    EXPECT_TRUE(isUsable(1920, 1080, 7680));
    EXPECT_TRUE(isUsable(1919, 1080, 7680));
    EXPECT_FALSE(isUsable(1921, 1080, 7680));
    EXPECT_FALSE(isUsable(0, 1080, 7680));
    EXPECT_FALSE(isUsable(1920, 0, 7680));
    EXPECT_FALSE(isUsable(1920, 0xffffffff, 7680));
    EXPECT_FALSE(isUsable(0x40000001, 1, 4));
    EXPECT_FALSE(isUsable(1, 1, 0xffffffff));
    EXPECT_FALSE(isUsable(32767, 32767, 131068));
}

} // namespace
} // namespace glimto
