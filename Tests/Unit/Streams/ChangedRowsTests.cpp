#include "Backends/Streams/ChangedRows.h"

#include <cstring>

#include <gtest/gtest.h>

namespace glimto {
namespace {

PixelCanvas gray(PixelFormat format = PixelFormat::xrgb8888)
{
    PixelCanvas canvas = makeCanvas(5, 8, format);
    for (int y = 0; y < canvas.height; ++y)
        std::memset(canvas.pixelAt(0, y), 100, canvas.bytesPerRow);
    return canvas;
}

TEST(ChangedRowsTests, NoneOfTheSamePicture)
{
    EXPECT_TRUE(changedRows(gray(), gray()).isEmpty());
}

TEST(ChangedRowsTests, FromTheFirstToTheLastThatDiffers)
{
    const PixelCanvas after = gray();
    *after.pixelAt(4, 2) = 0;
    EXPECT_EQ(changedRows(gray(), after), (PixelRect{0, 2, 5, 1}));
    *after.pixelAt(0, 5) = 0;
    EXPECT_EQ(changedRows(gray(), after), (PixelRect{0, 2, 5, 4}));
    *after.pixelAt(0, 0) = 0;
    *after.pixelAt(0, 7) = 0;
    EXPECT_EQ(changedRows(gray(), after), after.rect());
}

TEST(ChangedRowsTests, WhatLiesBetweenTheRowsDoesNotCount)
{
    const PixelCanvas after = gray();
    *after.pixelAt(4, 3) = 0;
    const PixelRect left = {0, 0, 4, 8};
    EXPECT_TRUE(changedRows(PixelBuffer(gray()).part(left), PixelBuffer(after).part(left)).isEmpty());
}

TEST(ChangedRowsTests, AllOfAnotherFormat)
{
    EXPECT_EQ(changedRows(gray(), gray(PixelFormat::xbgr8888)), (PixelRect{0, 0, 5, 8}));
}

} // namespace
} // namespace glimto
