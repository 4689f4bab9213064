#include "Backends/X11/Pictures/X11CursorImage.h"

#include <algorithm>
#include <array>

#include <gtest/gtest.h>

namespace glimto {
namespace {

// A picture of 4x3 pixels of one grey.
struct Picture {
    static constexpr PixelSize size{4, 3};
    static constexpr std::size_t bytesPerRow = 20; // longer than the row
    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(bytesPerRow * 3, 100);

    PixelCanvas canvas() { return {size.width, size.height, bytesPerRow, bytes.data(), nullptr}; }

    std::array<int, 3> blueGreenRed(int x, int y) const
    {
        const std::size_t at = static_cast<std::size_t>(y) * bytesPerRow + 4 * static_cast<std::size_t>(x);
        return {bytes[at], bytes[at + 1], bytes[at + 2]};
    }
};

constexpr std::array<int, 3> untouched = {100, 100, 100};

X11CursorImage onePixel(std::uint32_t pixel)
{
    return {.size = {1, 1}, .hotspotX = 0, .hotspotY = 0, .pixels = {pixel}};
}

TEST(X11CursorImageTests, AnOpaquePixelReplacesWhatIsThere)
{
    Picture picture;
    onePixel(0xff102030).drawAt(1, 2, picture.canvas());
    EXPECT_EQ(picture.blueGreenRed(1, 2), (std::array<int, 3>{0x30, 0x20, 0x10}));
    EXPECT_EQ(picture.blueGreenRed(0, 2), untouched);
    EXPECT_EQ(picture.blueGreenRed(2, 2), untouched);
}

TEST(X11CursorImageTests, AClearPixelChangesNothing)
{
    Picture picture;
    onePixel(0).drawAt(1, 1, picture.canvas());
    EXPECT_EQ(picture.blueGreenRed(1, 1), untouched);
}

TEST(X11CursorImageTests, AHalfClearPixelIsMixed)
{
    Picture picture;
    // Half of white, premultiplied: 128 + 100 * 127 / 255.
    onePixel(0x80808080).drawAt(1, 1, picture.canvas());
    EXPECT_EQ(picture.blueGreenRed(1, 1), (std::array<int, 3>{178, 178, 178}));
}

TEST(X11CursorImageTests, ThePixelThatPointsLiesAtThePosition)
{
    const X11CursorImage image{.size = {2, 2}, .hotspotX = 1, .hotspotY = 1, .pixels = {0, 0, 0, 0xff0000ff}};
    Picture picture;
    image.drawAt(2, 1, picture.canvas());
    EXPECT_EQ(picture.blueGreenRed(2, 1), (std::array<int, 3>{255, 0, 0}));
    EXPECT_EQ(image.rectAt(2, 1, Picture::size), (PixelRect{1, 0, 2, 2}));
}

TEST(X11CursorImageTests, WhatSticksOutIsLeftOut)
{
    const X11CursorImage image{
        .size = {3, 3}, .hotspotX = 1, .hotspotY = 1, .pixels = std::vector<std::uint32_t>(9, 0xffffffff)};
    Picture picture;
    image.drawAt(0, 0, picture.canvas());
    image.drawAt(4, 3, picture.canvas());
    EXPECT_EQ(image.rectAt(0, 0, Picture::size), (PixelRect{0, 0, 2, 2}));
    EXPECT_EQ(image.rectAt(4, 3, Picture::size), (PixelRect{3, 2, 1, 1}));
    EXPECT_EQ(picture.blueGreenRed(1, 1), (std::array<int, 3>{255, 255, 255}));
    EXPECT_EQ(picture.blueGreenRed(3, 2), (std::array<int, 3>{255, 255, 255}));
    EXPECT_EQ(picture.blueGreenRed(2, 2), untouched);
    // The bytes beyond a row's end belong to nobody.
    EXPECT_EQ(picture.bytes[16], 100);
}

TEST(X11CursorImageTests, APictureOfAnyFormatIsDrawnOver)
{
    for (const PixelFormat format : pixelFormats()) {
        Picture gray;
        const PixelCanvas picture = copyOf(gray.canvas(), format);
        const PixelCanvas before = copyOf(picture, format);
        onePixel(0xffff8000).drawAt(1, 2, picture);
        const PixelBuffer shown = inFormat(picture, PixelFormat::xrgb8888);
        EXPECT_NEAR(shown.pixelAt(1, 2)[0], 0, 4) << static_cast<std::uint32_t>(format);
        EXPECT_NEAR(shown.pixelAt(1, 2)[1], 128, 4) << static_cast<std::uint32_t>(format);
        EXPECT_NEAR(shown.pixelAt(1, 2)[2], 255, 4) << static_cast<std::uint32_t>(format);
        const auto bytes = layoutOf(format).bytesPerPixel;
        EXPECT_TRUE(
            std::equal(before.pixelAt(0, 0), before.pixelAt(0, 0) + 4 * bytes, picture.pixelAt(0, 0)));
        EXPECT_TRUE(
            std::equal(before.pixelAt(2, 2), before.pixelAt(2, 2) + 2 * bytes, picture.pixelAt(2, 2)));
    }
}

TEST(X11CursorImageTests, ACursorOutsideCoversNothing)
{
    EXPECT_TRUE(onePixel(0xffffffff).rectAt(-1, 0, Picture::size).isEmpty());
    EXPECT_TRUE(onePixel(0xffffffff).rectAt(0, 3, Picture::size).isEmpty());
}

} // namespace
} // namespace glimto
