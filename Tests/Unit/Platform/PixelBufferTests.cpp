#include "Platform/PixelBuffer.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Bytes = std::vector<int>;

TEST(PixelBufferTests, ACopyHasTheRowsWithoutWhatLiesBetweenThem)
{
    const std::array<std::uint8_t, 24> bytes
        = {1, 2, 3, 4, 5, 6, 7, 8, 90, 91, 92, 93, 11, 12, 13, 14, 15, 16, 17, 18};
    const PixelBuffer pixels
        = {.width = 2, .height = 2, .bytesPerRow = 12, .bytes = bytes.data(), .storage = {}};
    const auto copy = copyOf(pixels, pixels.format);
    EXPECT_EQ(copy.width, 2);
    EXPECT_EQ(copy.height, 2);
    EXPECT_EQ(copy.bytesPerRow, 8U);
    EXPECT_EQ(
        Bytes(copy.bytes, copy.bytes + 16), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 11, 12, 13, 14, 15, 16, 17, 18}));
}

TEST(PixelBufferTests, ItsPixelsKeepItAlive)
{
    const std::array<std::uint8_t, 4> bytes = {1, 2, 3, 4};
    auto image
        = copyOf(PixelBuffer{.width = 1, .height = 1, .bytesPerRow = 4, .bytes = bytes.data(), .storage = {}},
            PixelFormat::xrgb8888);
    const PixelBuffer pixels = image;
    image = {};
    EXPECT_EQ(pixels.bytes[2], 3);
    EXPECT_NE(pixels.storage, nullptr);
}

TEST(PixelBufferTests, APartLiesInTheWhole)
{
    const PixelCanvas whole = makeCanvas(8, 6, PixelFormat::rgb565);
    const PixelCanvas part = whole.part({3, 2, 10, 10});
    EXPECT_EQ(part.rect(), (PixelRect{0, 0, 5, 4}));
    EXPECT_EQ(part.bytes, whole.bytes + 2 * 16 + 3 * 2);
    EXPECT_EQ(part.pixelAt(1, 1), whole.pixelAt(4, 3));
    EXPECT_EQ(part.storage, whole.storage);
    EXPECT_TRUE(whole.part({8, 0, 1, 1}).rect().isEmpty());
}

TEST(PixelBufferTests, WhatServesAsItStandsIsNotCopied)
{
    for (const auto& [there, wanted] : {std::pair(PixelFormat::xrgb8888, PixelFormat::xrgb8888),
             {PixelFormat::argb8888, PixelFormat::xrgb8888}, {PixelFormat::argb8888, PixelFormat::argb8888},
             {PixelFormat::abgr2101010, PixelFormat::xbgr2101010}}) {
        const PixelCanvas pixels = makeCanvas(4, 4, there);
        EXPECT_EQ(inFormat(pixels, wanted).bytes, pixels.bytes);
    }
    for (const auto& [there, wanted] : {std::pair(PixelFormat::xbgr8888, PixelFormat::xrgb8888),
             {PixelFormat::xrgb8888, PixelFormat::argb8888}, {PixelFormat::rgb888, PixelFormat::bgr888}}) {
        const PixelCanvas pixels = makeCanvas(4, 4, there);
        const PixelCanvas other = inFormat(pixels, wanted);
        EXPECT_NE(other.bytes, pixels.bytes);
        EXPECT_EQ(other.format, wanted);
    }
}

} // namespace
} // namespace glimto
