#include "Recording/ScreenSegmentRecorder.h"

#include <fstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "ScreenSegmentRecorderFixture.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using ScreenSegmentRecorderTests = ScreenSegmentRecorderFixture;

TEST_F(ScreenSegmentRecorderTests, ATimedRecordingTellsItsWholeStory)
{
    record();

    EXPECT_EQ(told(),
        (Lines{
            R"({"kind":"capture_starting","permission":{"preflightGranted":true,"screenRecording":"granted"},)"
            R"("stage":"shareable_content"})",
            "Recording screen:0 for 1.0s",
            "Output: " + root,
            "Video: H.264 fMP4, 640x480, 30 fps, ~4.0s segments",
            "Audio: none",
            R"({"kind":"capture_starting","permission":{"preflightGranted":true,"screenRecording":"granted"},)"
            R"("stage":"stream_start"})",
            R"({"kind":"recording","state":"recording"})",
            "GLIMTO_RECORDING_STATUS=recording",
            R"({"kind":"stopping_capture"})",
            "Glimto stop: stopping capture stream",
            "GLIMTO_RECORDING_STATUS=stopped",
            R"({"kind":"finalizing","state":"finalizing"})",
            "Glimto stop: finishing segment writer",
            "Glimto stop: waiting for thumbnail",
            "Glimto stop: writing playlists and manifest",
            "Captured 1 segment(s)",
            "Playlist: " + root + "/segments/playlist.m3u8",
            "Manifest: " + root + "/manifest.json",
            "Thumbnail: " + root + "/thumbnail.jpg",
            "Verify: scripts/verify-media-contract.sh " + root,
            R"({"kind":"completed","state":"completed"})",
        }));
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(ScreenSegmentRecorderTests, ARecordingThatCannotStartLeavesNoDirectoryBehind)
{
    options.displayIndex = 7;
    EXPECT_THROW(record(), CLIError);
    EXPECT_FALSE(std::filesystem::exists(root));
}

TEST_F(ScreenSegmentRecorderTests, ATakeHasAllItsFiles)
{
    const auto metadata = record();

    EXPECT_EQ(takeFiles(),
        (Lines{"take/manifest.json", "take/segments/playlist.m3u8", "take/segments/video/init.mp4",
            "take/segments/video/segment_000.m4s", "take/thumbnail.jpg"}));
    EXPECT_EQ(metadata.path, root);
    EXPECT_EQ(metadata.width, 640);
    EXPECT_EQ(metadata.height, 480);
    EXPECT_EQ(metadata.videoSegmentCount, 1);
    EXPECT_EQ(metadata.thumbnailPath, root + "/thumbnail.jpg");
    EXPECT_EQ(directory.text("take/segments/playlist.m3u8"),
        "#EXTM3U\n"
        "#EXT-X-VERSION:7\n"
        "#EXT-X-TARGETDURATION:1\n"
        "#EXT-X-MEDIA-SEQUENCE:0\n"
        "#EXT-X-INDEPENDENT-SEGMENTS\n"
        "#EXT-X-MAP:URI=\"video/init.mp4\"\n"
        "#EXTINF:1.000000,\n"
        "video/segment_000.m4s\n"
        "#EXT-X-ENDLIST\n");
    const auto manifest = nlohmann::json::parse(directory.text("take/manifest.json"));
    EXPECT_EQ(manifest["video"]["source"], "screen:0");
    EXPECT_EQ(manifest["segments"].size(), 1U);
    EXPECT_FALSE(manifest.contains("audio"));
}

TEST_F(ScreenSegmentRecorderTests, EventsCarryTheRecordingId)
{
    options.upload = RecordingUploadOptions{};
    options.upload->recordingId = " rec_abc \n";
    record();

    EXPECT_TRUE(wasTold(R"({"kind":"stopping_capture","recordingId":"rec_abc"})"));
}

TEST_F(ScreenSegmentRecorderTests, TheStreamIsConfiguredFromTheOptions)
{
    options.framesPerSecond = 25;
    options.includeCursor = false;
    record();

    ASSERT_TRUE(stream.configuration.has_value());
    EXPECT_EQ(stream.configuration->width, 640);
    EXPECT_EQ(stream.configuration->height, 480);
    EXPECT_EQ(stream.configuration->sourceRect, std::nullopt);
    EXPECT_EQ(stream.configuration->minimumFrameInterval, (MediaTime{1, 25}));
    EXPECT_EQ(stream.configuration->queueDepth, 3);
    EXPECT_FALSE(stream.configuration->showsCursor);
}

TEST_F(ScreenSegmentRecorderTests, ARegionIsCapturedAsPartOfItsDisplay)
{
    options.captureRegion = CaptureRegion{100, 50, 300, 200};
    record();

    EXPECT_EQ(stream.configuration->sourceRect, (Rect{100, 50, 300, 200}));
    EXPECT_EQ(stream.configuration->width, 300);
    EXPECT_TRUE(wasTold("Recording region:300x200pt for 1.0s"));
}

TEST_F(ScreenSegmentRecorderTests, StopRequestsAreListenedToBeforeAnythingIsCaptured)
{
    bool wasListening = false;
    stream.onStart = [&] { wasListening = stopRequests.isListening; };
    record();

    EXPECT_TRUE(wasListening);
}

TEST_F(ScreenSegmentRecorderTests, AStopFileThatExistsAlreadyEndsTheRecordingAfterAStreamStart)
{
    const auto stopFile = directory.path() / "stop";
    std::ofstream(stopFile) << "";
    options.recordUntilStopped = true;
    options.stopFileURL = stopFile;
    stream.onStop = [this] { stream.deliver(fakeFrame(0, 640, 480)); };

    EXPECT_EQ(record().videoSegmentCount, 1);
    EXPECT_EQ(stream.starts, 1);
    EXPECT_TRUE(clock.sleeps.empty());
    EXPECT_TRUE(wasTold("Stop file: " + stopFile.string()));
    EXPECT_TRUE(wasTold("Stop file detected; finishing recording"));
    EXPECT_TRUE(wasTold("Recording screen:0 until stopped"));
}

TEST_F(ScreenSegmentRecorderTests, ASignalEndsTheRecordingNormally)
{
    stopRequests.request = "Interrupt received; finishing recording";
    stream.onStop = [this] { stream.deliver(fakeFrame(0, 640, 480)); };

    EXPECT_EQ(record().videoSegmentCount, 1);
    EXPECT_TRUE(wasTold("Interrupt received; finishing recording"));
    EXPECT_TRUE(wasTold(R"({"kind":"stop_seen"})"));
}

TEST_F(ScreenSegmentRecorderTests, TheMaximumDurationGivesANormalRecording)
{
    options.durationSeconds = 60;
    options.maxDurationSeconds = 1;

    EXPECT_EQ(record().videoSegmentCount, 1);
    EXPECT_TRUE(wasTold("Maximum recording duration reached; finishing recording"));
}

TEST_F(ScreenSegmentRecorderTests, RecordingUntilStoppedWithoutStopFileFails)
{
    options.recordUntilStopped = true;

    EXPECT_EQ(recordError(), "--until-stopped requires --stop-file.");
    EXPECT_TRUE(clock.sleeps.empty());
    expectCleanedUp();
}

TEST_F(ScreenSegmentRecorderTests, WithoutPermissionNothingIsTouched)
{
    screen.grantedAnswers = 0;
    try {
        record();
        FAIL() << "nothing was thrown";
    } catch (const GlimtoCaptureLifecycleError& error) {
        EXPECT_EQ(error.code(), "screen_permission_denied");
        EXPECT_STREQ(error.what(), "Screen Recording permission is not granted for glimto-capture.");
    }

    EXPECT_TRUE(content.queries.empty());
    EXPECT_FALSE(std::filesystem::exists(take));
    EXPECT_EQ(told(),
        Lines{
            R"({"kind":"capture_starting","permission":{"preflightGranted":false,"screenRecording":"denied"},)"
            R"("stage":"shareable_content"})"});
}

TEST_F(ScreenSegmentRecorderTests, PermissionThatWentAwayBeforeTheStartIsToldAndCleanedUp)
{
    screen.grantedAnswers = 1;
    try {
        record();
        FAIL() << "nothing was thrown";
    } catch (const GlimtoCaptureLifecycleError& error) {
        EXPECT_EQ(error.code(), "screen_permission_denied");
    }

    EXPECT_EQ(stream.starts, 0);
    EXPECT_EQ(told().back(),
        R"({"kind":"capture_starting","permission":{"preflightGranted":false,"screenRecording":"denied"},)"
        R"("stage":"stream_start"})");
    expectCleanedUp();
}

TEST_F(ScreenSegmentRecorderTests, ContentThatCannotBeFetchedPassesUp)
{
    content.error = std::make_exception_ptr(PlatformError("X11", 3, "no answer"));

    EXPECT_EQ(recordError(), "no answer");
    EXPECT_FALSE(std::filesystem::exists(take));
}

TEST_F(ScreenSegmentRecorderTests, AnEarlierTakeIsRefusedBeforeTheSourceIsResolved)
{
    std::filesystem::create_directories(take);
    std::ofstream(take / "verification.json") << "{}";
    options.displayIndex = 9;

    EXPECT_EQ(recordError(),
        "Output directory already contains proof artifacts: verification.json. Use --overwrite or choose a "
        "new "
        "directory.");
}

TEST_F(ScreenSegmentRecorderTests, ASourceThatDoesNotExistPassesUp)
{
    options.displayIndex = 9;

    EXPECT_EQ(recordError(), "No display at index 9. Run `glimto-capture sources`.");
    EXPECT_EQ(stream.configuration, std::nullopt);
}

TEST_F(ScreenSegmentRecorderTests, AnEncoderThatRefusesTheSettingsFailsBeforeAnyStream)
{
    encoder.refusesSettings = true;

    EXPECT_EQ(recordError(), "AVAssetWriter refused the H.264 video input.");
    EXPECT_EQ(stream.starts, 0);
}

TEST_F(ScreenSegmentRecorderTests, ACaptureThatCannotBeOpenedLeavesNothing)
{
    stream.openError = std::make_exception_ptr(PlatformError("X11", 3, "the window is gone"));

    EXPECT_EQ(recordError(), "the window is gone");
    EXPECT_FALSE(std::filesystem::exists(take));
}

TEST_F(ScreenSegmentRecorderTests, AStreamThatDoesNotStartIsCleanedUp)
{
    stream.startError = std::make_exception_ptr(PlatformError("X11", 3, "no shared memory"));

    EXPECT_EQ(recordError(), "no shared memory");
    EXPECT_FALSE(wasTold("GLIMTO_RECORDING_STATUS=recording"));
    expectCleanedUp();
}

TEST_F(ScreenSegmentRecorderTests, AStreamErrorEndsTheRecordingAndFinishesTheLastSegment)
{
    clock.onSleep = [this] {
        stream.deliver(fakeFrame(0, 640, 480));
        encoder.outputSegment("whole", 4.0);
        encoder.outputPiece("half");
        stream.fail(std::make_exception_ptr(PlatformError("X11", 3, "the display is gone")));
    };

    EXPECT_EQ(recordError(), "the display is gone");
    EXPECT_EQ(clock.sleeps.size(), 1U);
    EXPECT_TRUE(wasTold("capture stopped with error: the display is gone"));
    EXPECT_EQ(directory.text("take/segments/video/segment_000.m4s"), "whole");
    EXPECT_EQ(directory.text("take/segments/video/segment_001.m4s"), "halfMEDIA");
    EXPECT_EQ(takeFiles().size(), 4U); // with init.mp4 and the thumbnail
    EXPECT_EQ(stream.stops, 0);
    expectFinished();
}

TEST_F(ScreenSegmentRecorderTests, AFileThatCannotBeWrittenEndsTheRecordingWithItsError)
{
    options.durationSeconds = 600;
    stream.onStart = [this] { std::filesystem::remove_all(take / "segments"); };

    EXPECT_EQ(
        recordError(), "Could not write " + root + "/segments/video/init.mp4: No such file or directory");
    expectCleanedUp();
}

TEST_F(ScreenSegmentRecorderTests, AnEncoderThatFailsEndsTheRecordingWithItsError)
{
    options.durationSeconds = 600;
    encoder.error = "the encoder broke";
    encoder.onAppend = [this] { encoder.status = AssetWriterStatus::failed; };

    EXPECT_EQ(recordError(), "the encoder broke");
    EXPECT_EQ(clock.sleeps.size(), 1U);
    expectCleanedUp();
}

TEST_F(ScreenSegmentRecorderTests, ARecordingWithoutAnyFrameFails)
{
    clock.onSleep = nullptr;

    EXPECT_EQ(recordError(),
        "No screen frames were captured. Check Screen Recording permission and try moving the cursor during "
        "the "
        "capture.");
    EXPECT_TRUE(wasTold("GLIMTO_RECORDING_STATUS=stopped"));
    expectCleanedUp();
}

TEST_F(ScreenSegmentRecorderTests, FramesThatShowNothingAreNoFrames)
{
    clock.onSleep = [this] {
        VideoFrame frame = fakeFrame(0, 640, 480);
        frame.status = FrameStatus::idle;
        stream.deliver(frame);
    };

    EXPECT_TRUE(recordError().starts_with("No screen frames were captured."));
    EXPECT_FALSE(std::filesystem::exists(take / "thumbnail.jpg"));
}

} // namespace
} // namespace glimto
