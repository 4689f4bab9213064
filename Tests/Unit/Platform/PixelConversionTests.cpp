#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/PixelBuffer.h"

namespace glimto {
namespace {

using Bytes = std::vector<int>;

// One pixel of a format as B, G, R, X.
Bytes converted(PixelFormat format, std::uint32_t pixel)
{
    std::uint8_t source[4];
    std::memcpy(source, &pixel, sizeof source);
    const PixelBuffer pixels
        = {.width = 1, .height = 1, .bytesPerRow = 4, .bytes = source, .storage = {}, .format = format};
    const PixelCanvas target = copyOf(pixels, PixelFormat::xrgb8888);
    return {target.bytes, target.bytes + 4};
}

// One pixel B, G, R in a format.
std::uint32_t inFormat(PixelFormat format, std::uint8_t blue, std::uint8_t green, std::uint8_t red)
{
    const std::uint8_t source[4] = {blue, green, red, 7};
    const PixelBuffer pixels = {.width = 1, .height = 1, .bytesPerRow = 4, .bytes = source, .storage = {}};
    const PixelCanvas target = copyOf(pixels, format);
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, target.bytes, layoutOf(format).bytesPerPixel);
    return pixel;
}

std::uint32_t colours(PixelFormat format)
{
    const PixelLayout layout = layoutOf(format);
    return layout.red.mask() | layout.green.mask() | layout.blue.mask();
}

TEST(PixelConversionTests, EveryFormatReachesFromBlackToWhite)
{
    for (const PixelFormat format : pixelFormats()) {
        if (format == PixelFormat::xrgb8888 || format == PixelFormat::argb8888)
            continue; // nothing is converted
        EXPECT_EQ(converted(format, 0), (Bytes{0, 0, 0, 255})) << static_cast<std::uint32_t>(format);
        EXPECT_EQ(converted(format, colours(format)), (Bytes{255, 255, 255, 255}))
            << static_cast<std::uint32_t>(format);
    }
}

TEST(PixelConversionTests, EveryColourOfEveryFormatComesFromItsBits)
{
    for (const PixelFormat format : pixelFormats()) {
        const PixelLayout layout = layoutOf(format);
        Bytes blue = converted(format, layout.blue.mask());
        Bytes green = converted(format, layout.green.mask());
        Bytes red = converted(format, layout.red.mask());
        EXPECT_EQ(Bytes(blue.begin(), blue.end() - 1), (Bytes{255, 0, 0}))
            << static_cast<std::uint32_t>(format);
        EXPECT_EQ(Bytes(green.begin(), green.end() - 1), (Bytes{0, 255, 0}));
        EXPECT_EQ(Bytes(red.begin(), red.end() - 1), (Bytes{0, 0, 255}));
    }
}

TEST(PixelConversionTests, BytesLieWhereTheNamesSay)
{
    EXPECT_EQ(inFormat(PixelFormat::argb8888, 1, 2, 3), 0xFF030201U);
    EXPECT_EQ(inFormat(PixelFormat::xbgr8888, 1, 2, 3), 0xFF010203U);
    EXPECT_EQ(inFormat(PixelFormat::rgbx8888, 1, 2, 3), 0x030201FFU);
    EXPECT_EQ(inFormat(PixelFormat::bgrx8888, 1, 2, 3), 0x010203FFU);
    EXPECT_EQ(inFormat(PixelFormat::rgb888, 1, 2, 3), 0x030201U);
    EXPECT_EQ(inFormat(PixelFormat::bgr888, 1, 2, 3), 0x010203U);
    EXPECT_EQ(inFormat(PixelFormat::rgb565, 255, 0, 0), 0x1FU);
    EXPECT_EQ(inFormat(PixelFormat::bgr565, 255, 0, 0), 0xF800U);
    EXPECT_EQ(inFormat(PixelFormat::xrgb1555, 0, 255, 0), 0x83E0U);
    EXPECT_EQ(inFormat(PixelFormat::xbgr2101010, 0, 0, 255), 0xC00003FFU);
}

TEST(PixelConversionTests, FiveAndSixBitsAreSpreadOverAll)
{
    // 16/31, 32/63 and 1/31 of 255.
    EXPECT_EQ(converted(PixelFormat::rgb565, (1U << 11U) | (32U << 5U) | 16U), (Bytes{132, 130, 8, 255}));
}

TEST(PixelConversionTests, TenBitsAreRoundedToTheNearestOfEight)
{
    // 2/1023 of 255 is 0.4985, 3/1023 is 0.748 and 512/1023 is 127.6.
    EXPECT_EQ(converted(PixelFormat::xrgb2101010, (512U << 20U) | (3U << 10U) | 2U), (Bytes{0, 1, 128, 255}));
}

TEST(PixelConversionTests, EveryValueOfAChannelIsRoundedToNearest)
{
    for (const PixelFormat format : {PixelFormat::rgb565, PixelFormat::xrgb2101010, PixelFormat::bgrx8888}) {
        const PixelChannel channel = layoutOf(format).green;
        const std::uint32_t largest = (1U << channel.bits) - 1U;
        for (std::uint32_t value = 0; value <= largest; ++value)
            EXPECT_EQ(converted(format, value << channel.shift)[1], std::lround(value * 255.0 / largest));
        for (unsigned value = 0; value <= 255; ++value) {
            const auto pixel = inFormat(format, 0, static_cast<std::uint8_t>(value), 0);
            EXPECT_EQ((pixel & channel.mask()) >> channel.shift, std::lround(value * largest / 255.0));
        }
    }
}

TEST(PixelConversionTests, EightBitsInAnotherOrderStayAsTheyAre)
{
    EXPECT_EQ(converted(PixelFormat::xbgr8888, 0x00112233), (Bytes{0x11, 0x22, 0x33, 255}));
}

TEST(PixelConversionTests, WhatIsUndefinedBecomesOpaque)
{
    for (const PixelFormat format :
        {PixelFormat::argb8888, PixelFormat::abgr8888, PixelFormat::rgba8888, PixelFormat::bgra8888,
            PixelFormat::argb2101010, PixelFormat::abgr2101010, PixelFormat::xrgb1555})
        EXPECT_EQ(inFormat(format, 0, 0, 0),
            ~colours(format) & (0xFFFFFFFFU >> (32 - 8 * layoutOf(format).bytesPerPixel)));
}

TEST(PixelConversionTests, ARowIsConvertedPixelByPixel)
{
    const std::vector<std::uint8_t> row = {0x00, 0xf8, 0xe0, 0x07, 0x1f, 0x00};
    const PixelBuffer pixels = {3, 1, 6, row.data(), nullptr, PixelFormat::rgb565};
    const PixelCanvas target = copyOf(pixels, PixelFormat::xrgb8888);
    EXPECT_EQ(
        Bytes(target.bytes, target.bytes + 12), (Bytes{0, 0, 255, 255, 0, 255, 0, 255, 255, 0, 0, 255}));
}

// Widths and strides that fit no vector of the processor, with foreign bytes between the rows.
TEST(PixelConversionTests, EveryFormatBecomesEveryOtherAtOddStrides)
{
    constexpr int width = 37;
    constexpr int height = 3;
    std::mt19937 random(1);
    for (const PixelFormat from : pixelFormats()) {
        const std::size_t stride = layoutOf(from).bytesPerPixel * width + 5;
        std::vector<std::uint8_t> bytes(stride * height);
        for (auto& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        const PixelBuffer source = {width, height, stride, bytes.data(), nullptr, from};
        for (const PixelFormat to : pixelFormats()) {
            const std::size_t targetStride = layoutOf(to).bytesPerPixel * width + 3;
            std::vector<std::uint8_t> targetBytes(targetStride * height, 99);
            const PixelCanvas target = {width, height, targetStride, targetBytes.data(), nullptr, to};
            convertPixels(source, target);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    std::uint32_t in = 0;
                    std::uint32_t out = 0;
                    std::memcpy(&in, source.pixelAt(x, y), layoutOf(from).bytesPerPixel);
                    std::memcpy(&out, target.pixelAt(x, y), layoutOf(to).bytesPerPixel);
                    const PixelChannel a = layoutOf(from).green;
                    const PixelChannel b = layoutOf(to).green;
                    const double share
                        = static_cast<double>((in & a.mask()) >> a.shift) / ((1U << a.bits) - 1U);
                    ASSERT_EQ((out & b.mask()) >> b.shift, std::lround(share * ((1U << b.bits) - 1U)))
                        << static_cast<std::uint32_t>(from) << " " << static_cast<std::uint32_t>(to);
                }
                EXPECT_EQ(targetBytes[static_cast<std::size_t>(y + 1) * targetStride - 1], 99);
            }
        }
    }
}

} // namespace
} // namespace glimto
