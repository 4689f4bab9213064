#include "InputEvents/InputEventTrack.h"

#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "Content/CaptureSourceResolver.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/FakeScreenAccess.h"

namespace glimto {
namespace {

constexpr std::int64_t millisecond = 1'000'000; // nanoseconds
constexpr std::int64_t anchorNs = 7'000'000'000;
constexpr EventsClock anchor = {.firstVideoSamplePtsValue = 630'000,
    .firstVideoSamplePtsTimescale = 90'000,
    .firstVideoSampleHostTimeNs = anchorNs};
constexpr CaptureGeometry display = {
    .globalFrame = {0, 0, 1000, 500}, .pointScale = 1, .capturePixelWidth = 1000, .capturePixelHeight = 500};

HostTime hostTime(std::int64_t nanoseconds)
{
    return HostTime(std::chrono::nanoseconds(nanoseconds));
}

InputEvent pointerEvent(InputEventType type, std::int64_t millisecondsAfterAnchor = 0, Point place = {})
{
    return {.type = type,
        .time = hostTime(anchorNs + millisecondsAfterAnchor * millisecond),
        .globalLocation = place,
        .scrollDeltaY = 3,
        .scrollDeltaX = -2};
}

std::vector<RecordedEvent> recordedEvents(InputEventTrack& track)
{
    const auto events = track.finish(CursorInVideo::hidden).events;
    return {events.begin(), events.end()};
}

// What is recorded of one event at the moment of the anchor.
std::vector<RecordedEvent> recordedOf(const InputEvent& event, const CaptureGeometry& geometry = display)
{
    InputEventTrack track(geometry);
    track.setClockAnchor(anchor);
    track.append(event);
    return recordedEvents(track);
}

// Where an event at `place` is in the picture.
Point recordedPlace(Point place, const CaptureGeometry& geometry)
{
    const auto event = recordedOf(pointerEvent(InputEventType::mouseMoved, 0, place), geometry).at(0);
    return {event.x, event.y};
}

TEST(InputEventTrackTests, ButtonsAreDownAndUpWithTheirNumber)
{
    EXPECT_EQ(recordedOf(pointerEvent(InputEventType::leftMouseDown)),
        (std::vector{RecordedEvent{.k = InputEventKind::down, .button = 0}}));
    EXPECT_EQ(recordedOf(pointerEvent(InputEventType::leftMouseUp)),
        (std::vector{RecordedEvent{.k = InputEventKind::up, .button = 0}}));
    EXPECT_EQ(recordedOf(pointerEvent(InputEventType::rightMouseDown)),
        (std::vector{RecordedEvent{.k = InputEventKind::down, .button = 1}}));
    EXPECT_EQ(recordedOf(pointerEvent(InputEventType::rightMouseUp)),
        (std::vector{RecordedEvent{.k = InputEventKind::up, .button = 1}}));
}

TEST(InputEventTrackTests, MovesAndDragsAreMovesWithoutButton)
{
    for (const auto type :
        {InputEventType::mouseMoved, InputEventType::leftMouseDragged, InputEventType::rightMouseDragged})
        EXPECT_EQ(recordedOf(pointerEvent(type)), (std::vector{RecordedEvent{.k = InputEventKind::move}}));
}

TEST(InputEventTrackTests, ScrollsHaveBothDeltas)
{
    EXPECT_EQ(recordedOf(pointerEvent(InputEventType::scrollWheel)),
        (std::vector{RecordedEvent{.dx = -2, .dy = 3, .k = InputEventKind::scroll}}));
}

TEST(InputEventTrackTests, OtherTypesAreIgnored)
{
    EXPECT_TRUE(recordedOf(pointerEvent(InputEventType::tapDisabledByTimeout)).empty());
    EXPECT_TRUE(recordedOf(pointerEvent(InputEventType::tapDisabledByUserInput)).empty());
    EXPECT_TRUE(recordedOf(pointerEvent(static_cast<InputEventType>(10))).empty());
}

TEST(InputEventTrackTests, AClickHalfASecondAfterTheFirstFrameIsAt500)
{
    InputEventTrack track(display);
    track.append(pointerEvent(InputEventType::leftMouseDown, 500, {250, 250}));
    track.setClockAnchor(anchor);

    EXPECT_EQ(recordedEvents(track),
        (std::vector{
            RecordedEvent{.t = 500.0, .x = 0.25, .y = 0.5, .k = InputEventKind::down, .button = 0}}));
}

TEST(InputEventTrackTests, TimesAreExactToTheNanosecond)
{
    InputEvent event = pointerEvent(InputEventType::mouseMoved);
    event.time = hostTime(anchorNs + 1'234'567);
    EXPECT_EQ(recordedOf(event).at(0).t, 1.234567);
}

TEST(InputEventTrackTests, EventsBeforeTheFirstFrameAreDropped)
{
    InputEvent before = pointerEvent(InputEventType::leftMouseDown);
    before.time = hostTime(anchorNs - 1);
    InputEventTrack track(display);
    track.append(before);
    track.append(pointerEvent(InputEventType::leftMouseUp));
    track.setClockAnchor(anchor);
    track.append(before);

    EXPECT_EQ(
        recordedEvents(track), (std::vector{RecordedEvent{.t = 0, .k = InputEventKind::up, .button = 0}}));
}

TEST(InputEventTrackTests, EventsBeforeAndAfterTheAnchorIsKnownKeepTheirOrder)
{
    InputEventTrack track(display);
    track.append(pointerEvent(InputEventType::leftMouseDown, 1));
    track.append(pointerEvent(InputEventType::leftMouseUp, 2));
    track.setClockAnchor(anchor);
    track.append(pointerEvent(InputEventType::mouseMoved, 3));

    const auto events = recordedEvents(track);
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].k, InputEventKind::down);
    EXPECT_EQ(events[1].k, InputEventKind::up);
    EXPECT_EQ(events[2].k, InputEventKind::move);
    EXPECT_EQ(events[2].t, 3.0);
}

TEST(InputEventTrackTests, OnlyTheFirstAnchorCounts)
{
    InputEventTrack track(display);
    track.setClockAnchor(anchor);
    track.setClockAnchor({.firstVideoSamplePtsValue = 1,
        .firstVideoSamplePtsTimescale = 1,
        .firstVideoSampleHostTimeNs = anchorNs + 50 * millisecond});
    track.append(pointerEvent(InputEventType::mouseMoved, 100));

    const auto document = track.finish(CursorInVideo::shown);
    EXPECT_EQ(document.clock, anchor);
    EXPECT_EQ(document.events.at(0).t, 100.0);
}

TEST(InputEventTrackTests, WithoutAnAnchorThereIsNoEvent)
{
    InputEventTrack track(display);
    track.append(pointerEvent(InputEventType::leftMouseDown, 100));

    const auto document = track.finish(CursorInVideo::hidden);
    EXPECT_TRUE(document.events.empty());
    EXPECT_EQ(document.clock, EventsClock());
    EXPECT_TRUE(document.cursorHidden);
    EXPECT_EQ(document.display.capturePixelWidth, 1000);
    EXPECT_EQ(document.display.capturePixelHeight, 500);
}

TEST(InputEventTrackTests, NothingComesAfterTheEnd)
{
    InputEventTrack track(display);
    track.setClockAnchor(anchor);
    track.append(pointerEvent(InputEventType::mouseMoved));

    EXPECT_EQ(track.finish(CursorInVideo::hidden).events.size(), 1U);
    track.append(pointerEvent(InputEventType::mouseMoved));
    EXPECT_TRUE(track.finish(CursorInVideo::hidden).events.empty());
}

TEST(InputEventTrackTests, APointerOutsideIsClampedToTheEdge)
{
    EXPECT_EQ(recordedPlace({-10, 250}, display), (Point{0, 0.5}));
    EXPECT_EQ(recordedPlace({1010, 250}, display), (Point{1, 0.5}));
    EXPECT_EQ(recordedPlace({500, -0.001}, display), (Point{0.5, 0}));
    EXPECT_EQ(recordedPlace({500, 500.001}, display), (Point{0.5, 1}));
    EXPECT_EQ(recordedPlace({1000, 500}, display), (Point{1, 1}));
}

TEST(InputEventTrackTests, APlaceThatIsNoNumberIsTheEdge)
{
    EXPECT_EQ(recordedPlace({std::nan(""), std::numeric_limits<double>::infinity()}, display), (Point{0, 1}));
}

TEST(InputEventTrackTests, AnEmptyFramePutsEverythingAtTheOrigin)
{
    CaptureGeometry geometry = display;
    geometry.globalFrame = {100, 100, 0, 500};
    EXPECT_EQ(recordedPlace({300, 300}, geometry), (Point{0, 0}));
    geometry.globalFrame = {100, 100, 500, -1};
    EXPECT_EQ(recordedPlace({300, 300}, geometry), (Point{0, 0}));
}

// The geometry of a recording's source, as it is resolved for these options.
class InputEventGeometryTests : public testing::Test {
protected:
    InputEventGeometryTests()
    {
        content.displays.push_back({.displayID = 1,
            .frame = {0, 0, 1920, 1080},
            .width = 1920,
            .height = 1080,
            .pixelsWide = 1920,
            .pixelsHigh = 1080});
        content.displays.push_back({.displayID = 2,
            .frame = {1920, 200, 1280, 800},
            .width = 1280,
            .height = 800,
            .pixelsWide = 2560,
            .pixelsHigh = 1600});
        Window window;
        window.windowID = 7;
        window.frame = {100, 50, 400, 200};
        content.windows.push_back(window);
    }

    CaptureGeometry resolved() const
    {
        FakeProcessEnvironment process;
        FakeScreenAccess screen;
        FakeLineOutput standardError;
        const CaptureSourceResolver resolver(process, screen, standardError);
        return resolver.resolveGeometry(content, options, 640, 360);
    }

    ShareableContent content;
    RecordOptions options;
};

TEST_F(InputEventGeometryTests, ADisplaysEventsArePlacedOnThatDisplay)
{
    options.displayIndex = 1;

    EXPECT_EQ(resolved().pointScale, 2.0);
    EXPECT_EQ(recordedPlace({1920, 200}, resolved()), (Point{0, 0}));
    EXPECT_EQ(recordedPlace({2560, 600}, resolved()), (Point{0.5, 0.5}));
    EXPECT_EQ(recordedPlace({100, 100}, resolved()), (Point{0, 0}));
}

TEST_F(InputEventGeometryTests, ARegionsEventsArePlacedWithinTheRegion)
{
    options.captureRegion = CaptureRegion{1000, 100, 200, 100};

    EXPECT_EQ(recordedPlace({1050, 150}, resolved()), (Point{0.25, 0.5}));
    EXPECT_EQ(recordedPlace({1300, 90}, resolved()), (Point{1, 0}));
}

TEST_F(InputEventGeometryTests, AWindowsEventsArePlacedWithinTheWindow)
{
    options.captureWindowId = 7;

    EXPECT_EQ(recordedPlace({200, 100}, resolved()), (Point{0.25, 0.25}));
}

TEST_F(InputEventGeometryTests, AWindowThatMovesKeepsTheFrameThatItHadAtTheStart)
{
    options.captureWindowId = 7;
    InputEventTrack track(resolved());
    track.setClockAnchor(anchor);
    content.windows[0].frame.x = 500;
    track.append(pointerEvent(InputEventType::mouseMoved, 0, {200, 100}));

    EXPECT_EQ(recordedEvents(track).at(0).x, 0.25);
}

TEST(InputEventTrackTests, EventsForWhichNobodyHasRoomAreCounted)
{
    InputEventTrack track(display);
    track.append(pointerEvent(InputEventType::mouseMoved));
    track.setClockAnchor(anchor);
    for (std::size_t count = 0; count < InputEventTrack::mostEvents + 4; ++count)
        track.append(pointerEvent(InputEventType::mouseMoved));
    EXPECT_EQ(track.droppedCount(), 5U);
    track.nextEvents(10);
    track.forgetGivenEvents();
    track.append(pointerEvent(InputEventType::leftMouseDown));
    EXPECT_EQ(track.droppedCount(), 5U);
    const auto events = recordedEvents(track);
    EXPECT_EQ(events.size(), InputEventTrack::mostEvents - 9);
    EXPECT_EQ(events.back().k, InputEventKind::down);
}

} // namespace
} // namespace glimto
