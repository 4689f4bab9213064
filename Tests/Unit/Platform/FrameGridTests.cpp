#include "Platform/FrameGrid.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

HostTime at(std::chrono::nanoseconds time)
{
    return HostTime(time);
}

TEST(FrameGridTests, PointsAreMultiplesOfTheInterval)
{
    const FrameGrid grid({1, 30});
    EXPECT_EQ(grid.pointAtOrAfter(at(0s)), at(0s));
    EXPECT_EQ(grid.pointAtOrAfter(at(1ns)), at(33'333'333ns));
    EXPECT_EQ(grid.pointAtOrAfter(at(40ms)), at(66'666'666ns));
}

TEST(FrameGridTests, APointItselfIsAtAndNotAfter)
{
    FrameGrid grid({1, 30});
    grid.begin(at(5s));
    EXPECT_EQ(grid.pointAtOrAfter(at(5s + 33'333'333ns)), at(5s + 33'333'333ns));
    EXPECT_EQ(grid.pointAfter(at(5s + 33'333'333ns)), at(5s + 66'666'666ns));
    EXPECT_EQ(grid.pointAtOrBefore(at(5s + 33'333'333ns)), at(5s + 33'333'333ns));
    EXPECT_EQ(grid.pointAtOrBefore(at(5s + 33'333'332ns)), at(5s));
}

TEST(FrameGridTests, BeforeTheFirstPointComesTheFirstPoint)
{
    FrameGrid grid({1, 30});
    grid.begin(at(1s));
    EXPECT_EQ(grid.pointAtOrAfter(at(0s)), at(1s));
    EXPECT_EQ(grid.pointAtOrBefore(at(0s)), at(1s));
}

TEST(FrameGridTests, ThirtyPointsAreExactlyOneSecondEvenAfterDays)
{
    const FrameGrid grid({1, 30});
    const HostTime week = at(7 * 24h);
    EXPECT_EQ(grid.pointAtOrAfter(week), week);
    EXPECT_EQ(grid.pointAtOrAfter(week + 1ns), week + 33'333'333ns);
}

TEST(FrameGridTests, IntervalsInNanosecondsDoNotOverflow)
{
    const FrameGrid grid({33'366'667, 1'000'000'000});
    const HostTime day = at(24h);
    const HostTime point = grid.pointAtOrAfter(day);
    EXPECT_GE(point, day);
    EXPECT_LT(point, day + 33'366'667ns);
    EXPECT_EQ(point.time_since_epoch() % 33'366'667ns, 0ns);
}

TEST(FrameGridTests, AnIntervalThatIsNoTimeIsASixtiethOfASecond)
{
    const FrameGrid invalid(MediaTime{});
    const FrameGrid zero({0, 30});
    EXPECT_EQ(invalid.pointAtOrAfter(at(1ns)), at(16'666'666ns));
    EXPECT_EQ(zero.pointAtOrAfter(at(1ns)), at(16'666'666ns));
}

} // namespace
} // namespace glimto
