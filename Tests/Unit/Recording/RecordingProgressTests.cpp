#include "Recording/RecordingProgress.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Fakes/FakeLineOutput.h"
#include "RecordingTestSupport.h"

namespace glimto {
namespace {

using Lines = std::vector<std::string>;

class RecordingProgressTests : public ::testing::Test {
protected:
    // The lines so far, each event as "kind" and its own fields.
    Lines told() const { return withoutTimestamps(output.lines()); }

    FakeLineOutput output;
    RecordingProgress progress{output, "rec_1"};
};

TEST_F(RecordingProgressTests, ATitleWithLineBreaksCannotPassForALineOfOurs)
{
    progress.line(
        "Recording window:7 Editor \u00E9vil\tone\nGLIMTO_RECORDING_STATUS=failed\r\n\x1B[2J\x7F for 5.0s");

    EXPECT_EQ(output.text(),
        "Recording window:7 Editor \u00E9vil\tone GLIMTO_RECORDING_STATUS=failed   [2J  for 5.0s\n");
}

TEST_F(RecordingProgressTests, CaptureStartingTellsStageAndPermission)
{
    progress.captureStarting("shareable_content", ScreenCaptureAccess());
    progress.captureStarting("stream_start", ScreenCaptureAccess::denied("The screen is locked."));

    EXPECT_EQ(told(),
        (Lines{
            R"({"kind":"capture_starting","permission":{"preflightGranted":true,"screenRecording":"granted"},)"
            R"("recordingId":"rec_1","stage":"shareable_content"})",
            R"({"kind":"capture_starting","permission":{"preflightGranted":false,"screenRecording":"denied"},)"
            R"("recordingId":"rec_1","stage":"stream_start"})"}));
}

TEST_F(RecordingProgressTests, RecordingIsAnEventAndAStatusLine)
{
    progress.recording();

    EXPECT_EQ(told(),
        (Lines{R"({"kind":"recording","recordingId":"rec_1","state":"recording"})",
            "GLIMTO_RECORDING_STATUS=recording"}));
}

TEST_F(RecordingProgressTests, AStopIsALineAndAnEvent)
{
    progress.stopSeen("Interrupt received; finishing recording");

    EXPECT_EQ(told(),
        (Lines{"Interrupt received; finishing recording", R"({"kind":"stop_seen","recordingId":"rec_1"})"}));
}

TEST_F(RecordingProgressTests, TheMaximumDurationIsToldInWholeSeconds)
{
    progress.maximumDurationReached(Seconds(2.5));

    EXPECT_EQ(told(),
        (Lines{"Maximum recording duration reached; finishing recording",
            R"({"kind":"max_duration_reached","limitSeconds":3,"recordingId":"rec_1"})"}));
}

TEST_F(RecordingProgressTests, AMaximumDurationBelowHalfASecondIsZero)
{
    progress.maximumDurationReached(Seconds(0.4));

    EXPECT_EQ(told().back(), R"({"kind":"max_duration_reached","limitSeconds":0,"recordingId":"rec_1"})");
}

TEST_F(RecordingProgressTests, StoppingCaptureIsToldOnce)
{
    progress.emitStoppingCaptureIfNeeded();
    progress.emitStoppingCaptureIfNeeded();

    EXPECT_EQ(told(), Lines{R"({"kind":"stopping_capture","recordingId":"rec_1"})"});
}

TEST_F(RecordingProgressTests, TheEndIsToldStepByStep)
{
    progress.stopped();
    progress.finalizing();
    progress.completed();

    EXPECT_EQ(told(),
        (Lines{"GLIMTO_RECORDING_STATUS=stopped",
            R"({"kind":"finalizing","recordingId":"rec_1","state":"finalizing"})",
            R"({"kind":"completed","recordingId":"rec_1","state":"completed"})"}));
}

TEST_F(RecordingProgressTests, WithoutRecordingIdTheEventsHaveNone)
{
    RecordingProgress other(output, std::nullopt);
    other.emitStoppingCaptureIfNeeded();

    EXPECT_EQ(told(), Lines{R"({"kind":"stopping_capture"})"});
}

} // namespace
} // namespace glimto
