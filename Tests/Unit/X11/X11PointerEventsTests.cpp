#include "Backends/X11/Pointer/X11PointerEvents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = X11PointerEvent::Kind;
using Type = InputEventType;

constexpr X11PointerID pointer = 2;

X11PointerEvent move(std::uint32_t sequence, double x, double y)
{
    X11PointerEvent event;
    event.pointer = pointer;
    event.sequence = sequence;
    event.hostNs = 1000 + sequence;
    event.motion = {.kind = X11Motion::Kind::relative, .x = x, .y = y};
    return event;
}

X11PointerEvent button(std::uint32_t sequence, Kind kind, std::uint32_t number)
{
    X11PointerEvent event;
    event.pointer = pointer;
    event.sequence = sequence;
    event.hostNs = 1000 + sequence;
    event.kind = kind;
    event.button = number;
    return event;
}

X11PointerAnswer at(double x, double y)
{
    return {.pointer = pointer, .location = {x, y}};
}

MATCHER_P3(IsEvent, type, x, y, "")
{
    return arg.type == type && arg.globalLocation == (Point{double(x), double(y)});
}

// A pointer known to be at (100, 100); further questions have the numbers 10 and following.
class X11PointerEventsTests : public testing::Test {
protected:
    X11PointerEventsTests() { events.settle(1, 1000, {at(100, 100)}); }

    std::vector<InputEvent> settledBy(std::uint32_t sequence, const X11PointerAnswer& answer)
    {
        events.settle(sequence, 1000 + sequence, {answer});
        return events.take();
    }

    X11PointerEvents events{640, 480};
};

TEST_F(X11PointerEventsTests, TheFirstAnswerIsNoMove)
{
    EXPECT_THAT(events.take(), IsEmpty());
}

TEST_F(X11PointerEventsTests, AnEventWaitsForAnAnswer)
{
    events.add(move(5, 3, 4));
    EXPECT_TRUE(events.isWaiting());
    EXPECT_THAT(events.take(), IsEmpty());
    EXPECT_THAT(settledBy(10, at(103, 104)), ElementsAre(IsEvent(Type::mouseMoved, 103, 104)));
    EXPECT_FALSE(events.isWaiting());
}

TEST_F(X11PointerEventsTests, AnEventAfterTheQuestionWaitsForTheNextOne)
{
    events.add(move(5, 3, 0));
    events.add(move(10, 3, 0));
    EXPECT_THAT(settledBy(10, at(103, 100)), ElementsAre(IsEvent(Type::mouseMoved, 103, 100)));
    EXPECT_THAT(settledBy(11, at(106, 100)), ElementsAre(IsEvent(Type::mouseMoved, 106, 100)));
}

TEST_F(X11PointerEventsTests, SequenceNumbersMayStartAnew)
{
    events.add(move(0xFFFFFFFE, 3, 0));
    events.add(move(2, 3, 0));
    EXPECT_THAT(settledBy(1, at(103, 100)), ElementsAre(IsEvent(Type::mouseMoved, 103, 100)));
    EXPECT_TRUE(events.isWaiting());
}

TEST_F(X11PointerEventsTests, MovesBetweenPressAndReleaseAreDrags)
{
    events.add(button(5, Kind::press, 1));
    events.add(move(5, 5, 0));
    events.add(button(5, Kind::release, 1));
    events.add(button(5, Kind::press, 3));
    events.add(move(5, 5, 0));
    events.add(button(5, Kind::release, 3));
    events.add(move(5, 5, 0));
    EXPECT_THAT(settledBy(10, at(115, 100)),
        ElementsAre(IsEvent(Type::leftMouseDown, 100, 100), IsEvent(Type::leftMouseDragged, 105, 100),
            IsEvent(Type::leftMouseUp, 105, 100), IsEvent(Type::rightMouseDown, 105, 100),
            IsEvent(Type::rightMouseDragged, 110, 100), IsEvent(Type::rightMouseUp, 110, 100),
            IsEvent(Type::mouseMoved, 115, 100)));
}

TEST_F(X11PointerEventsTests, APointerSetDownElsewhereHasMovedWhenItWasAskedFor)
{
    const auto settled = settledBy(10, at(7, 8));
    ASSERT_THAT(settled, ElementsAre(IsEvent(Type::mouseMoved, 7, 8)));
    EXPECT_EQ(settled[0].hostNs, 1010);
}

TEST_F(X11PointerEventsTests, AClickElsewhereIsPrecededByTheMoveThere)
{
    events.add(button(5, Kind::press, 1));
    EXPECT_THAT(settledBy(10, at(7, 8)),
        ElementsAre(IsEvent(Type::mouseMoved, 7, 8), IsEvent(Type::leftMouseDown, 7, 8)));
}

TEST_F(X11PointerEventsTests, APointerThatRestsGivesNothing)
{
    events.add(move(5, 0.2, 0));
    EXPECT_THAT(settledBy(10, at(100, 100)), IsEmpty());
    EXPECT_THAT(settledBy(11, at(100, 100)), IsEmpty());
}

TEST_F(X11PointerEventsTests, AWheelButtonScrollsWhenItIsPressedOnly)
{
    events.add(button(5, Kind::press, 4));
    events.add(button(5, Kind::release, 4));
    const auto settled = settledBy(10, at(100, 100));
    ASSERT_THAT(settled, ElementsAre(IsEvent(Type::scrollWheel, 100, 100)));
    EXPECT_EQ(settled[0].scrollDeltaY, 1);
    EXPECT_EQ(settled[0].scrollDeltaX, 0);
}

TEST_F(X11PointerEventsTests, AMotionMayScroll)
{
    X11PointerEvent turn;
    turn.pointer = pointer;
    turn.sequence = 5;
    turn.scroll = {.y = -0.25, .x = 2};
    events.add(turn);
    const auto settled = settledBy(10, at(100, 100));
    ASSERT_THAT(settled, ElementsAre(IsEvent(Type::scrollWheel, 100, 100)));
    EXPECT_EQ(settled[0].scrollDeltaY, -0.25);
    EXPECT_EQ(settled[0].scrollDeltaX, 2);
}

TEST_F(X11PointerEventsTests, OtherButtonsAreNoEvents)
{
    for (const std::uint32_t number : {2U, 8U, 9U}) {
        events.add(button(5, Kind::press, number));
        events.add(button(5, Kind::release, number));
    }
    EXPECT_THAT(settledBy(10, at(100, 100)), IsEmpty());
}

TEST_F(X11PointerEventsTests, AButtonThatIsDownFromTheBeginningMakesDrags)
{
    auto answer = at(100, 100);
    answer.rightIsDown = true;
    settledBy(10, answer);
    events.add(move(10, 5, 0));
    EXPECT_THAT(settledBy(11, at(105, 100)), ElementsAre(IsEvent(Type::rightMouseDragged, 105, 100)));
}

TEST_F(X11PointerEventsTests, TimeNeverRunsBackwards)
{
    auto late = move(5, 1, 0);
    late.hostNs = 5000;
    auto early = move(5, 1, 0);
    early.hostNs = 4000;
    events.add(late);
    events.add(early);
    const auto settled = settledBy(10, at(102, 100));
    ASSERT_EQ(settled.size(), 2U);
    EXPECT_EQ(settled[0].hostNs, 5000);
    EXPECT_EQ(settled[1].hostNs, 5000);
}

TEST_F(X11PointerEventsTests, PointersHavePlacesAndButtonsOfTheirOwn)
{
    constexpr X11PointerID second = 8;
    events.settle(2, 1000, {at(100, 100), {.pointer = second, .location = {300, 300}}});
    auto other = move(5, 1, 1);
    other.pointer = second;
    events.add(button(5, Kind::press, 1));
    events.add(other);
    events.settle(10, 1010, {at(100, 100), {.pointer = second, .location = {301, 301}}});
    EXPECT_THAT(events.take(),
        ElementsAre(IsEvent(Type::leftMouseDown, 100, 100), IsEvent(Type::mouseMoved, 301, 301)));
}

TEST_F(X11PointerEventsTests, WithoutAnAnswerTheStepsDecide)
{
    events.add(move(5, 3, 4));
    events.add(button(5, Kind::press, 1));
    events.settleUnanswered();
    EXPECT_THAT(events.take(),
        ElementsAre(IsEvent(Type::mouseMoved, 103, 104), IsEvent(Type::leftMouseDown, 103, 104)));
}

} // namespace
} // namespace glimto
