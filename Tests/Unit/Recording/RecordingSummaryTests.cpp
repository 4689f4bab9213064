#include "Recording/RecordingSummary.h"

#include <fstream>

#include <gtest/gtest.h>

#include "RecordingTestSupport.h"

namespace glimto {
namespace {

using Lines = std::vector<std::string>;

class RecordingSummaryTests : public ::testing::Test {
protected:
    RecordingSummaryTests()
    {
        facts.width = 1920;
        facts.height = 1080;
        facts.description = "screen:0";
        tracks.video.resize(3);
    }

    RecordingMetadataJSON metadata() const { return recordingMetadata(options, facts, plan, tracks); }

    TakeDirectory take;
    std::string root = take.path().string();
    OutputPlan plan = OutputPlan::prepare(take.path(), OutputPlan::EarlierTake::kept);
    RecordOptions options;
    CaptureFacts facts;
    CapturedTracks tracks;
};

TEST_F(RecordingSummaryTests, StartLinesOfATimedRecording)
{
    EXPECT_EQ(recordingStartLines(options, facts, plan),
        (Lines{"Recording screen:0 for 5.0s", "Output: " + root,
            "Video: H.264 fMP4, 1920x1080, 30 fps, ~4.0s segments", "Audio: none"}));
}

TEST_F(RecordingSummaryTests, StartLinesOfARecordingUntilStopped)
{
    options.recordUntilStopped = true;
    options.stopFileURL = "/tmp/stop here";
    options.segmentSeconds = 0.1;

    EXPECT_EQ(recordingStartLines(options, facts, plan),
        (Lines{"Recording screen:0 until stopped", "Output: " + root,
            "Video: H.264 fMP4, 1920x1080, 30 fps, ~0.1s segments", "Audio: none",
            "Stop file: /tmp/stop here"}));
}

TEST_F(RecordingSummaryTests, SummaryWithoutThumbnail)
{
    EXPECT_EQ(recordingSummaryLines(options, metadata()),
        (Lines{"Captured 3 segment(s)", "Playlist: " + root + "/segments/playlist.m3u8",
            "Manifest: " + root + "/manifest.json", "Verify: scripts/verify-media-contract.sh " + root}));
    EXPECT_EQ(metadata().thumbnailPath, std::nullopt);
}

TEST_F(RecordingSummaryTests, SummaryWithThumbnail)
{
    std::ofstream(plan.thumbnailURL) << "picture";

    EXPECT_EQ(metadata().thumbnailPath, root + "/thumbnail.jpg");
    EXPECT_EQ(recordingSummaryLines(options, metadata())[3], "Thumbnail: " + root + "/thumbnail.jpg");
}

TEST_F(RecordingSummaryTests, SummaryCountsAudioSegmentsWhenAudioWasAskedFor)
{
    options.microphoneDeviceID = "mic";

    EXPECT_EQ(
        recordingSummaryLines(options, metadata())[0], "Captured 3 video segment(s), 0 audio segment(s)");
}

TEST_F(RecordingSummaryTests, MetadataTellsTheTakesFacts)
{
    const auto told = metadata();

    EXPECT_EQ(told.path, root);
    EXPECT_EQ(told.playlistPath, root + "/segments/playlist.m3u8");
    EXPECT_EQ(told.manifestPath, root + "/manifest.json");
    EXPECT_EQ(told.width, 1920);
    EXPECT_EQ(told.height, 1080);
    EXPECT_EQ(told.framesPerSecond, 30);
    EXPECT_EQ(told.videoSegmentCount, 3);
    EXPECT_EQ(told.audioSegmentCount, 0);
    EXPECT_FALSE(told.includesAudioSegments);
    EXPECT_FALSE(told.includesSystemAudio);
    EXPECT_FALSE(told.requestedSystemAudio);
    EXPECT_EQ(told.sourceDescription, "screen:0");
}

TEST_F(RecordingSummaryTests, SystemAudioThatWasAskedForIsToldEvenWhenNoneCame)
{
    options.captureSystemAudio = true;

    EXPECT_TRUE(metadata().requestedSystemAudio);
    EXPECT_FALSE(metadata().includesSystemAudio);
    tracks.audio.resize(1);
    EXPECT_TRUE(metadata().includesSystemAudio);
    EXPECT_TRUE(metadata().includesAudioSegments);
    EXPECT_EQ(metadata().audioSegmentCount, 1);
}

} // namespace
} // namespace glimto
