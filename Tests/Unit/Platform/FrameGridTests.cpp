#include "Platform/FrameGrid.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::int64_t second = 1'000'000'000;

TEST(FrameGridTests, PointsAreMultiplesOfTheInterval)
{
    const FrameGrid grid({1, 30});
    EXPECT_EQ(grid.pointAtOrAfter(0), 0);
    EXPECT_EQ(grid.pointAtOrAfter(1), 33'333'333);
    EXPECT_EQ(grid.pointAtOrAfter(40'000'000), 66'666'666);
}

TEST(FrameGridTests, APointItselfIsAtAndNotAfter)
{
    FrameGrid grid({1, 30});
    grid.begin(5 * second);
    EXPECT_EQ(grid.pointAtOrAfter(5 * second + 33'333'333), 5 * second + 33'333'333);
    EXPECT_EQ(grid.pointAfter(5 * second + 33'333'333), 5 * second + 66'666'666);
    EXPECT_EQ(grid.pointAtOrBefore(5 * second + 33'333'333), 5 * second + 33'333'333);
    EXPECT_EQ(grid.pointAtOrBefore(5 * second + 33'333'332), 5 * second);
}

TEST(FrameGridTests, BeforeTheFirstPointComesTheFirstPoint)
{
    FrameGrid grid({1, 30});
    grid.begin(second);
    EXPECT_EQ(grid.pointAtOrAfter(0), second);
    EXPECT_EQ(grid.pointAtOrBefore(0), second);
}

TEST(FrameGridTests, ThirtyPointsAreExactlyOneSecondEvenAfterDays)
{
    const FrameGrid grid({1, 30});
    const std::int64_t week = 7 * 24 * 3600 * second;
    EXPECT_EQ(grid.pointAtOrAfter(week), week);
    EXPECT_EQ(grid.pointAtOrAfter(week + 1), week + 33'333'333);
}

TEST(FrameGridTests, IntervalsInNanosecondsDoNotOverflow)
{
    const FrameGrid grid({33'366'667, second});
    const std::int64_t day = 24 * 3600 * second;
    const std::int64_t point = grid.pointAtOrAfter(day);
    EXPECT_GE(point, day);
    EXPECT_LT(point, day + 33'366'667);
    EXPECT_EQ(point % 33'366'667, 0);
}

TEST(FrameGridTests, AnIntervalThatIsNoTimeIsASixtiethOfASecond)
{
    const FrameGrid invalid(MediaTime{});
    const FrameGrid zero({0, 30});
    EXPECT_EQ(invalid.pointAtOrAfter(1), 16'666'666);
    EXPECT_EQ(zero.pointAtOrAfter(1), 16'666'666);
}

} // namespace
} // namespace glimto
