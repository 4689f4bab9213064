#include "Artifacts/RecordingArtifactWriter.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"
#include "Support/JSONText.h"

namespace glimto {
namespace {

using testing::MatchesRegex;

constexpr std::chrono::system_clock::time_point midday{std::chrono::milliseconds(1'769'860'800'123)};

const VideoCodec h264 = {.name = "h264", .playlistCodec = "avc1.640028"};

const CapturedTracks silentTracks = {
    .video = {{0, "segments/video/segment_000.m4s", 4.0, 1000, 0.0},
        {1, "segments/video/segment_001.m4s", 1.5, 500, {}}},
    .audio = {},
    .videoCodec = h264,
};

const CapturedTracks soundTracks = {
    .video = {{0, "segments/video/segment_000.m4s", 4.0, 1000, 0.0}},
    .audio = {{0, "segments/audio/segment_000.m4s", 3.75, 70, 0.25},
        {1, "segments/audio/segment_001.m4s", 0.5, 7, 4.0}},
    .videoCodec = h264,
};

class RecordingArtifactWriterTests : public testing::Test {
protected:
    RecordingArtifactWriterTests()
    {
        options.segmentSeconds = 4.0;
        options.framesPerSecond = 60;
    }

    static std::string content(const std::filesystem::path& path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    std::string silentManifestText() const
    {
        return encodePrettyJSON(toJSON(writer.manifest(
            {"segments/video/init.mp4", std::nullopt, silentTracks, 1920, 1080, options, "screen:0"},
            midday)));
    }

    MediaManifest soundManifest() const
    {
        return writer.manifest({"segments/video/init.mp4", "segments/audio/init.mp4", soundTracks, 640, 480,
                                   options, "window:7 Editor"},
            midday);
    }

    TemporaryDirectory directory;
    RecordOptions options;
    RecordingArtifactWriter writer{
        OutputPlan::prepare(directory.path(), OutputPlan::EarlierTake::kept), 48000, 2};
};

TEST_F(RecordingArtifactWriterTests, ManifestOfATakeWithoutAudioHasNoAudioKeys)
{
    EXPECT_EQ(silentManifestText(), R"({
  "createdAt": "2026-01-31T12:00:00.123Z",
  "initSegmentKey": "segments/video/init.mp4",
  "manifestVersion": 1,
  "notes": [
    "Segments are emitted directly by AVAssetWriter using MPEG4AppleHLS profile.",
    "Screen video only; audio was not requested."
  ],
  "playlistKey": "segments/playlist.m3u8",
  "preferredSegmentDuration": 4.0,
  "segments": [
    {
      "bytes": 1000,
      "duration": 4.0,
      "earliestPresentationTime": 0.0,
      "index": 0,
      "key": "segments/video/segment_000.m4s"
    },
    {
      "bytes": 500,
      "duration": 1.5,
      "index": 1,
      "key": "segments/video/segment_001.m4s"
    }
  ],
  "state": "complete",
  "totalBytes": 1500,
  "totalDuration": 5.5,
  "video": {
    "codec": "h264",
    "container": "fmp4",
    "framesPerSecond": 60,
    "hasAudio": false,
    "height": 1080,
    "source": "screen:0",
    "width": 1920
  }
})");
}

TEST_F(RecordingArtifactWriterTests, ManifestOfATakeWithSystemAudioTellsOfBothTracks)
{
    options.captureSystemAudio = true;
    EXPECT_EQ(encodePrettyJSON(toJSON(soundManifest())), R"({
  "audio": {
    "channelCount": 2,
    "codec": "aac",
    "initSegmentKey": "segments/audio/init.mp4",
    "playlistKey": "segments/audio/playlist.m3u8",
    "sampleRate": 48000,
    "segmentCount": 2,
    "source": "system"
  },
  "audioSegments": [
    {
      "bytes": 70,
      "duration": 3.75,
      "earliestPresentationTime": 0.25,
      "index": 0,
      "key": "segments/audio/segment_000.m4s"
    },
    {
      "bytes": 7,
      "duration": 0.5,
      "earliestPresentationTime": 4.0,
      "index": 1,
      "key": "segments/audio/segment_001.m4s"
    }
  ],
  "createdAt": "2026-01-31T12:00:00.123Z",
  "initSegmentKey": "segments/video/init.mp4",
  "manifestVersion": 1,
  "notes": [
    "Segments are emitted directly by AVAssetWriter using MPEG4AppleHLS profile.",
    "System audio was captured through ScreenCaptureKit and encoded as AAC."
  ],
  "playlistKey": "segments/playlist.m3u8",
  "preferredSegmentDuration": 4.0,
  "segments": [
    {
      "bytes": 1000,
      "duration": 4.0,
      "earliestPresentationTime": 0.0,
      "index": 0,
      "key": "segments/video/segment_000.m4s"
    }
  ],
  "state": "complete",
  "totalBytes": 1077,
  "totalDuration": 4.0,
  "video": {
    "codec": "h264",
    "container": "fmp4",
    "framesPerSecond": 60,
    "hasAudio": true,
    "height": 480,
    "source": "window:7 Editor",
    "width": 640
  }
})");
}

TEST_F(RecordingArtifactWriterTests, ManifestNamesTheMicrophoneAlone)
{
    options.microphoneDeviceID = "mic";
    const auto manifest = soundManifest();
    EXPECT_EQ(manifest.audio->source, "microphone");
    EXPECT_EQ(manifest.notes.at(1), "Microphone audio was captured through AVFoundation and encoded as AAC.");
}

TEST_F(RecordingArtifactWriterTests, ManifestNamesSystemAudioAndMicrophoneMixed)
{
    options.captureSystemAudio = true;
    options.microphoneDeviceID = "mic";
    const auto manifest = soundManifest();
    EXPECT_EQ(manifest.audio->source, "system+microphone");
    EXPECT_EQ(manifest.notes.at(1),
        "System audio from ScreenCaptureKit and the microphone were mixed into one AAC track.");
}

TEST_F(RecordingArtifactWriterTests, ManifestOfAnIllNamedWindowIsStillValidUTF8)
{
    auto manifest = soundManifest();
    manifest.video.source = "window:7 \xFF";
    EXPECT_EQ(toJSON(manifest)["video"]["source"], "window:7 \xEF\xBF\xBD");
}

TEST_F(RecordingArtifactWriterTests, ManifestFileHoldsTheManifestCreatedNow)
{
    writer.writeManifest(
        {"segments/video/init.mp4", std::nullopt, silentTracks, 1920, 1080, options, "screen:0"});
    const std::string text = content(directory.path() / "manifest.json");
    auto written = nlohmann::json::parse(text);
    EXPECT_EQ(encodePrettyJSON(written), text);
    EXPECT_THAT(written["createdAt"].get<std::string>(),
        MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z"));
    written["createdAt"] = "2026-01-31T12:00:00.123Z";
    EXPECT_EQ(encodePrettyJSON(written), silentManifestText());
}

TEST_F(RecordingArtifactWriterTests, MediaPlaylistFileHoldsThePlaylist)
{
    const auto path = writer.plan.videoSegmentsDirectory / "playlist.m3u8";
    writer.writeMediaPlaylist(
        path, "segments/video/init.mp4", silentTracks.video, PlaylistPlacement::besideSegments);
    EXPECT_EQ(content(path),
        mediaPlaylistText("segments/video/init.mp4", silentTracks.video, PlaylistPlacement::besideSegments));
}

TEST_F(RecordingArtifactWriterTests, MasterPlaylistLiesAboveTheSegments)
{
    writer.writeMasterPlaylist(640, 480, 60, h264);
    EXPECT_EQ(content(directory.path() / "segments/playlist.m3u8"),
        masterPlaylistText(640, 480, 60, "avc1.640028"));
}

TEST_F(RecordingArtifactWriterTests, DirectoryThatIsGoneIsAPlatformError)
{
    std::filesystem::remove_all(writer.plan.segmentsDirectory);
    EXPECT_THROW(writer.writeMasterPlaylist(640, 480, 60, h264), PlatformError);
}

} // namespace
} // namespace glimto
