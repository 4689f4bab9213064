#include "Backends/X264/I420Picture.h"

#include <algorithm>
#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

struct Canvas {
    Canvas(int width, int height)
        : bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4)
        , pixels{width, height, static_cast<std::size_t>(width) * 4, bytes.data(), nullptr}
    {
    }

    void fill(const PixelRect& rect, std::uint8_t gray)
    {
        for (int y = rect.y; y < rect.y + rect.height; ++y) {
            for (int x = rect.x; x < rect.x + rect.width; ++x) {
                std::uint8_t* pixel = bytes.data() + static_cast<std::size_t>(y) * pixels.bytesPerRow
                    + static_cast<std::size_t>(x) * 4;
                std::fill(pixel, pixel + 3, gray);
            }
        }
    }

    std::vector<std::uint8_t> bytes;
    PixelBuffer pixels;
};

std::uint8_t luma(const I420Picture& picture, int x, int y)
{
    return picture.plane(0)[y * picture.stride(0) + x];
}

TEST(I420PictureTests, BlackAndWhiteLieInLimitedRange)
{
    Canvas canvas(32, 32);
    canvas.fill({16, 0, 16, 32}, 255);
    I420Picture picture(32, 32);
    picture.update(canvas.pixels, std::array{PixelRect{0, 0, 32, 32}});
    EXPECT_EQ(luma(picture, 0, 0), 16);
    EXPECT_EQ(luma(picture, 31, 31), 235);
    EXPECT_EQ(picture.plane(1)[0], 128);
    EXPECT_EQ(picture.plane(2)[15], 128);
}

TEST(I420PictureTests, OnlyTheChangedRectIsConverted)
{
    Canvas canvas(64, 64);
    I420Picture picture(64, 64);
    picture.update(canvas.pixels, std::array{PixelRect{0, 0, 64, 64}});
    canvas.fill({0, 0, 64, 64}, 255);
    picture.update(canvas.pixels, std::array{PixelRect{20, 20, 4, 4}});
    EXPECT_EQ(luma(picture, 20, 20), 235);
    EXPECT_EQ(luma(picture, 23, 23), 235);
    EXPECT_EQ(luma(picture, 24, 24), 16);
}

TEST(I420PictureTests, RectWithOddEdgesIsGrownToWholeChromaSamples)
{
    Canvas canvas(64, 64);
    I420Picture picture(64, 64);
    picture.update(canvas.pixels, std::array{PixelRect{0, 0, 64, 64}});
    canvas.fill({0, 0, 64, 64}, 255);
    picture.update(canvas.pixels, std::array{PixelRect{21, 21, 2, 2}});
    EXPECT_EQ(luma(picture, 20, 20), 235);
    EXPECT_EQ(luma(picture, 23, 23), 235);
}

TEST(I420PictureTests, MacroblocksOutsideTheChangedRectsAreHintedAsUnchanged)
{
    Canvas canvas(64, 48);
    I420Picture picture(64, 48);
    picture.update(canvas.pixels, std::array{PixelRect{17, 30, 2, 4}});
    const std::vector<std::uint8_t> expected = {
        1, 1, 1, 1, //
        1, 0, 1, 1, //
        1, 0, 1, 1, //
    };
    EXPECT_EQ(picture.unchangedMacroblocks(), expected);
}

TEST(I420PictureTests, OddSizeIsPaddedByRepeatingTheLastColumnAndRow)
{
    Canvas canvas(33, 31);
    canvas.fill({32, 0, 1, 31}, 255);
    I420Picture picture(33, 31);
    picture.update(canvas.pixels, std::array{PixelRect{0, 0, 33, 31}});
    ASSERT_EQ(picture.width(), 34);
    ASSERT_EQ(picture.height(), 32);
    EXPECT_EQ(luma(picture, 33, 10), 235);
    EXPECT_EQ(luma(picture, 33, 31), 235);
    EXPECT_EQ(luma(picture, 0, 31), 16);
}

TEST(I420PictureTests, RectReachingOutsideThePictureIsCut)
{
    Canvas canvas(32, 32);
    canvas.fill({0, 0, 32, 32}, 255);
    I420Picture picture(32, 32);
    picture.update(canvas.pixels, std::array{PixelRect{-8, 24, 100, 100}});
    EXPECT_EQ(luma(picture, 0, 31), 235);
    EXPECT_NE(luma(picture, 0, 0), 235);
}

TEST(I420PictureTests, EveryFormatGivesTheSamePicture)
{
    constexpr int width = 71;
    constexpr int height = 45; // more than two strips
    Canvas canvas(width, height);
    for (std::size_t at = 0; at < canvas.bytes.size(); ++at) // colours that 5 bits have as well
        canvas.bytes[at] = static_cast<std::uint8_t>(at * 2654435761U >> 20U & 1U) * 255;
    const PixelRect changed = {5, 3, 61, 40};
    I420Picture expected(width, height);
    expected.update(canvas.pixels, std::array{changed});
    for (const PixelFormat format : pixelFormats()) {
        I420Picture picture(width, height);
        picture.update(copyOf(canvas.pixels, format), std::array{changed});
        for (int plane = 0; plane < 3; ++plane) {
            const auto size = static_cast<std::size_t>(
                picture.stride(plane) * (plane == 0 ? picture.height() : picture.height() / 2));
            EXPECT_TRUE(std::equal(picture.plane(plane), picture.plane(plane) + size, expected.plane(plane)))
                << static_cast<std::uint32_t>(format) << " plane " << plane;
        }
    }
}

} // namespace
} // namespace glimto
