#include "Backends/Images/PNGFilter.h"

#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Bytes = std::vector<std::uint8_t>;

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
    EXPECT_EQ(Bytes(rows.bytes.get(), rows.bytes.get() + rows.size),
        (Bytes{1, 1, 2, 3, 10, 10, 10, /* next row */ 2, 0, 0, 0, 0, 0, 1}));
}

} // namespace
} // namespace glimto
