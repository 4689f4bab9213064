#include "Backends/X11/Pointer/X11ServerClock.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t stampsInAll = std::int64_t{1} << 32;

// A server whose clock shows 0 at `zero` of the host clock; it takes `delay` to ask and as long to answer.
struct Server {
    std::int64_t zero = 0;
    std::int64_t delay = 100'000;

    std::uint32_t stampAt(std::int64_t hostNs) const
    {
        return static_cast<std::uint32_t>((hostNs - zero) / millisecond);
    }
    X11ServerClock::Measurement measureAt(std::int64_t hostNs) const
    {
        return {.stamp = stampAt(hostNs), .before = hostNs - delay, .after = hostNs + delay};
    }
};

void expectWithin(
    const X11ServerClock& clock, const Server& server, std::int64_t hostNs, std::int64_t tolerance)
{
    EXPECT_NEAR(static_cast<double>(clock.hostTime(server.stampAt(hostNs), hostNs + millisecond)),
        static_cast<double>(hostNs), static_cast<double>(tolerance));
}

TEST(X11ServerClockTests, ASharedClockGivesTheMiddleOfTheStampsMillisecond)
{
    const Server server;
    X11ServerClock clock;
    clock.add(server.measureAt(5'000'400'000));
    EXPECT_EQ(clock.hostTime(7000, 7'002'000'000), 7'000'500'000);
}

TEST(X11ServerClockTests, AClockWithAnotherZeroIsMappedWithinAMillisecond)
{
    const Server server{.zero = 123'456'789'012};
    X11ServerClock clock;
    clock.add(server.measureAt(200'000'000'000));
    expectWithin(clock, server, 200'300'700'000, 1'200'000);
}

TEST(X11ServerClockTests, MoreMeasurementsNarrowTheOffsetDown)
{
    const Server server{.zero = 123'456'789'012};
    X11ServerClock clock;
    for (std::int64_t count = 0; count < 5; ++count)
        clock.add(server.measureAt(200'000'000'000 + count * 1'230'000));
    expectWithin(clock, server, 200'300'700'000, 700'000);
}

TEST(X11ServerClockTests, ASlowMeasurementSpoilsNothing)
{
    const Server server{.zero = 123'456'789'012};
    X11ServerClock clock;
    clock.add(server.measureAt(200'000'000'000));
    clock.add(
        {.stamp = server.stampAt(200'100'000'000), .before = 200'099'000'000, .after = 200'900'000'000});
    expectWithin(clock, server, 200'300'700'000, 1'200'000);
}

TEST(X11ServerClockTests, AMeasurementThatEndsBeforeItBeganIsNone)
{
    X11ServerClock clock;
    clock.add({.stamp = 1, .before = 2, .after = 1});
    EXPECT_FALSE(clock.hasMeasurement());
}

TEST(X11ServerClockTests, FiveMeasurementsAreEnough)
{
    const Server server;
    X11ServerClock clock;
    for (std::int64_t count = 0; count < 4; ++count)
        clock.add(server.measureAt(1'000'000'000 + count * millisecond));
    EXPECT_TRUE(clock.needsMeasurement());
    clock.add(server.measureAt(1'005'000'000));
    EXPECT_FALSE(clock.needsMeasurement());
}

TEST(X11ServerClockTests, StampsThatStartAnewGoOnOnTheHostClock)
{
    const std::int64_t wrap = stampsInAll * millisecond;
    const Server server;
    X11ServerClock clock;
    clock.add(server.measureAt(wrap - 3'000 * millisecond + 400'000));
    EXPECT_EQ(server.stampAt(wrap + 2'000 * millisecond), 2'000U);
    EXPECT_EQ(clock.hostTime(2'000, wrap + 2'001 * millisecond), wrap + 2'000 * millisecond + 500'000);
}

TEST(X11ServerClockTests, StampsFromBeforeTheNewStartStayBeforeIt)
{
    const std::int64_t wrap = stampsInAll * millisecond;
    X11ServerClock clock;
    clock.add(Server{}.measureAt(wrap - 3'000 * millisecond + 400'000));
    EXPECT_EQ(clock.hostTime(0xFFFFFFFF, wrap + millisecond), wrap - millisecond / 2);
}

TEST(X11ServerClockTests, AHostThatHasRunForMonthsSharesItsClockAllTheSame)
{
    const std::int64_t late = 3 * stampsInAll * millisecond + 12'345 * millisecond;
    X11ServerClock clock;
    clock.add(Server{}.measureAt(late + 400'000));
    EXPECT_EQ(clock.hostTime(12'400, late + 60 * millisecond), late + 55 * millisecond + 500'000);
}

TEST(X11ServerClockTests, ADriftingClockIsFollowed)
{
    Server server{.zero = 123'456'789'012};
    X11ServerClock clock;
    clock.add(server.measureAt(200'000'000'000));
    server.zero += 50 * millisecond;
    clock.add(server.measureAt(210'000'000'000));
    expectWithin(clock, server, 210'300'700'000, 1'200'000);
}

} // namespace
} // namespace glimto
