#include "Recording/ScreenSegmentRecorder.h"

#include <atomic>
#include <fstream>
#include <future>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ScreenSegmentRecorderFixture.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using namespace std::chrono_literals;

constexpr const char* noFrames
    = "No screen frames were captured. Check Screen Recording permission and try moving "
      "the cursor during the capture.";

// A window system that may open something else than what was asked for.
class CaptureOpeningTests : public ScreenSegmentRecorderFixture {
protected:
    static OpenedCapture picked(OpenedCapture opened)
    {
        opened.facts = {.width = 800,
            .height = 600,
            .description = "the user's choice",
            .globalFrame = {100, 0, 400, 300},
            .pointScale = 2};
        return opened;
    }
};

TEST_F(CaptureOpeningTests, TheSessionExpectsWhatTheSnapshotTells)
{
    options.captureRegion = CaptureRegion{100, 50, 300, 200};
    record();

    EXPECT_EQ(stream.expected,
        (CaptureFacts{.width = 300,
            .height = 200,
            .description = "region:300x200pt",
            .globalFrame = {100, 50, 300, 200},
            .pointScale = 1}));
}

TEST_F(CaptureOpeningTests, WhatWasReallyOpenedIsRecordedAndTold)
{
    stream.changesOpened = [](OpenedCapture& opened) { opened = picked(opened); };
    clock.onSleep = [this] { stream.deliver(fakeFrame(++frameTime * 200'000'000, 800, 600)); };

    const auto metadata = record();

    EXPECT_EQ(metadata.width, 800);
    EXPECT_EQ(metadata.height, 600);
    EXPECT_EQ(metadata.sourceDescription, "the user's choice");
    EXPECT_EQ(encoder.settings->width, 800);
    EXPECT_TRUE(wasTold("Recording the user's choice for 1.0s"));
    EXPECT_TRUE(wasTold("Video: H.264 fMP4, 800x600, 30 fps, ~4.0s segments"));
    const auto manifest = nlohmann::json::parse(directory.text("take/manifest.json"));
    EXPECT_EQ(manifest["video"]["width"], 800);
    EXPECT_EQ(manifest["video"]["source"], "the user's choice");
}

TEST_F(CaptureOpeningTests, EventsArePlacedInWhatWasReallyOpened)
{
    options.recordEvents = true;
    stream.changesOpened = [](OpenedCapture& opened) { opened = picked(opened); };
    clock.onSleep = [this] {
        stream.deliver(fakeFrame(++frameTime * 200'000'000, 800, 600));
        eventTaps.tap->deliver({.type = InputEventType::leftMouseDown,
            .time = HostTime(std::chrono::milliseconds(frameTime * 200 + 1)),
            .globalLocation = {300, 75}});
    };
    record();

    const auto events = nlohmann::json::parse(directory.text("take/events.json"));
    EXPECT_EQ(events["display"]["capturePixelWidth"], 800);
    EXPECT_EQ(events["display"]["pointScale"], 2);
    EXPECT_EQ(events["events"][0]["x"], 0.5);
    EXPECT_EQ(events["events"][0]["y"], 0.25);
}

TEST_F(CaptureOpeningTests, WishesThatTheSystemCannotMeetAreWarnedOfOnce)
{
    content.content.applications = {{process.pid, "com.glimto.capture", "glimto"}};
    options.includeCursor = false;
    stream.changesOpened = [](OpenedCapture& opened) {
        opened.hidesApplications = false;
        opened.obeysCursorWish = false;
    };
    record();

    EXPECT_EQ(standardError.lines(),
        (Lines{"Warning: This system cannot leave the windows of Glimto out of a recording.",
            "Warning: This system shows the pointer in every recording."}));
}

TEST_F(CaptureOpeningTests, WishesThatNobodyHadAreNotWarnedOf)
{
    stream.changesOpened = [](OpenedCapture& opened) {
        opened.hidesApplications = false;
        opened.obeysCursorWish = false;
    };
    record();

    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(CaptureOpeningTests, ASystemThatOnlyTellsWhenAskedIsAsked)
{
    screen.verdict = ScreenCaptureAccess::Verdict::onlyAskingTells;

    EXPECT_EQ(record().videoSegmentCount, 1);
    EXPECT_TRUE(wasTold(
        R"({"kind":"capture_starting","permission":{"preflightGranted":true,"screenRecording":"granted"},)"
        R"("stage":"shareable_content"})"));
}

// An earlier take that may be replaced, and mistakes that must not cost it.
class EarlierTakeTests : public ScreenSegmentRecorderFixture {
protected:
    EarlierTakeTests()
    {
        std::filesystem::create_directories(take / "segments/video");
        std::ofstream(take / "segments/video/segment_000.m4s") << "old";
        std::ofstream(take / "manifest.json") << "old";
        options.overwrite = true;
    }

    void expectUntouched() const
    {
        EXPECT_EQ(takeFiles(), (Lines{"take/manifest.json", "take/segments/video/segment_000.m4s"}));
        EXPECT_EQ(directory.text("take/manifest.json"), "old");
    }
};

TEST_F(EarlierTakeTests, IsReplacedByARecording)
{
    record();
    EXPECT_NE(directory.text("take/manifest.json"), "old");
    EXPECT_NE(directory.text("take/segments/video/segment_000.m4s"), "old");
}

TEST_F(EarlierTakeTests, OutlivesAPermissionThatIsMissing)
{
    screen.granted = false;
    EXPECT_EQ(recordError(), "Screen Recording permission is not granted for glimto-capture.");
    expectUntouched();
}

TEST_F(EarlierTakeTests, OutlivesADisplayThatIsNotThere)
{
    options.displayIndex = 9;
    EXPECT_EQ(recordError(), "No display at index 9. Run `glimto-capture sources`.");
    expectUntouched();
}

TEST_F(EarlierTakeTests, OutlivesAWindowThatIsGone)
{
    options.captureWindowId = 77;
    EXPECT_TRUE(recordError().starts_with("No capturable ScreenCaptureKit window with id 77."));
    expectUntouched();
}

TEST_F(EarlierTakeTests, OutlivesARegionOutsideTheDisplay)
{
    options.captureRegion = CaptureRegion{600, 50, 300, 200};
    EXPECT_TRUE(recordError().starts_with("Selected region extends outside display 0."));
    expectUntouched();
}

TEST_F(EarlierTakeTests, OutlivesAMicrophoneThatIsNotThere)
{
    options.microphoneDeviceID = "nowhere";
    EXPECT_NE(recordError(), "");
    expectUntouched();
}

TEST_F(EarlierTakeTests, OutlivesASoundServerThatIsNotThere)
{
    options.captureSystemAudio = true;
    systemAudio.makeError = std::make_exception_ptr(PlatformError("PulseAudio", 6, "no sound server"));
    EXPECT_EQ(recordError(), "no sound server");
    expectUntouched();
}

TEST_F(EarlierTakeTests, OutlivesACaptureThatTheUserDeclines)
{
    stream.openError = std::make_exception_ptr(PlatformError("portal", 1, "declined"));
    EXPECT_EQ(recordError(), "declined");
    expectUntouched();
}

TEST_F(EarlierTakeTests, OutlivesAnEncoderThatRefuses)
{
    encoder.refusesSettings = true;
    EXPECT_EQ(recordError(), "AVAssetWriter refused the H.264 video input.");
    expectUntouched();
}

TEST_F(EarlierTakeTests, OutlivesAPermissionThatWentAway)
{
    screen.grantedAnswers = 1;
    EXPECT_EQ(recordError(), "Screen Recording permission is not granted for glimto-capture.");
    expectUntouched();
}

TEST_F(EarlierTakeTests, IsRefusedBeforeAMicrophoneIsLookedFor)
{
    options.overwrite = false;
    options.displayIndex = 9;
    options.microphoneDeviceID = "nowhere";
    EXPECT_TRUE(recordError().starts_with("Output directory already contains proof artifacts: segments, "));
    expectUntouched();
}

// A capture that hangs until it is given up.
class HangingStartTests : public EarlierTakeTests {
protected:
    HangingStartTests()
    {
        startLimits.patience = 0s;
        startLimits.step = 20s;
        startLimits.stepWithQuestion = 20s;
        stream.onGiveUp = [this] {
            if (!wasGivenUp.exchange(true))
                hang.set_value();
        };
    }

    void hangWhileOpening()
    {
        stream.onOpen = [this] {
            hang.get_future().wait();
            throw PlatformError("test", 1, "given up");
        };
    }

    void expectGivenUp(const std::string& line)
    {
        EXPECT_EQ(recordError(), noFrames);
        EXPECT_TRUE(wasTold(line));
        EXPECT_TRUE(wasTold(R"({"kind":"stopping_capture"})"));
        EXPECT_TRUE(wasGivenUp);
        EXPECT_EQ(stream.starts, 0);
        expectUntouched();
    }

    std::promise<void> hang;
    std::atomic<bool> wasGivenUp = false;
};

TEST_F(HangingStartTests, ASignalGivesUpTheOpening)
{
    hangWhileOpening();
    stopRequests.request = "Interrupt received; finishing recording";
    expectGivenUp("Interrupt received; finishing recording");
}

TEST_F(HangingStartTests, TheStopFileGivesUpTheOpening)
{
    hangWhileOpening();
    options.stopFileURL = directory.path() / "stop";
    std::ofstream(*options.stopFileURL) << "";
    EXPECT_EQ(recordError(), noFrames);
    EXPECT_TRUE(wasTold("Stop file detected; finishing recording"));
    EXPECT_TRUE(wasGivenUp);
}

TEST_F(HangingStartTests, TheMaximumDurationGivesUpTheOpening)
{
    hangWhileOpening();
    options.maxDurationSeconds = 0;
    expectGivenUp("Maximum recording duration reached; finishing recording");
}

TEST_F(HangingStartTests, AnOpeningThatNobodyGivesUpEndsWithItsTime)
{
    hangWhileOpening();
    startLimits.step = 10ms;
    EXPECT_EQ(recordError(), "Starting the capture timed out after 0s.");
    EXPECT_TRUE(wasGivenUp);
    expectUntouched();
}

TEST_F(HangingStartTests, AUserWhoIsAskedHasMoreTime)
{
    hangWhileOpening();
    windowSystem.abilities.asksUser = true;
    startLimits.step = 10ms;
    startLimits.stepWithQuestion = 1500ms;
    EXPECT_EQ(recordError(), "Starting the capture timed out after 1s.");
    expectUntouched();
}

TEST_F(HangingStartTests, AStopWishIsPatientWithAnOpeningThatIsOnItsWay)
{
    startLimits.patience = 20s;
    stopRequests.request = "Interrupt received; finishing recording";
    stream.onOpen = [] { std::this_thread::sleep_for(std::chrono::milliseconds(250)); };
    stream.onStop = [this] { stream.deliver(fakeFrame(0, 640, 480)); };

    EXPECT_EQ(record().videoSegmentCount, 1);
    EXPECT_FALSE(wasGivenUp);
}

TEST_F(HangingStartTests, AStreamThatHangsAsItStartsIsGivenUp)
{
    stream.onStart = [this] { hang.get_future().wait(); };
    stopRequests.request = "Interrupt received; finishing recording";
    startLimits.givingUp = 0s;

    EXPECT_EQ(recordError(), noFrames);
    EXPECT_TRUE(wasTold("Interrupt received; finishing recording"));
    EXPECT_FALSE(wasTold("GLIMTO_RECORDING_STATUS=recording"));
    expectCleanedUp();
    hang.set_value();
}

} // namespace
} // namespace glimto
