#include "Stills/ScreenshotWatermark.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "Fakes/FakeStillCapture.h"
#include "Fakes/FakeTextDrawing.h"
#include "Stills/ScreenshotImage.h"

namespace glimto {
namespace {

class ScreenshotWatermarkTests : public testing::Test {
protected:
    void apply(int width, int height)
    {
        auto image = fakePicture(width, height);
        watermark.apply(image);
    }

    // Whether a picture of that size gets a watermark from `drawing`; it stays as it is otherwise.
    static bool isDrawn(const Service<TextDrawing>& drawing, int width, int height)
    {
        auto image = fakePicture(width, height, 7);
        ScreenshotWatermark(drawing).apply(image);
        const auto size = image.bytesPerRow * static_cast<std::size_t>(height);
        return std::any_of(image.bytes, image.bytes + size, [](std::uint8_t value) { return value != 7; });
    }

    FakeTextDrawing textDrawing;
    ScreenshotWatermark watermark{textDrawing};
};

TEST_F(ScreenshotWatermarkTests, FontSizeFollowsTheShorterSideWithinLimits)
{
    EXPECT_EQ(ScreenshotWatermark::fontSize(100, 100), 14);
    EXPECT_EQ(ScreenshotWatermark::fontSize(3840, 2160), 32); // 38.88
    EXPECT_EQ(ScreenshotWatermark::fontSize(1920, 1080), 19); // 19.44
    EXPECT_EQ(ScreenshotWatermark::fontSize(1080, 1920), 19);
    EXPECT_EQ(ScreenshotWatermark::fontSize(2000, 806), 15); // 14.508
    EXPECT_EQ(ScreenshotWatermark::fontSize(2000, 805), 14); // 14.49
    EXPECT_EQ(ScreenshotWatermark::fontSize(4000, 1751), 32); // 31.518
    EXPECT_EQ(ScreenshotWatermark::fontSize(1, 1), 14);
}

TEST_F(ScreenshotWatermarkTests, MarginIsThreeQuartersOfTheFontSize)
{
    EXPECT_EQ(ScreenshotWatermark::margin(14), 11); // 10.5, half away from zero
    EXPECT_EQ(ScreenshotWatermark::margin(32), 24);
    EXPECT_EQ(ScreenshotWatermark::margin(19), 14); // 14.25
}

TEST_F(ScreenshotWatermarkTests, IsSetInTheMediumSystemFont)
{
    apply(1920, 1080);
    ASSERT_EQ(textDrawing.fonts.size(), 1U);
    EXPECT_EQ(textDrawing.texts.front(), "glimto.com");
    EXPECT_EQ(textDrawing.fonts.front().family, TextFont::Family::systemUI);
    EXPECT_EQ(textDrawing.fonts.front().weight, TextFont::Weight::medium);
    EXPECT_EQ(textDrawing.fonts.front().size, 19);
}

TEST_F(ScreenshotWatermarkTests, StandsInTheBottomRightCornerWithAMargin)
{
    textDrawing.width = 90.4;
    textDrawing.descent = 4.6;
    auto image = fakePicture(1920, 1080, 7);
    watermark.apply(image);
    // 1920 - 14 - 90.4 = 1815.6, and 14 + 4.6 = 18.6 from below.
    const std::size_t at = (1080 - 19) * image.bytesPerRow + 4 * 1816;
    EXPECT_EQ(image.bytes[at], 255);
    image.bytes[at] = image.bytes[at + 1] = image.bytes[at + 2] = 7;
    EXPECT_TRUE(std::all_of(image.bytes, image.bytes + std::size_t(4) * 1920 * 1080,
        [](std::uint8_t value) { return value == 7; }));
}

TEST_F(ScreenshotWatermarkTests, StandsInTheCornerOfAPart)
{
    auto whole = fakePicture(1000, 800, 7);
    auto part = croppedImage(whole, {100, 100, 400, 300});
    watermark.apply(part);
    const std::size_t at = (100 + 300 - 15) * whole.bytesPerRow + 4 * (100 + 400 - 11 - 80);
    EXPECT_EQ(whole.bytes[at], 255);
    whole.bytes[at] = whole.bytes[at + 1] = whole.bytes[at + 2] = 7;
    EXPECT_TRUE(std::all_of(whole.bytes, whole.bytes + std::size_t(4) * 1000 * 800,
        [](std::uint8_t value) { return value == 7; }));
}

TEST_F(ScreenshotWatermarkTests, IsNearlyWhiteWithADarkShadowBelow)
{
    apply(1920, 1080);
    const TextStyle& style = textDrawing.drawn.at(0).style;
    EXPECT_EQ(style.gray, 1.0);
    EXPECT_EQ(style.alpha, 0.9);
    EXPECT_EQ(style.shadowOffsetX, 0);
    EXPECT_EQ(style.shadowOffsetY, 1);
    EXPECT_EQ(style.shadowBlur, 1);
    EXPECT_EQ(style.shadowGray, 0);
    EXPECT_EQ(style.shadowAlpha, 0.65);
}

TEST_F(ScreenshotWatermarkTests, MayTakeHalfOfTheWidthAndNoMore)
{
    textDrawing.width = 50 - 22;
    textDrawing.ascent = 5;
    textDrawing.descent = 1;
    EXPECT_TRUE(isDrawn(textDrawing, 100, 100));
    textDrawing.width = 50 - 22 + 0.01;
    EXPECT_FALSE(isDrawn(textDrawing, 100, 100));
    EXPECT_EQ(textDrawing.drawn.size(), 1U);
}

TEST_F(ScreenshotWatermarkTests, MayTakeAThirdOfTheHeightAndNoMore)
{
    textDrawing.ascent = 10;
    textDrawing.descent = 4;
    // A third is 36, and 22 + 14 is what the text takes.
    EXPECT_TRUE(isDrawn(textDrawing, 1000, 108));
    EXPECT_FALSE(isDrawn(textDrawing, 1000, 107));
}

TEST_F(ScreenshotWatermarkTests, APictureStaysAsItIsWithoutAFont)
{
    textDrawing.hasFont = false;
    EXPECT_FALSE(isDrawn(textDrawing, 400, 300));
}

TEST_F(ScreenshotWatermarkTests, APictureStaysAsItIsWithoutTheModuleThatDraws)
{
    LoadableModule module("no-such-module.so", {"/nonexistent"}, "Text drawing");
    const Service<TextDrawing> missing(module);
    EXPECT_FALSE(isDrawn(missing, 400, 300));
    EXPECT_FALSE(isDrawn(missing, 400, 300));
}

TEST_F(ScreenshotWatermarkTests, APictureStaysAsItIsWhenDrawingFails)
{
    textDrawing.drawsWell = false;
    EXPECT_FALSE(isDrawn(textDrawing, 400, 300));
    EXPECT_EQ(textDrawing.drawn.size(), 1U);
}

TEST_F(ScreenshotWatermarkTests, AnEmptyPictureStaysAsItIs)
{
    apply(0, 300);
    EXPECT_TRUE(textDrawing.fonts.empty());
}

TEST_F(ScreenshotWatermarkTests, APreparedTextIsUsed)
{
    watermark.prepare(1920, 1080);
    apply(1920, 1080);
    EXPECT_EQ(textDrawing.fonts.size(), 1U);
}

TEST_F(ScreenshotWatermarkTests, ATextPreparedForAnotherSizeIsNot)
{
    watermark.prepare(3840, 2160);
    apply(1920, 1080);
    ASSERT_EQ(textDrawing.fonts.size(), 2U);
    EXPECT_EQ(textDrawing.fonts.back().size, 19);
}

} // namespace
} // namespace glimto
