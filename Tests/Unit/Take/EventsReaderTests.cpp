#include <string>

#include <gtest/gtest.h>

#include "GlimtoTake/Takes/EventsReader.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

EventsDocument document()
{
    EventsDocument document;
    document.clock = {1000, 1'000'000'000, 1000};
    document.display = {1280, 720, 2};
    document.cursorHidden = true;
    document.events = {
        {.t = 10, .x = 0.25, .y = 0.5, .k = InputEventKind::move},
        {.t = 20.5, .x = 0.25, .y = 0.5, .k = InputEventKind::down, .button = 1},
        {.t = 30, .x = 0.25, .y = 0.5, .dx = 0, .dy = -3, .k = InputEventKind::scroll},
    };
    return document;
}

std::string encoded(const EventsDocument& document)
{
    std::string text;
    encodeEventsDocument(document, [&](std::string_view piece) { text += piece; });
    return text;
}

std::string encodedLines(const EventsDocument& document)
{
    std::string text;
    const auto append = [&](std::string_view piece) { text += piece; };
    encodeEventsHeading(document, append);
    const std::vector<RecordedEvent> events(document.events.begin(), document.events.end());
    encodeEventLines(events, append);
    return text;
}

void expectSame(const EventsDocument& read, const EventsDocument& written)
{
    EXPECT_EQ(read.clock, written.clock);
    EXPECT_EQ(read.display.capturePixelWidth, written.display.capturePixelWidth);
    EXPECT_EQ(read.display.capturePixelHeight, written.display.capturePixelHeight);
    EXPECT_EQ(read.display.pointScale, written.display.pointScale);
    EXPECT_EQ(read.cursorHidden, written.cursorHidden);
    EXPECT_EQ(read.events, written.events);
}

TEST(EventsReaderTests, WhatTheRecorderWritesIsReadAsItWas)
{
    expectSame(readEventsDocument(encoded(document())), document());
}

TEST(EventsReaderTests, LinesOfAKilledRecordingAreReadAsItsDocument)
{
    expectSame(readPartialEvents(encodedLines(document())).value(), document());
}

TEST(EventsReaderTests, TornLastLineIsLeftOut)
{
    const std::string text = encodedLines(document());
    auto expected = document();
    expected.events.pop_back();
    expectSame(readPartialEvents(text.substr(0, text.size() - 1)).value(), expected);
    expectSame(readPartialEvents(text.substr(0, text.size() - 9)).value(), expected);
}

TEST(EventsReaderTests, TornHeadingIsNothing)
{
    EXPECT_FALSE(readPartialEvents(""));
    EXPECT_FALSE(readPartialEvents(encodedLines(document()).substr(0, 40)));
}

TEST(EventsReaderTests, EventsComeInTheOrderOfTheirTimesAndWithinThePicture)
{
    const auto read = readEventsDocument(R"({"version":1,"events":[
        {"t":5,"k":"move","x":2,"y":-1},{"t":1,"k":"move","x":0.5,"y":0.5},{"t":-1,"k":"move","x":0,"y":0},
        {"t":1e300,"k":"move","x":0,"y":0},{"t":2,"k":"blink","x":0,"y":0}]})");
    ASSERT_EQ(read.events.size(), 2U);
    EXPECT_EQ(read.events[0].t, 1);
    EXPECT_EQ(read.events[1].x, 1);
    EXPECT_EQ(read.events[1].y, 0);
}

TEST(EventsReaderTests, WhatIsNoTrackIsRefused)
{
    for (const char* text :
        {"", "[]", "{}", R"({"version":2,"events":[]})", R"({"version":1})", R"({"version":1,"events":[)"})
        EXPECT_THROW(readEventsDocument(text), PlatformError) << text;
    EXPECT_THROW(readEventsDocument(std::string(1000, '[')), PlatformError);
}

TEST(EventsReaderTests, MillionEventsAreRead)
{
    EventsDocument large;
    for (int index = 0; index < 1'000'000; ++index)
        large.events.push_back({.t = static_cast<double>(index), .x = 0.5, .y = 0.5});
    EXPECT_EQ(readEventsDocument(encoded(large)).events.size(), 1'000'000U);
}

} // namespace
} // namespace glimto
