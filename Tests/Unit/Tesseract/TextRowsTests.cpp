#include "Backends/Tesseract/TextRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr int letterHeight = 10;

std::vector<std::vector<int>> leftEdges(const std::vector<PixelRect>& words)
{
    std::vector<std::vector<int>> rows;
    for (const auto& row : rowsOf(words, letterHeight)) {
        rows.emplace_back();
        for (const auto& word : row.words)
            rows.back().push_back(word.x);
    }
    return rows;
}

TEST(TextRowsTests, LettersCloseToEachOtherAreAWord)
{
    EXPECT_THAT(findWords({{0, 0, 6, 10}, {8, 2, 6, 8}, {30, 0, 6, 10}}, letterHeight),
        UnorderedElementsAre(PixelRect{0, 0, 14, 10}, PixelRect{30, 0, 6, 10}));
}

TEST(TextRowsTests, DotBelongsToTheLetterBelowIt)
{
    EXPECT_THAT(
        findWords({{10, 0, 2, 2}, {10, 4, 2, 8}}, letterHeight), ElementsAre(PixelRect{10, 0, 2, 12}));
}

TEST(TextRowsTests, CommaBelongsNotToTheLineBelowIt)
{
    EXPECT_THAT(findWords({{10, 0, 2, 4}, {8, 8, 8, 14}}, letterHeight), testing::SizeIs(2));
}

TEST(TextRowsTests, LinesCloseToEachOtherAreRows)
{
    using Row = std::vector<int>;
    EXPECT_THAT(leftEdges({{0, 0, 40, 13}, {50, 3, 40, 10}, {1, 14, 40, 13}, {51, 14, 40, 10}}),
        ElementsAre(Row{0, 50}, Row{1, 51}));
}

TEST(TextRowsTests, QuotesDashesAndUnderscoresBelongToTheirRow)
{
    using Row = std::vector<int>;
    EXPECT_THAT(leftEdges({{0, 0, 4, 4}, {10, 0, 40, 13}, {60, 6, 8, 2}, {80, 15, 8, 1}, {10, 22, 40, 13}}),
        ElementsAre(Row{0, 10, 60, 80}, Row{10}));
}

} // namespace
} // namespace glimto
