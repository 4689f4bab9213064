#include "Stills/ScreenshotWatermark.h"

#include <vector>

#include <gtest/gtest.h>

#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/FakeStillCapture.h"
#include "Fakes/FakeTextDrawing.h"
#include "Fakes/TemporaryDirectory.h"
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
    bool isDrawn(const Service<TextDrawing>& drawing, int width, int height) const
    {
        auto image = fakePicture(width, height, 7);
        ScreenshotWatermark(drawing, WatermarkCache(process)).apply(image);
        return changed(image) != PixelRect();
    }

    // The smallest rectangle around the pixels that are not as the picture's first one.
    static PixelRect changed(const PixelCanvas& image)
    {
        PixelRect rect;
        for (int y = 0; y < image.height; ++y) {
            for (int x = 0; x < image.width; ++x) {
                if (image.pixelAt(x, y)[0] != image.bytes[0])
                    rect = boundingRect(rect, {x, y, 1, 1});
            }
        }
        return rect;
    }

    FakeProcessEnvironment process; // has no directory for caches
    FakeTextDrawing textDrawing;
    ScreenshotWatermark watermark{textDrawing, WatermarkCache(process)};
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
    auto image = fakePicture(1920, 1080, 200);
    watermark.apply(image);
    // 1920 - 14 - 90.4 = 1815.6, and 14 + 4.6 = 18.6 from below. The shadow lies one pixel below and reaches
    // one around.
    EXPECT_GT(image.pixelAt(1816, 1080 - 19)[0], 240);
    EXPECT_EQ(changed(image), (PixelRect{1815, 1080 - 19, 3, 3}));
}

TEST_F(ScreenshotWatermarkTests, StandsInTheCornerOfAPart)
{
    auto whole = fakePicture(1000, 800, 200);
    auto part = croppedImage(whole, {100, 100, 400, 300});
    watermark.apply(part);
    EXPECT_EQ(changed(whole), (PixelRect{100 + 400 - 11 - 80 - 1, 100 + 300 - 15, 3, 3}));
}

TEST_F(ScreenshotWatermarkTests, IsNearlyWhiteWithADarkSoftShadowBelow)
{
    auto image = fakePicture(400, 300, 200);
    watermark.apply(image);
    const int x = 400 - 11 - 80;
    const int y = 300 - 15;
    const auto channels = [&](int right, int down) {
        const std::uint8_t* const pixel = image.pixelAt(x + right, y + down);
        return std::vector<int>(pixel, pixel + 3);
    };
    const auto gray = [](int value) { return std::vector<int>(3, value); };
    // Blurred, the shadow covers 158 of 255 in its middle and 21 beside it.
    EXPECT_EQ(channels(0, 1), gray(119));
    EXPECT_EQ(channels(1, 1), gray(189));
    EXPECT_EQ(channels(-1, 1), gray(189));
    EXPECT_EQ(channels(0, 2), gray(189));
    // The letter, over the shadow's upper edge.
    EXPECT_EQ(channels(0, 0), gray(248));
    EXPECT_EQ(channels(0, -1), gray(200));
}

TEST_F(ScreenshotWatermarkTests, MayTakeHalfOfTheWidthAndNoMore)
{
    textDrawing.width = 50 - 22;
    textDrawing.ascent = 5;
    textDrawing.descent = 1;
    EXPECT_TRUE(isDrawn(textDrawing, 100, 100));
    textDrawing.width = 50 - 22 + 0.01;
    EXPECT_FALSE(isDrawn(textDrawing, 100, 100));
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

TEST_F(ScreenshotWatermarkTests, ATextThatIsKeptIsNotSetAgain)
{
    const TemporaryDirectory directory;
    process.caches = directory.path();
    textDrawing.files = {"/nonexistent/font"};
    EXPECT_TRUE(isDrawn(textDrawing, 400, 300));
    EXPECT_TRUE(isDrawn(textDrawing, 400, 300));
    EXPECT_EQ(textDrawing.fonts.size(), 1U);
    EXPECT_TRUE(isDrawn(textDrawing, 1920, 1080));
    EXPECT_EQ(textDrawing.fonts.size(), 2U);
}

} // namespace
} // namespace glimto
