#include "Platform/PixelFormat.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(PixelFormatTests, NumbersAreThoseOfDRM)
{
    EXPECT_EQ(static_cast<std::uint32_t>(PixelFormat::xrgb8888), 0x34325258U);
    EXPECT_EQ(static_cast<std::uint32_t>(PixelFormat::xbgr2101010), 0x30334258U);
    EXPECT_EQ(static_cast<std::uint32_t>(PixelFormat::rgb565), 0x36314752U);
}

TEST(PixelFormatTests, EveryFormatIsFoundByItsNumber)
{
    EXPECT_EQ(pixelFormats().size(), 18U);
    for (const PixelFormat format : pixelFormats())
        EXPECT_EQ(pixelFormatOfCode(static_cast<std::uint32_t>(format)), format);
    EXPECT_EQ(pixelFormatOfCode(0), std::nullopt);
    EXPECT_EQ(pixelFormatOfCode(fourCharacterCode('N', 'V', '1', '2')), std::nullopt);
}

TEST(PixelFormatTests, ColoursDoNotOverlapAndStayWithinThePixel)
{
    for (const PixelFormat format : pixelFormats()) {
        const PixelLayout layout = layoutOf(format);
        const std::uint32_t red = layout.red.mask();
        const std::uint32_t green = layout.green.mask();
        const std::uint32_t blue = layout.blue.mask();
        EXPECT_EQ(red & green, 0U);
        EXPECT_EQ(red & blue, 0U);
        EXPECT_EQ(green & blue, 0U);
        EXPECT_LE(red | green | blue, 0xFFFFFFFFU >> (32 - 8 * layout.bytesPerPixel));
    }
}

TEST(PixelFormatTests, AFormatIsFoundByItsMasks)
{
    EXPECT_EQ(pixelFormatOfMasks(2, 0xf800, 0x7e0, 0x1f), PixelFormat::rgb565);
    EXPECT_EQ(pixelFormatOfMasks(2, 0x7c00, 0x3e0, 0x1f), PixelFormat::xrgb1555);
    EXPECT_EQ(pixelFormatOfMasks(4, 0x3ff00000, 0xffc00, 0x3ff), PixelFormat::xrgb2101010);
    EXPECT_EQ(pixelFormatOfMasks(4, 0xff0000, 0xff00, 0xff), PixelFormat::xrgb8888);
    EXPECT_EQ(pixelFormatOfMasks(4, 0xff, 0xff00, 0xff0000), PixelFormat::xbgr8888);
    EXPECT_EQ(pixelFormatOfMasks(3, 0xff0000, 0xff00, 0xff), PixelFormat::rgb888);
}

TEST(PixelFormatTests, MasksThatMeanNoColourMeanNoFormat)
{
    for (const std::uint32_t mask : {0U, 0x5U, 0xff00ffU, 0x1ffffU}) {
        EXPECT_EQ(pixelFormatOfMasks(4, mask, 0xff00, 0xff), std::nullopt) << mask;
        EXPECT_EQ(pixelFormatOfMasks(4, 0xff0000, mask, 0xff), std::nullopt) << mask;
        EXPECT_EQ(pixelFormatOfMasks(4, 0xff0000, 0xff00, mask), std::nullopt) << mask;
    }
    EXPECT_EQ(pixelFormatOfMasks(2, 0xff0000, 0xff00, 0xff), std::nullopt);
}

} // namespace
} // namespace glimto
