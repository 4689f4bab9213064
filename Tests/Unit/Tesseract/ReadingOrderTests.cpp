#include "Backends/Tesseract/ReadingOrder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int letterHeight = 8;

// Pages of lines, each of one wide word; a row is told by the left edges of its words.
class ReadingOrderTests : public testing::Test {
protected:
    void word(int x, int y, int width, int height = letterHeight) { words.push_back({x, y, width, height}); }

    void lines(int x, int y, int width, int count)
    {
        for (int line = 0; line < count; ++line)
            word(x, y + 16 * line, width);
    }

    std::vector<std::vector<int>> order() const
    {
        std::vector<std::vector<int>> rows;
        for (const auto& row : rowsInReadingOrder(words, rules, letterHeight)) {
            rows.emplace_back();
            for (const auto& found : row.words)
                rows.back().push_back(found.x);
        }
        return rows;
    }

    using Row = std::vector<int>;

    std::vector<PixelRect> words;
    std::vector<PixelRect> rules;
};

TEST_F(ReadingOrderTests, WhitePaperHasNoRows)
{
    EXPECT_THAT(order(), IsEmpty());
}

TEST_F(ReadingOrderTests, ColumnsOfProseAreReadOneAfterTheOther)
{
    lines(20, 20, 200, 3);
    lines(260, 20, 240, 3);
    EXPECT_THAT(order(), ElementsAre(Row{20}, Row{20}, Row{20}, Row{260}, Row{260}, Row{260}));
}

TEST_F(ReadingOrderTests, HeadingAndFootStandAboveAndBelowColumns)
{
    word(10, 10, 480);
    lines(20, 60, 200, 3);
    lines(260, 60, 240, 3);
    word(15, 180, 480);
    EXPECT_THAT(
        order(), ElementsAre(Row{10}, Row{20}, Row{20}, Row{20}, Row{260}, Row{260}, Row{260}, Row{15}));
}

TEST_F(ReadingOrderTests, FieldsOfATableAreReadRowByRow)
{
    lines(20, 20, 200, 3);
    lines(300, 20, 40, 3);
    EXPECT_THAT(order(), ElementsAre(Row{20, 300}, Row{20, 300}, Row{20, 300}));
}

TEST_F(ReadingOrderTests, WideFieldsOfALogAreReadRowByRow)
{
    for (const int x : {20, 100, 180})
        lines(x, 20, 72, 3);
    lines(272, 20, 240, 3);
    EXPECT_THAT(order(), ElementsAre(Row{20, 100, 180, 272}, Row{20, 100, 180, 272}, Row{20, 100, 180, 272}));
}

TEST_F(ReadingOrderTests, CommentsOfDifferentLengthsStayBesideTheirLines)
{
    lines(20, 20, 200, 6);
    for (int line = 0; line < 6; ++line)
        word(260, 20 + 16 * line, 60 + 30 * line);
    EXPECT_THAT(order(), testing::AllOf(testing::SizeIs(6), testing::Each(Row{20, 260})));
}

TEST_F(ReadingOrderTests, LineNumbersStayBesideTheirLines)
{
    lines(4, 20, 24, 4);
    word(52, 20, 200);
    word(84, 52, 160);
    word(52, 68, 120);
    EXPECT_THAT(order(), ElementsAre(Row{4, 52}, Row{4}, Row{4, 84}, Row{4, 52}));
}

TEST_F(ReadingOrderTests, ListAtOtherHeightsThanThePageBesideItIsReadFirst)
{
    for (int line = 0; line < 4; ++line)
        word(20, 24 + 24 * line, 60);
    lines(120, 20, 300, 6);
    EXPECT_THAT(order(),
        ElementsAre(
            Row{20}, Row{20}, Row{20}, Row{20}, Row{120}, Row{120}, Row{120}, Row{120}, Row{120}, Row{120}));
}

TEST_F(ReadingOrderTests, RulePartsANarrowListFromThePageBesideIt)
{
    for (int line = 0; line < 4; ++line)
        word(20, 24 + 24 * line, 30);
    lines(90, 20, 300, 6);
    EXPECT_EQ(order().size(), 6U);
    rules.push_back({70, 10, 1, 120});
    EXPECT_EQ(order().size(), 10U);
}

} // namespace
} // namespace glimto
