#include "Platform/FramePicture.h"

#include <gtest/gtest.h>

#include "Fakes/FakeFramePicture.h"

namespace glimto {
namespace {

TEST(FramePictureTests, AMemoryPictureGivesItsOwnPixels)
{
    const PixelCanvas pixels = makeCanvas(6, 4);
    const MemoryPicture picture(pixels);
    EXPECT_EQ(picture.rect(), (PixelRect{0, 0, 6, 4}));
    EXPECT_EQ(picture.pixels().bytes, pixels.bytes);
    EXPECT_EQ(picture.pixels(PixelFormat::xrgb8888).bytes, pixels.bytes);
    EXPECT_EQ(picture.dmaBuffer(), nullptr);
}

TEST(FramePictureTests, AnotherFormatIsConvertedWhenItIsAskedFor)
{
    const PixelCanvas pixels = makeCanvas(1, 1, PixelFormat::xbgr8888);
    pixels.bytes[0] = 10;
    pixels.bytes[2] = 30;
    const MemoryPicture picture(pixels);
    EXPECT_EQ(picture.format(), PixelFormat::xbgr8888);
    const PixelBuffer converted = picture.pixels(PixelFormat::xrgb8888);
    EXPECT_EQ(converted.bytes[0], 30);
    EXPECT_EQ(converted.bytes[2], 10);
}

TEST(FramePictureTests, APictureElsewhereIsReadWhenItsPixelsAreWanted)
{
    const FakeFramePicture picture(makeCanvas(6, 4, PixelFormat::rgb565));
    EXPECT_EQ(picture.width(), 6);
    EXPECT_NE(picture.dmaBuffer(), nullptr);
    EXPECT_EQ(picture.reads, 0);
    EXPECT_EQ(picture.pixels(PixelFormat::xrgb8888).bytesPerRow, 24U);
    EXPECT_EQ(picture.reads, 1);
}

} // namespace
} // namespace glimto
