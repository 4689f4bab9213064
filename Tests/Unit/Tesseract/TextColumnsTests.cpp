#include "Backends/Tesseract/TextColumns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <leptonica/allheaders.h>

#include "Backends/Tesseract/Leptonica.h"

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int letterHeight = 8;

// White paper with bars for lines of text.
class TextColumnsTests : public testing::Test {
protected:
    void bar(int x, int y, int width, int height = letterHeight)
    {
        pixRasterop(paper.get(), x, y, width, height, PIX_SET, nullptr, 0, 0);
    }

    void lines(int x, int y, int width, int count)
    {
        for (int line = 0; line < count; ++line)
            bar(x, y + 16 * line, width);
    }

    PixHandle paper{pixCreate(600, 400, 1)};
};

TEST_F(TextColumnsTests, WhitePaperHasNoColumns)
{
    EXPECT_THAT(findTextColumns(paper.get(), letterHeight), IsEmpty());
}

TEST_F(TextColumnsTests, WideGapPartsColumns)
{
    lines(20, 20, 200, 4);
    lines(260, 20, 240, 5);
    EXPECT_THAT(findTextColumns(paper.get(), letterHeight),
        ElementsAre(PixelRect{20, 20, 200, 56}, PixelRect{260, 20, 240, 72}));
}

TEST_F(TextColumnsTests, HeadingAndFootStandAboveAndBelowColumns)
{
    bar(20, 10, 480);
    lines(20, 60, 200, 4);
    lines(260, 60, 240, 4);
    bar(20, 180, 480);
    EXPECT_THAT(findTextColumns(paper.get(), letterHeight),
        ElementsAre(PixelRect{20, 10, 480, 8}, PixelRect{20, 60, 200, 56}, PixelRect{260, 60, 240, 56},
            PixelRect{20, 180, 480, 8}));
}

TEST_F(TextColumnsTests, NarrowFieldsOfATableStayTogether)
{
    lines(20, 20, 200, 5);
    lines(300, 20, 40, 5);
    EXPECT_THAT(findTextColumns(paper.get(), letterHeight), ElementsAre(PixelRect{20, 20, 320, 72}));
}

TEST_F(TextColumnsTests, WideFieldsOfALogStayTogether)
{
    for (const int x : {20, 100, 180})
        lines(x, 20, 72, 6);
    lines(272, 20, 240, 6);
    EXPECT_THAT(findTextColumns(paper.get(), letterHeight), ElementsAre(PixelRect{20, 20, 492, 88}));
}

TEST_F(TextColumnsTests, CommentsOfDifferentLengthsStayBesideTheirLines)
{
    lines(20, 20, 200, 6);
    for (int line = 0; line < 6; ++line)
        bar(260, 20 + 16 * line, 60 + 30 * line);
    EXPECT_THAT(findTextColumns(paper.get(), letterHeight), ElementsAre(PixelRect{20, 20, 450, 88}));
}

TEST_F(TextColumnsTests, ListAtOtherHeightsThanThePageBesideItIsAColumn)
{
    for (int line = 0; line < 6; ++line)
        bar(20, 24 + 24 * line, 60);
    lines(120, 20, 300, 9);
    EXPECT_THAT(findTextColumns(paper.get(), letterHeight),
        ElementsAre(PixelRect{20, 24, 60, 128}, PixelRect{120, 20, 300, 136}));
}

TEST_F(TextColumnsTests, ThreeColumnsOfProseAreParted)
{
    for (const int x : {20, 200, 390})
        lines(x, 20, 150, 6);
    EXPECT_THAT(findTextColumns(paper.get(), letterHeight),
        ElementsAre(PixelRect{20, 20, 150, 88}, PixelRect{200, 20, 150, 88}, PixelRect{390, 20, 150, 88}));
}

TEST_F(TextColumnsTests, LinePartsANarrowColumn)
{
    lines(20, 20, 50, 5);
    bar(100, 10, 1, 300);
    lines(140, 20, 300, 5);
    EXPECT_THAT(findTextColumns(paper.get(), letterHeight),
        ElementsAre(PixelRect{20, 20, 50, 72}, PixelRect{140, 20, 300, 72}));
}

} // namespace
} // namespace glimto
