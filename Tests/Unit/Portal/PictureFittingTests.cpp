#include "Backends/Portal/PictureFitting.h"

#include <array>

#include <gtest/gtest.h>

namespace glimto {
namespace {

// Of one colour.
PixelCanvas plain(int width, int height, std::uint32_t pixel)
{
    PixelCanvas canvas = makeCanvas(width, height, PixelFormat::xbgr8888);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (unsigned byte = 0; byte < 4; ++byte)
                canvas.pixelAt(x, y)[byte] = static_cast<std::uint8_t>(pixel >> (8 * byte));
        }
    }
    return canvas;
}

std::uint32_t pixelOf(const FramePicture& picture, int x, int y)
{
    const PixelBuffer pixels = picture.pixels();
    std::uint32_t value = 0;
    for (unsigned byte = 0; byte < 4; ++byte)
        value |= std::uint32_t{pixels.pixelAt(x, y)[byte]} << (8 * byte);
    return value;
}

TEST(PictureFittingTests, APictureOfTheSameSizeIsCopiedInItsFormat)
{
    PictureFitting fitting(4, 3, 2);
    PixelCanvas canvas = plain(4, 3, 0x010203);
    canvas.pixelAt(3, 2)[0] = 9;

    const auto frame = fitting.frameOf(canvas);

    EXPECT_EQ(frame->format(), PixelFormat::xbgr8888);
    EXPECT_EQ(pixelOf(*frame, 0, 0), 0x010203U);
    EXPECT_EQ(pixelOf(*frame, 3, 2), 0x010209U);
}

TEST(PictureFittingTests, AnotherShapeIsCentredOnBlack)
{
    PictureFitting fitting(8, 8, 2);

    const auto frame = fitting.frameOf(plain(8, 4, 0x00ffffff));

    EXPECT_EQ(pixelOf(*frame, 0, 1), 0U);
    EXPECT_EQ(pixelOf(*frame, 0, 2), 0x00ffffffU);
    EXPECT_EQ(pixelOf(*frame, 7, 5), 0x00ffffffU);
    EXPECT_EQ(pixelOf(*frame, 0, 6), 0U);
}

TEST(PictureFittingTests, WhatAnEarlierShapeLeftIsBlackAgain)
{
    PictureFitting fitting(8, 8, 1);
    fitting.frameOf(plain(8, 8, 0x00ffffff));

    const auto frame = fitting.frameOf(plain(8, 4, 0x00ffffff));

    EXPECT_EQ(pixelOf(*frame, 0, 0), 0U);
}

TEST(PictureFittingTests, FramesThatAreHeldAreNotDrawnOver)
{
    PictureFitting fitting(2, 2, 2);
    const auto first = fitting.frameOf(plain(2, 2, 1));
    auto second = fitting.frameOf(plain(2, 2, 2));

    EXPECT_EQ(fitting.frameOf(plain(2, 2, 3)), nullptr);
    second.reset();
    EXPECT_EQ(pixelOf(*fitting.frameOf(plain(2, 2, 3)), 0, 0), 3U);
    EXPECT_EQ(pixelOf(*first, 0, 0), 1U);
}

TEST(PictureFittingTests, AFrameOutlivesItsMaker)
{
    std::shared_ptr<const FramePicture> frame;
    {
        PictureFitting fitting(2, 2, 1);
        frame = fitting.frameOf(plain(2, 2, 7));
    }
    EXPECT_EQ(pixelOf(*frame, 1, 1), 7U);
}

TEST(PlacedRectTests, MovesWithThePartThatIsSeen)
{
    const PixelRect place = {0, 0, 100, 80};
    EXPECT_EQ(placedRect({35, 45, 10, 5}, {30, 40, 100, 80}, place), (PixelRect{5, 5, 10, 5}));
    EXPECT_EQ(placedRect({0, 0, 35, 45}, {30, 40, 100, 80}, place), (PixelRect{0, 0, 5, 5}));
    EXPECT_TRUE(placedRect({0, 0, 30, 40}, {30, 40, 100, 80}, place).isEmpty());
}

TEST(PlacedRectTests, AScaledChangeCoversItsNeighbours)
{
    const PixelRect scaled = placedRect({100, 100, 10, 10}, {0, 0, 200, 200}, {10, 0, 100, 100});
    EXPECT_LE(scaled.x, 10 + 49);
    EXPECT_LE(scaled.y, 49);
    EXPECT_GE(scaled.x + scaled.width, 10 + 56);
    EXPECT_GE(scaled.y + scaled.height, 56);
    EXPECT_EQ(intersection(scaled, {10, 0, 100, 100}), scaled);
}

} // namespace
} // namespace glimto
