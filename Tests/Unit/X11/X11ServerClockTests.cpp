#include "Backends/X11/Pointer/X11ServerClock.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds stampsInAll(std::int64_t{1} << 32);

HostTime at(std::chrono::nanoseconds time)
{
    return HostTime(time);
}

// A server whose clock shows 0 at `zero` of the host clock; it takes `delay` to ask and as long to answer.
struct Server {
    HostTime zero = {};
    std::chrono::nanoseconds delay = 100us;

    std::uint32_t stampAt(HostTime time) const { return static_cast<std::uint32_t>((time - zero) / 1ms); }
    X11ServerClock::Measurement measureAt(HostTime time) const
    {
        return {.stamp = stampAt(time), .before = time - delay, .after = time + delay};
    }
};

void expectWithin(
    const X11ServerClock& clock, const Server& server, HostTime time, std::chrono::nanoseconds tolerance)
{
    EXPECT_LE(std::chrono::abs(clock.hostTime(server.stampAt(time), time + 1ms) - time), tolerance);
}

TEST(X11ServerClockTests, ASharedClockGivesTheMiddleOfTheStampsMillisecond)
{
    const Server server;
    X11ServerClock clock;
    clock.add(server.measureAt(at(5000ms + 400us)));
    EXPECT_EQ(clock.hostTime(7000, at(7002ms)), at(7000ms + 500us));
}

TEST(X11ServerClockTests, AClockWithAnotherZeroIsMappedWithinAMillisecond)
{
    const Server server{.zero = at(123'456'789'012ns)};
    X11ServerClock clock;
    clock.add(server.measureAt(at(200s)));
    expectWithin(clock, server, at(200'300'700us), 1200us);
}

TEST(X11ServerClockTests, MoreMeasurementsNarrowTheOffsetDown)
{
    const Server server{.zero = at(123'456'789'012ns)};
    X11ServerClock clock;
    for (std::int64_t count = 0; count < 5; ++count)
        clock.add(server.measureAt(at(200s + count * 1230us)));
    expectWithin(clock, server, at(200'300'700us), 700us);
}

TEST(X11ServerClockTests, ASlowMeasurementSpoilsNothing)
{
    const Server server{.zero = at(123'456'789'012ns)};
    X11ServerClock clock;
    clock.add(server.measureAt(at(200s)));
    clock.add({.stamp = server.stampAt(at(200'100ms)), .before = at(200'099ms), .after = at(200'900ms)});
    expectWithin(clock, server, at(200'300'700us), 1200us);
}

TEST(X11ServerClockTests, AMeasurementThatEndsBeforeItBeganIsNone)
{
    X11ServerClock clock;
    clock.add({.stamp = 1, .before = at(2ns), .after = at(1ns)});
    EXPECT_FALSE(clock.hasMeasurement());
}

TEST(X11ServerClockTests, FiveMeasurementsAreEnough)
{
    const Server server;
    X11ServerClock clock;
    for (std::int64_t count = 0; count < 4; ++count)
        clock.add(server.measureAt(at(1s + count * 1ms)));
    EXPECT_TRUE(clock.needsMeasurement());
    clock.add(server.measureAt(at(1005ms)));
    EXPECT_FALSE(clock.needsMeasurement());
}

TEST(X11ServerClockTests, StampsThatStartAnewGoOnOnTheHostClock)
{
    const HostTime wrap = at(stampsInAll);
    const Server server;
    X11ServerClock clock;
    clock.add(server.measureAt(wrap - 3s + 400us));
    EXPECT_EQ(server.stampAt(wrap + 2s), 2'000U);
    EXPECT_EQ(clock.hostTime(2'000, wrap + 2001ms), wrap + 2s + 500us);
}

TEST(X11ServerClockTests, StampsFromBeforeTheNewStartStayBeforeIt)
{
    const HostTime wrap = at(stampsInAll);
    X11ServerClock clock;
    clock.add(Server{}.measureAt(wrap - 3s + 400us));
    EXPECT_EQ(clock.hostTime(0xFFFFFFFF, wrap + 1ms), wrap - 500us);
}

TEST(X11ServerClockTests, AHostThatHasRunForMonthsSharesItsClockAllTheSame)
{
    const HostTime late = at(3 * stampsInAll + 12'345ms);
    X11ServerClock clock;
    clock.add(Server{}.measureAt(late + 400us));
    EXPECT_EQ(clock.hostTime(12'400, late + 60ms), late + 55ms + 500us);
}

TEST(X11ServerClockTests, ADriftingClockIsFollowed)
{
    Server server{.zero = at(123'456'789'012ns)};
    X11ServerClock clock;
    clock.add(server.measureAt(at(200s)));
    server.zero += 50ms;
    clock.add(server.measureAt(at(210s)));
    expectWithin(clock, server, at(210'300'700us), 1200us);
}

} // namespace
} // namespace glimto
