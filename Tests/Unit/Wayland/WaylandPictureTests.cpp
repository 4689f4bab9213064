#include "Backends/Wayland/WaylandPicture.h"

#include <string>

#include <gtest/gtest.h>

namespace glimto {
namespace {

// A picture of one letter a pixel, rows separated by spaces.
PixelBuffer picture(const std::string& rows)
{
    const int width = static_cast<int>(rows.find(' '));
    const int height = static_cast<int>(rows.size() + 1) / (width + 1);
    const PixelCanvas canvas = makeCanvas(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const char letter = rows[static_cast<std::size_t>(y * (width + 1) + x)];
            for (int channel = 0; channel < 4; ++channel)
                canvas.pixelAt(x, y)[channel] = static_cast<std::uint8_t>(letter);
        }
    }
    return canvas;
}

std::string letters(const PixelBuffer& pixels)
{
    std::string rows;
    for (int y = 0; y < pixels.height; ++y) {
        rows += y == 0 ? "" : " ";
        for (int x = 0; x < pixels.width; ++x)
            rows += static_cast<char>(*pixels.pixelAt(x, y));
    }
    return rows;
}

std::string upright(int transform)
{
    const bool isQuarter = transform % 2 == 1;
    const WaylandPictureChange change = {.transform = transform,
        .isUpsideDown = false,
        .crop = std::nullopt,
        .width = isQuarter ? 2 : 3,
        .height = isQuarter ? 3 : 2};
    return letters(changedWaylandPicture(picture("abc def"), change));
}

TEST(WaylandPictureTests, EveryTransformIsTakenBack)
{
    EXPECT_EQ(upright(0), "abc def");
    EXPECT_EQ(upright(1), "da eb fc");
    EXPECT_EQ(upright(2), "fed cba");
    EXPECT_EQ(upright(3), "cf be ad");
    EXPECT_EQ(upright(4), "cba fed");
    EXPECT_EQ(upright(5), "ad be cf");
    EXPECT_EQ(upright(6), "def abc");
    EXPECT_EQ(upright(7), "fc eb da");
}

TEST(WaylandPictureTests, RowsFromBottomToTopAreTurnedOver)
{
    EXPECT_EQ(letters(changedWaylandPicture(picture("abc def"),
                  {.transform = 0, .isUpsideDown = true, .crop = std::nullopt, .width = 3, .height = 2})),
        "def abc");
}

TEST(WaylandPictureTests, APartIsCutOutOfTheUprightPicture)
{
    EXPECT_EQ(
        letters(changedWaylandPicture(picture("abc def"),
            {.transform = 2, .isUpsideDown = false, .crop = PixelRect{1, 0, 2, 1}, .width = 2, .height = 1})),
        "ed");
}

TEST(WaylandPictureTests, APictureOfAnotherShapeIsFittedOntoBlack)
{
    const auto result = changedWaylandPicture(picture("aa aa"),
        {.transform = 0, .isUpsideDown = false, .crop = std::nullopt, .width = 4, .height = 2});
    EXPECT_EQ(letters(result), std::string("\0aa\0 \0aa\0", 9));
}

TEST(WaylandPictureTests, WhatIsRightAlreadyIsLeftAsItStands)
{
    const WaylandPictureChange change
        = {.transform = 0, .isUpsideDown = false, .crop = PixelRect{1, 1, 2, 1}, .width = 2, .height = 1};
    EXPECT_EQ(change.unchangedPart(3, 2), (PixelRect{1, 1, 2, 1}));
    EXPECT_EQ(change.unchangedPart(2, 2), std::nullopt);
}

} // namespace
} // namespace glimto
