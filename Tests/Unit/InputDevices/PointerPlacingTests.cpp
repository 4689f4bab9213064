#include "Backends/InputDevices/PointerPlacing.h"

#include <limits>

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::int64_t end = std::numeric_limits<std::int64_t>::max();

InputEvent move(double x, std::int64_t time)
{
    return {.type = InputEventType::mouseMoved, .hostNs = time, .globalLocation = {x, 0}};
}

InputEvent click(std::int64_t time)
{
    return {.type = InputEventType::leftMouseDown, .hostNs = time};
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
    EXPECT_EQ(events[1].hostNs, 150);
    EXPECT_EQ(events[2].globalLocation, (Point{2, 0}));
}

TEST(PointerPlacingTests, WhatIsTooYoungWaits)
{
    PointerPlacing placing;
    placing.add(move(1, 100));
    placing.add(click(150));

    EXPECT_EQ(placing.take(149).size(), 1U);
    EXPECT_EQ(placing.oldest(), 150);
    EXPECT_EQ(placing.take(150).size(), 1U);
    EXPECT_EQ(placing.oldest(), std::nullopt);
}

TEST(PointerPlacingTests, AClickBeforeThePointerWasSeenHasNoPlace)
{
    PointerPlacing placing;
    placing.add(click(50));
    EXPECT_TRUE(placing.take(60).empty());

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
    EXPECT_EQ(events[0].hostNs, 100);
}

} // namespace
} // namespace glimto
