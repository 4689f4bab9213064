#include "Backends/Tesseract/TextGlyphs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <leptonica/allheaders.h>

#include "Backends/Tesseract/Leptonica.h"

namespace glimto {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

// White paper with bars for letters.
class TextGlyphsTests : public testing::Test {
protected:
    TextGlyphsTests() { pixSetAll(paper.get()); }

    void ink(int x, int y, int width, int height)
    {
        pixRasterop(paper.get(), x, y, width, height, PIX_CLR, nullptr, 0, 0);
    }

    void letters(int x, int y, int count)
    {
        for (int letter = 0; letter < count; ++letter)
            ink(x + 9 * letter, y, 6, 10);
    }

    void frame(int x, int y, int width, int height)
    {
        ink(x, y, width, 1);
        ink(x, y + height - 1, width, 1);
        ink(x, y, 1, height);
        ink(x + width - 1, y, 1, height);
    }

    bool isWhite(int x, int y) const
    {
        l_uint32 value = 0;
        pixGetPixel(paper.get(), x, y, &value);
        return value == 255;
    }

    PixHandle paper{pixCreate(400, 200, 8)};
};

TEST_F(TextGlyphsTests, WhitePaperHasNone)
{
    EXPECT_THAT(takeGlyphs(paper.get()).bounds, IsEmpty());
}

TEST_F(TextGlyphsTests, LettersAreKept)
{
    letters(20, 20, 5);
    const TextGlyphs glyphs = takeGlyphs(paper.get());
    EXPECT_THAT(glyphs.bounds, SizeIs(5));
    EXPECT_EQ(glyphs.letterHeight, 10);
    EXPECT_EQ(glyphs.graphics, 0U);
}

TEST_F(TextGlyphsTests, UnderlineIsPaintedOver)
{
    letters(20, 20, 10);
    ink(20, 32, 90, 1);
    const TextGlyphs glyphs = takeGlyphs(paper.get());
    EXPECT_THAT(glyphs.bounds, SizeIs(10));
    EXPECT_EQ(glyphs.graphics, 1U);
    EXPECT_TRUE(isWhite(60, 32));
}

TEST_F(TextGlyphsTests, UprightRuleIsToldAndPaintedOver)
{
    letters(20, 20, 5);
    ink(100, 10, 1, 150);
    const TextGlyphs glyphs = takeGlyphs(paper.get());
    EXPECT_THAT(glyphs.bounds, SizeIs(5));
    EXPECT_THAT(glyphs.rules, SizeIs(1));
}

TEST_F(TextGlyphsTests, FrameOfAButtonAndACheckBoxAreTakenOut)
{
    letters(30, 30, 6);
    frame(20, 20, 75, 30);
    letters(40, 100, 6);
    frame(18, 98, 14, 14);
    const TextGlyphs glyphs = takeGlyphs(paper.get());
    EXPECT_THAT(glyphs.bounds, SizeIs(12));
    EXPECT_EQ(glyphs.graphics, 2U);
    EXPECT_TRUE(isWhite(20, 20));
    EXPECT_TRUE(isWhite(18, 98));
}

TEST_F(TextGlyphsTests, SquareLetterInAWordIsKept)
{
    letters(20, 20, 3);
    frame(47, 18, 13, 13);
    letters(63, 20, 3);
    EXPECT_THAT(takeGlyphs(paper.get()).bounds, SizeIs(7));
}

TEST_F(TextGlyphsTests, LargeBoldLettersAreNoFrames)
{
    for (int letter = 0; letter < 30; ++letter)
        letters(20 + 9 * letter, 20, 1);
    for (int letter = 0; letter < 4; ++letter) {
        const int x = 20 + 22 * letter;
        ink(x, 60, 16, 4);
        ink(x, 76, 16, 4);
        ink(x, 60, 5, 20);
        ink(x + 11, 64, 5, 3);
        ink(x + 11, 72, 5, 4);
    }
    EXPECT_THAT(takeGlyphs(paper.get()).bounds, SizeIs(34));
}

TEST_F(TextGlyphsTests, BoxDrawingAroundATableIsTakenOut)
{
    frame(10, 10, 200, 60);
    ink(10, 40, 200, 1);
    ink(100, 10, 1, 60);
    letters(20, 20, 6);
    letters(110, 50, 6);
    EXPECT_THAT(takeGlyphs(paper.get()).bounds, SizeIs(12));
}

TEST_F(TextGlyphsTests, LettersOfTwoLinesThatTouchAreParted)
{
    letters(20, 20, 6);
    letters(20, 34, 6);
    ink(47, 30, 2, 4);
    EXPECT_THAT(takeGlyphs(paper.get()).bounds,
        AllOf(SizeIs(12), Contains(PixelRect{47, 20, 6, 12}), Contains(PixelRect{47, 32, 6, 12})));
}

TEST_F(TextGlyphsTests, LargeLetterBesideSmallOnesIsNotParted)
{
    ink(20, 20, 16, 24);
    letters(40, 34, 6);
    EXPECT_THAT(takeGlyphs(paper.get()).bounds, Contains(PixelRect{20, 20, 16, 24}));
}

TEST_F(TextGlyphsTests, PictureIsTakenOut)
{
    letters(20, 20, 6);
    ink(200, 20, 120, 120);
    const TextGlyphs glyphs = takeGlyphs(paper.get());
    EXPECT_THAT(glyphs.bounds, SizeIs(6));
    EXPECT_EQ(glyphs.graphics, 1U);
}

} // namespace
} // namespace glimto
