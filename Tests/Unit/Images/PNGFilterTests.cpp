#include "Backends/Images/PNGFilter.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes filteredRows(const PixelBuffer& pixels)
{
    const auto rows = makeRows(pixels);
    filterRows(pixels, 0, static_cast<std::size_t>(pixels.height), rows);
    return {rows.bytes.get(), rows.bytes.get() + rows.size};
}

TEST(PNGFilterTests, ARowThatRepeatsTheOneAboveIsTheDifferenceToIt)
{
    const Bytes row = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(filterForRow(row, row), PNGFilterType::up);
}

TEST(PNGFilterTests, AFlatRowIsTheDifferenceToTheLeft)
{
    EXPECT_EQ(filterForRow(Bytes{9, 9, 9, 9, 9, 9}, Bytes{1, 1, 1, 200, 200, 200}), PNGFilterType::sub);
}

TEST(PNGFilterTests, ARowLikeTheOneAboveIsTheDifferenceToIt)
{
    EXPECT_EQ(filterForRow(Bytes{9, 9, 9, 99, 99, 99}, Bytes{9, 9, 9, 98, 98, 98}), PNGFilterType::up);
}

// 300 black and white pixels as letters have them, the first ones of `smooth` steps.
Bytes rowOfLetters(int smooth)
{
    Bytes row;
    for (int pixel = 0; pixel < 300; ++pixel) {
        const bool isBlack = pixel % 7 < 2 || pixel % 11 == 3;
        row.insert(row.end(), 3, static_cast<std::uint8_t>(pixel < smooth ? pixel : isBlack ? 0 : 255));
    }
    return row;
}

TEST(PNGFilterTests, LettersOnOneColourStayAsTheyAre)
{
    const Bytes above(900, 255);
    EXPECT_EQ(filterForRow(rowOfLetters(0), above), PNGFilterType::none);
    EXPECT_EQ(filterForRow(Bytes(900, 0), rowOfLetters(0)), PNGFilterType::sub);
}

TEST(PNGFilterTests, LettersBesideSomethingSmoothAreDifferences)
{
    EXPECT_NE(filterForRow(rowOfLetters(200), Bytes(900, 128)), PNGFilterType::none);
}

TEST(PNGFilterTests, RowsOfLettersAreWrittenAsTheyAre)
{
    const Bytes letters = rowOfLetters(0);
    Bytes bgrx;
    for (std::size_t pixel = 0; pixel < 300; ++pixel)
        bgrx.insert(bgrx.end(), {letters[3 * pixel], letters[3 * pixel], letters[3 * pixel], 7});
    const auto rows = filteredRows({300, 1, 1200, bgrx.data(), nullptr});
    EXPECT_EQ(rows[0], 0);
    EXPECT_EQ(Bytes(rows.begin() + 1, rows.end()), letters);
}

TEST(PNGFilterTests, LongRowsOfLargeDifferencesAreSummedWithoutOverflow)
{
    Bytes row(300'000, 255);
    const Bytes above(300'000, 0);
    for (std::size_t at = 0; at < 3; ++at)
        row[at] = 0;
    EXPECT_EQ(filterForRow(row, above), PNGFilterType::sub);
}

TEST(PNGFilterTests, RowsAreRGBDifferencesBehindTheirFilter)
{
    const Bytes bgrx = {3, 2, 1, 99, 13, 12, 11, 98, /* next row */ 3, 2, 1, 97, 14, 12, 11, 96};
    const auto rows = filteredRows({2, 2, 8, bgrx.data(), nullptr});
    EXPECT_EQ(rows, (Bytes{1, 1, 2, 3, 10, 10, 10, /* next row */ 2, 0, 0, 0, 0, 0, 1}));
}

TEST(PNGFilterTests, RowsMayBeFilledInPartsOfAnyLength)
{
    constexpr int width = 5;
    constexpr int height = 40;
    Bytes bgrx(4 * width * height);
    for (std::size_t at = 0; at < bgrx.size(); ++at)
        bgrx[at] = static_cast<std::uint8_t>(at / (8 * width) % 3 * at * at);
    const PixelBuffer pixels = {width, height, 4 * width, bgrx.data(), nullptr};
    const auto rows = makeRows(pixels);
    std::fill(rows.bytes.get(), rows.bytes.get() + rows.size, std::uint8_t(0xa5));
    for (const auto& [first, end] : {std::pair{17U, 18U}, {18U, 40U}, {1U, 17U}, {0U, 1U}})
        filterRows(pixels, first, end, rows);
    EXPECT_EQ(Bytes(rows.bytes.get(), rows.bytes.get() + rows.size), filteredRows(pixels));
}

} // namespace
} // namespace glimto
