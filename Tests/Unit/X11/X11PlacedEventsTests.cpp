#include "Backends/X11/Pointer/X11PlacedEvents.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Type = InputEventType;
using Recorded = X11RecordedEvent::Kind;
using Raw = X11RawAddition::Kind;

HostTime at(std::int64_t milliseconds)
{
    return HostTime(std::chrono::milliseconds(milliseconds));
}

X11RecordedEvent moved(std::uint32_t stamp, double x, double y)
{
    X11RecordedEvent event;
    event.stamp = stamp;
    event.location = {x, y};
    return event;
}

X11RecordedEvent clicked(Recorded kind, std::uint32_t stamp, std::uint32_t button, double x, double y)
{
    X11RecordedEvent event = moved(stamp, x, y);
    event.kind = kind;
    event.button = button;
    return event;
}

X11RawAddition raw(Raw kind, std::uint32_t stamp, std::uint32_t button = 0)
{
    X11RawAddition addition;
    addition.kind = kind;
    addition.stamp = stamp;
    addition.button = button;
    return addition;
}

X11RawAddition touch(Raw kind, std::uint32_t stamp, double x, double y)
{
    X11RawAddition addition = raw(kind, stamp);
    addition.location = Point{x, y};
    return addition;
}

MATCHER_P3(IsEvent, type, x, y, "")
{
    return arg.type == type && arg.globalLocation == (Point{double(x), double(y)});
}

// A server whose stamps are the host's milliseconds, and a pointer at (10, 10).
class X11PlacedEventsTests : public testing::Test {
protected:
    X11PlacedEventsTests()
    {
        clock.add({.stamp = 1000, .before = at(1000), .after = at(1001)});
        events.setFirstPlace({10, 10});
    }

    std::vector<InputEvent> settledUntil(std::int64_t milliseconds)
    {
        events.settle(clock, at(10'000), at(milliseconds));
        return events.take();
    }

    std::vector<InputEvent> settled() { return settledUntil(10'000); }

    X11ServerClock clock;
    X11PlacedEvents events;
};

TEST_F(X11PlacedEventsTests, AClickIsWhereItWasRecordedWhateverFollows)
{
    events.add(moved(1100, 50, 60));
    events.add(clicked(Recorded::press, 1100, 1, 50, 60));
    events.add(moved(1100, 200, 100));
    events.add(clicked(Recorded::release, 1100, 1, 200, 100));
    events.add(raw(Raw::press, 1100, 1));
    events.add(raw(Raw::release, 1100, 1));
    EXPECT_THAT(settled(),
        ElementsAre(IsEvent(Type::mouseMoved, 50, 60), IsEvent(Type::leftMouseDown, 50, 60),
            IsEvent(Type::mouseMoved, 200, 100), IsEvent(Type::leftMouseUp, 200, 100)));
    EXPECT_FALSE(events.isWaiting());
}

TEST_F(X11PlacedEventsTests, TimeIsTheServersOnTheHostClock)
{
    events.add(moved(1234, 5, 5));
    const auto all = settled();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].time, at(1234) + std::chrono::microseconds(500));
}

TEST_F(X11PlacedEventsTests, WhatComesAfterTheLimitWaits)
{
    events.add(moved(1100, 20, 20));
    events.add(moved(1200, 30, 30));
    EXPECT_THAT(settledUntil(1150), ElementsAre(IsEvent(Type::mouseMoved, 20, 20)));
    EXPECT_TRUE(events.isWaiting());
    EXPECT_THAT(settledUntil(1250), ElementsAre(IsEvent(Type::mouseMoved, 30, 30)));
}

TEST_F(X11PlacedEventsTests, StampsMayStartAnew)
{
    X11ServerClock late;
    constexpr std::int64_t wrap = std::int64_t{1} << 32;
    late.add({.stamp = 0xFFFFFFF0, .before = at(wrap - 16), .after = at(wrap - 15)});
    events.add(moved(0xFFFFFFFE, 20, 20));
    events.add(moved(3, 30, 30));
    auto turn = raw(Raw::scroll, 2);
    turn.lines = {.y = 1, .x = 0};
    events.add(turn);
    events.settle(late, at(wrap + 100), at(wrap + 100));
    EXPECT_THAT(events.take(),
        ElementsAre(IsEvent(Type::mouseMoved, 20, 20), IsEvent(Type::scrollWheel, 20, 20),
            IsEvent(Type::mouseMoved, 30, 30)));
}

TEST_F(X11PlacedEventsTests, APressedWheelButtonScrollsOnceWhereItWasPressed)
{
    events.add(clicked(Recorded::press, 1100, 4, 70, 80));
    events.add(clicked(Recorded::release, 1100, 4, 70, 80));
    events.add(raw(Raw::press, 1100, 4));
    events.add(raw(Raw::release, 1100, 4));
    const auto all = settled();
    ASSERT_THAT(all, ElementsAre(IsEvent(Type::scrollWheel, 70, 80)));
    EXPECT_EQ(all[0].scrollDeltaY, 1);
}

TEST_F(X11PlacedEventsTests, ButtonsMadeOfASmoothWheelDoNotScrollAgain)
{
    auto turn = raw(Raw::scroll, 1100);
    turn.lines = {.y = -1, .x = 0.5};
    events.add(turn);
    events.add(clicked(Recorded::press, 1100, 5, 10, 10));
    events.add(clicked(Recorded::release, 1100, 5, 10, 10));
    const auto all = settled();
    ASSERT_THAT(all, ElementsAre(IsEvent(Type::scrollWheel, 10, 10)));
    EXPECT_EQ(all[0].scrollDeltaY, -1);
    EXPECT_EQ(all[0].scrollDeltaX, 0.5);
}

TEST_F(X11PlacedEventsTests, AClickMissingInTheRecordIsWhereThePointerWasLast)
{
    events.add(moved(1100, 50, 60));
    events.add(raw(Raw::press, 1200, 3));
    events.add(raw(Raw::release, 1210, 3));
    events.add(raw(Raw::press, 1220, 7));
    EXPECT_THAT(settled(),
        ElementsAre(IsEvent(Type::mouseMoved, 50, 60), IsEvent(Type::rightMouseDown, 50, 60),
            IsEvent(Type::rightMouseUp, 50, 60), IsEvent(Type::scrollWheel, 50, 60)));
}

TEST_F(X11PlacedEventsTests, ARecordThatComesTooLateClicksNoSecondTime)
{
    events.add(raw(Raw::press, 1200, 1));
    EXPECT_THAT(settledUntil(1300), ElementsAre(IsEvent(Type::leftMouseDown, 10, 10)));
    events.add(clicked(Recorded::press, 1200, 1, 10, 10));
    EXPECT_THAT(settledUntil(1400), IsEmpty());
}

TEST_F(X11PlacedEventsTests, MovesWithAButtonDownAreDrags)
{
    auto left = moved(1100, 20, 20);
    left.leftIsDown = true;
    auto right = moved(1101, 30, 30);
    right.rightIsDown = true;
    events.add(left);
    events.add(right);
    EXPECT_THAT(settled(),
        ElementsAre(IsEvent(Type::leftMouseDragged, 20, 20), IsEvent(Type::rightMouseDragged, 30, 30)));
}

TEST_F(X11PlacedEventsTests, AMotionWithinAPixelIsNoMove)
{
    events.add(moved(1100, 10, 10));
    EXPECT_THAT(settled(), IsEmpty());
}

TEST_F(X11PlacedEventsTests, ATouchGoesDownWhereItHasMovedThePointer)
{
    events.add(moved(1100, 300, 200));
    events.add(touch(Raw::touchBegin, 1100, 300, 201));
    events.add(touch(Raw::touchMove, 1110, 310, 205));
    events.add(touch(Raw::touchEnd, 1120, 310, 205));
    EXPECT_THAT(settled(),
        ElementsAre(IsEvent(Type::mouseMoved, 300, 200), IsEvent(Type::leftMouseDown, 300, 200),
            IsEvent(Type::leftMouseDragged, 310, 205), IsEvent(Type::leftMouseUp, 310, 205)));
}

TEST_F(X11PlacedEventsTests, ATouchEndsBeforeTheNextOneThatBeginsInTheSameMillisecond)
{
    events.add(touch(Raw::touchEnd, 1100, 40, 40));
    events.add(moved(1100, 300, 200));
    events.add(touch(Raw::touchBegin, 1100, 300, 200));
    EXPECT_THAT(settled(),
        ElementsAre(IsEvent(Type::leftMouseUp, 40, 40), IsEvent(Type::mouseMoved, 300, 200),
            IsEvent(Type::leftMouseDown, 300, 200)));
}

TEST_F(X11PlacedEventsTests, TouchesWithOneStampKeepTheirOrder)
{
    events.add(moved(1100, 300, 200));
    events.add(moved(1100, 40, 50));
    events.add(touch(Raw::touchBegin, 1100, 300, 200));
    events.add(touch(Raw::touchEnd, 1100, 300, 200));
    events.add(touch(Raw::touchBegin, 1100, 40, 50));
    EXPECT_THAT(settled(),
        ElementsAre(IsEvent(Type::mouseMoved, 300, 200), IsEvent(Type::leftMouseDown, 300, 200),
            IsEvent(Type::leftMouseUp, 300, 200), IsEvent(Type::mouseMoved, 40, 50),
            IsEvent(Type::leftMouseDown, 40, 50)));
}

TEST_F(X11PlacedEventsTests, APlaceThatTheServerNamesTwiceIsAMoveWithoutARecord)
{
    events.setPlace({90, 90}, at(2000));
    EXPECT_THAT(events.take(), IsEmpty());
    events.setPlace({90, 90}, at(2250));
    EXPECT_THAT(events.take(), ElementsAre(IsEvent(Type::mouseMoved, 90, 90)));
    events.setPlace({90, 90}, at(2500));
    EXPECT_THAT(events.take(), IsEmpty());
}

TEST_F(X11PlacedEventsTests, AMoveHasTheTimeOfItsRecordWhenTheServerNamesItsPlaceBefore)
{
    events.setPlace({90, 90}, at(2000));
    events.add(moved(1999, 90, 90));
    events.setPlace({90, 90}, at(2001));
    const auto all = settled();
    ASSERT_THAT(all, ElementsAre(IsEvent(Type::mouseMoved, 90, 90)));
    EXPECT_EQ(all[0].time, at(1999) + std::chrono::microseconds(500));
}

TEST_F(X11PlacedEventsTests, ThePointerNeedNotBeWhereATouchHasEnded)
{
    events.add(touch(Raw::touchEnd, 1100, 310, 205));
    settled();
    events.setPlace({300, 200}, at(2000));
    events.setPlace({300, 200}, at(2250));
    EXPECT_THAT(events.take(), IsEmpty());
}

} // namespace
} // namespace glimto
