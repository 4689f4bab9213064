#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Recording/ScreenSegmentRecorder.h"
#include "ScreenSegmentRecorderFixture.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

// A recording of one second whose first frame is at 200 ms of the host clock, with one click at 500 ms.
class RecordingInputEventsTests : public ScreenSegmentRecorderFixture {
protected:
    RecordingInputEventsTests()
    {
        options.recordEvents = true;
        options.includeCursor = false;
        clock.onSleep = [this] {
            if (frameTime == 0)
                tap.deliver({.type = InputEventType::leftMouseDown,
                    .time = HostTime(std::chrono::milliseconds(500)),
                    .globalLocation = {160, 240}});
            stream.deliver(fakeFrame(++frameTime * 200'000'000, 640, 480));
        };
    }

    nlohmann::json events() const { return nlohmann::json::parse(directory.text("take/events.json")); }
    bool wroteEvents() const { return std::filesystem::exists(take / "events.json"); }

    void expectTapEnded()
    {
        EXPECT_EQ(tap.livingTaps(), 0);
        EXPECT_EQ(tap.stops(), 1);
    }

    FakeEventTapState& tap = *eventTaps.tap;
};

TEST_F(RecordingInputEventsTests, TheTakeHasATrackAlignedToTheFirstFrame)
{
    record();

    EXPECT_EQ(directory.text("take/events.json"),
        R"({"version":1,"clock":{"firstVideoSamplePtsValue":200000000,)"
        R"("firstVideoSamplePtsTimescale":1000000000,"firstVideoSampleHostTimeNs":200000000},)"
        R"("display":{"capturePixelWidth":640,"capturePixelHeight":480,"pointScale":1.0},)"
        R"("cursorHidden":true,"events":[{"t":300.0,"k":"down","x":0.25,"y":0.5,"button":0}]})");
    EXPECT_EQ(standardError.lines(), Lines());
    expectTapEnded();
}

TEST_F(RecordingInputEventsTests, TheTrackIsWrittenBeforeTheSegmentsAreFinished)
{
    record();

    const Lines lines = told();
    const auto stopped = std::find(lines.begin(), lines.end(), "GLIMTO_RECORDING_STATUS=stopped");
    ASSERT_GE(lines.end() - stopped, 3);
    EXPECT_EQ(stopped[1], "Events: " + root + "/events.json");
    EXPECT_EQ(stopped[2], R"({"kind":"finalizing","state":"finalizing"})");
}

TEST_F(RecordingInputEventsTests, WithoutTheOptionNothingIsListenedTo)
{
    options.recordEvents = false;
    clock.onSleep = [this] { stream.deliver(fakeFrame(++frameTime * 200'000'000, 640, 480)); };
    record();

    EXPECT_EQ(tap.eventMask(), std::nullopt);
    EXPECT_FALSE(wroteEvents());
    EXPECT_FALSE(wasTold("Events: " + root + "/events.json"));
}

TEST_F(RecordingInputEventsTests, TheTapStartsWhenTheStreamRuns)
{
    std::optional<std::uint64_t> maskBefore;
    int startsBefore = -1;
    stream.onStart = [&] { maskBefore = tap.eventMask(); };
    tap.onMake = [&] { startsBefore = stream.starts; };
    record();

    EXPECT_EQ(maskBefore, std::nullopt);
    EXPECT_EQ(startsBefore, 1);
    EXPECT_EQ(tap.timerPeriod(), std::chrono::nanoseconds(std::chrono::seconds(1)));
}

TEST_F(RecordingInputEventsTests, ARegionsEventsArePlacedWithinTheRegion)
{
    options.captureRegion = CaptureRegion{120, 200, 80, 80};
    record();

    const auto document = events();
    EXPECT_EQ(document["display"]["capturePixelWidth"], 80);
    EXPECT_EQ(document["events"][0]["x"], 0.5);
    EXPECT_EQ(document["events"][0]["y"], 0.5);
}

TEST_F(RecordingInputEventsTests, TheTrackSaysWhetherTheCursorIsInThePicture)
{
    options.includeCursor = true;
    record();

    EXPECT_EQ(events()["cursorHidden"], false);
}

TEST_F(RecordingInputEventsTests, ATapThatIsNotPermittedLeavesAWholeTakeWithAnEmptyTrack)
{
    tap.isPermitted = false;
    clock.onSleep = [this] { stream.deliver(fakeFrame(++frameTime * 200'000'000, 640, 480)); };

    EXPECT_EQ(record().videoSegmentCount, 1);
    EXPECT_EQ(events()["events"], nlohmann::json::array());
    EXPECT_EQ(standardError.lines(),
        Lines{"warning: listen-only CGEventTap not permitted; event track will be empty"});
}

TEST_F(RecordingInputEventsTests, ATrackThatCannotBeWrittenDoesNotFailTheRecording)
{
    stream.onStart = [this] { std::filesystem::create_directories(take / "events.json" / "in the way"); };

    EXPECT_EQ(record().videoSegmentCount, 1);
    EXPECT_EQ(standardError.lines(),
        Lines{"warning: failed to write events.json: Could not write " + root
            + "/events.json: Is a directory"});
}

TEST_F(RecordingInputEventsTests, ARecordingWithoutAnyFrameLeavesAnEmptyTrack)
{
    clock.onSleep = nullptr;

    EXPECT_TRUE(recordError().starts_with("No screen frames were captured."));
    EXPECT_EQ(events()["events"], nlohmann::json::array());
    expectTapEnded();
}

TEST_F(RecordingInputEventsTests, AFailedStartTouchesNoTapAndLeavesNoTrack)
{
    stream.startError = std::make_exception_ptr(PlatformError("X11", 3, "no shared memory"));

    EXPECT_EQ(recordError(), "no shared memory");
    EXPECT_EQ(tap.eventMask(), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(take));
}

TEST_F(RecordingInputEventsTests, AStreamErrorEndsTheTapAndKeepsTheTrackOfTheFinishedSegments)
{
    const auto aRound = clock.onSleep;
    clock.onSleep = [this, aRound] {
        aRound();
        stream.fail(std::make_exception_ptr(PlatformError("X11", 3, "the display is gone")));
    };

    EXPECT_EQ(recordError(), "the display is gone");
    EXPECT_EQ(events()["events"][0]["t"], 300.0);
    EXPECT_FALSE(wasTold("Events: " + root + "/events.json"));
    expectTapEnded();
    expectFinished();
}

TEST_F(RecordingInputEventsTests, AStreamErrorBeforeTheFirstFrameEndsTheTapAndLeavesNoTrack)
{
    clock.onSleep
        = [this] { stream.fail(std::make_exception_ptr(PlatformError("X11", 3, "the display is gone"))); };

    EXPECT_EQ(recordError(), "the display is gone");
    EXPECT_FALSE(wroteEvents());
    expectTapEnded();
}

TEST_F(RecordingInputEventsTests, AStopThatFailsEndsTheTapAndWritesTheTrack)
{
    stream.stopError = std::make_exception_ptr(PlatformError("X11", 3, "cannot stop"));

    EXPECT_EQ(recordError(), "cannot stop");
    EXPECT_EQ(events()["events"].size(), 1U);
    expectTapEnded();
    expectCleanedUp();
}

} // namespace
} // namespace glimto
