#include "Backends/InputDevices/PointerPlacing.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr HostTime end = HostTime::max();

HostTime at(std::int64_t nanoseconds)
{
    return HostTime(std::chrono::nanoseconds(nanoseconds));
}

InputEvent move(double x, std::int64_t time)
{
    return {.type = InputEventType::mouseMoved, .time = at(time), .globalLocation = {x, 0}};
}

InputEvent click(std::int64_t time)
{
    return {.type = InputEventType::leftMouseDown, .time = at(time)};
}

TEST(PointerPlacingTests, AClickIsWhereThePointerWasThen)
{
    PointerPlacing placing;
    placing.add(click(150));
    placing.add(move(1, 100));
    placing.add(move(2, 200));

    const auto events = placing.take(end);

    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[1].type, InputEventType::leftMouseDown);
    EXPECT_EQ(events[1].globalLocation, (Point{1, 0}));
    EXPECT_EQ(events[1].time, at(150));
    EXPECT_EQ(events[2].globalLocation, (Point{2, 0}));
}

TEST(PointerPlacingTests, WhatIsTooYoungWaits)
{
    PointerPlacing placing;
    placing.add(move(1, 100));
    placing.add(click(150));

    EXPECT_EQ(placing.take(at(149)).size(), 1U);
    EXPECT_EQ(placing.oldest(), at(150));
    EXPECT_EQ(placing.take(at(150)).size(), 1U);
    EXPECT_EQ(placing.oldest(), std::nullopt);
}

TEST(PointerPlacingTests, AClickBeforeThePointerWasSeenHasNoPlace)
{
    PointerPlacing placing;
    placing.add(click(50));
    EXPECT_TRUE(placing.take(at(60)).empty());

    placing.add(move(1, 100));
    placing.add(click(150));

    EXPECT_EQ(placing.take(end).size(), 2U);
}

TEST(PointerPlacingTests, ThePlaceIsKnownFromEarlierMoves)
{
    PointerPlacing placing;
    placing.add(move(7, 100));
    placing.take(end);
    placing.add(click(150));

    const auto events = placing.take(end);

    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].globalLocation, (Point{7, 0}));
}

TEST(PointerPlacingTests, TimesNeverRunBackwards)
{
    PointerPlacing placing;
    placing.add(move(7, 100));
    placing.take(end);
    placing.add(click(50));

    const auto events = placing.take(end);

    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].time, at(100));
}

} // namespace
} // namespace glimto
