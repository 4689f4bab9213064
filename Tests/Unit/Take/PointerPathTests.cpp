#include <cmath>

#include <gtest/gtest.h>

#include "GlimtoTake/Plan/PointerPath.h"

namespace glimto {
namespace {

RecordedEvent event(InputEventKind kind, double milliseconds, double x, double y)
{
    return {.t = milliseconds, .x = x, .y = y, .k = kind};
}

TEST(PointerPathTests, TrackWithoutEventsShowsNoPointer)
{
    EXPECT_FALSE(PointerPath({}).at(1).isVisible);
}

TEST(PointerPathTests, ClickIsExactlyWhereItWas)
{
    std::deque<RecordedEvent> events;
    for (int step = 0; step <= 20; ++step)
        events.push_back(event(InputEventKind::move, 1000 + step * 10, 0.1 + step * 0.04, 0.2));
    events.push_back(event(InputEventKind::down, 1210, 0.9, 0.2));
    const PointerPath path(events);
    for (const double time : {1.21, 1.22, 1.24, 1.3}) {
        EXPECT_NEAR(path.at(time).x, 0.9, 1e-9);
        EXPECT_NEAR(path.at(time).y, 0.2, 1e-9);
    }
}

TEST(PointerPathTests, MovesSmoothlyBetweenEvents)
{
    const PointerPath path({event(InputEventKind::move, 0, 0, 0), event(InputEventKind::move, 100, 1, 0)});
    double last = path.at(0).x;
    for (double time = 0; time < 0.3; time += 0.005) {
        const double x = path.at(time).x;
        EXPECT_GE(x, last - 1e-12);
        EXPECT_LE(x - last, 0.08);
        last = x;
    }
    EXPECT_NEAR(last, 1, 1e-9);
}

TEST(PointerPathTests, StandsStillWhileNothingIsHeard)
{
    const PointerPath path(
        {event(InputEventKind::move, 0, 0.2, 0.2), event(InputEventKind::move, 5000, 0.8, 0.8)});
    EXPECT_NEAR(path.at(2).x, 0.2, 1e-9);
    EXPECT_NEAR(path.at(4.8).x, 0.2, 1e-9);
    EXPECT_NEAR(path.at(5.1).x, 0.8, 1e-9);
}

TEST(PointerPathTests, RingStaysWhereTheClickWasAndGoes)
{
    const PointerPath path({event(InputEventKind::down, 1000, 0.3, 0.4),
        event(InputEventKind::up, 1080, 0.3, 0.4), event(InputEventKind::move, 1100, 0.9, 0.9)});
    EXPECT_TRUE(path.at(0.99).rings.empty());
    ASSERT_EQ(path.at(1.25).rings.size(), 1U);
    EXPECT_EQ(path.at(1.25).rings[0], (ClickRing{0.3, 0.4, 0.5}));
    EXPECT_TRUE(path.at(1.5).rings.empty());
    EXPECT_TRUE(path.at(1.05).isPressed);
    EXPECT_FALSE(path.at(1.09).isPressed);
}

TEST(PointerPathTests, ScrollingIsFeltForAWhile)
{
    auto scroll = event(InputEventKind::scroll, 1000, 0.5, 0.5);
    scroll.dy = -2;
    const PointerPath path({scroll});
    EXPECT_NEAR(path.at(1).scroll, -1, 1e-9);
    EXPECT_LT(path.at(1.2).scroll, 0);
    EXPECT_EQ(path.at(1.5).scroll, 0);
}

} // namespace
} // namespace glimto
