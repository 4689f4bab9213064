#include "Artifacts/RecordingMetadataJSON.h"

#include <gtest/gtest.h>

#include "Support/JSONText.h"

namespace glimto {
namespace {

RecordingMetadataJSON silentTake()
{
    RecordingMetadataJSON metadata;
    metadata.path = "/takes/one";
    metadata.playlistPath = "/takes/one/segments/playlist.m3u8";
    metadata.manifestPath = "/takes/one/manifest.json";
    metadata.thumbnailPath = "/takes/one/thumbnail.jpg";
    metadata.width = 1920;
    metadata.height = 1080;
    metadata.framesPerSecond = 30;
    metadata.videoSegmentCount = 3;
    metadata.requestedSystemAudio = true;
    metadata.sourceDescription = "screen:0";
    return metadata;
}

TEST(RecordingMetadataJSONTests, IsOneLineWithTheFieldNamesAsSortedKeys)
{
    EXPECT_EQ(encodeScreenCaptureJSON(toJSON(silentTake())),
        R"({"audioSegmentCount":0,"framesPerSecond":30,"height":1080,"includesAudioSegments":false,)"
        R"("includesSystemAudio":false,"manifestPath":"/takes/one/manifest.json","path":"/takes/one",)"
        R"("playlistPath":"/takes/one/segments/playlist.m3u8","requestedSystemAudio":true,)"
        R"("sourceDescription":"screen:0","thumbnailPath":"/takes/one/thumbnail.jpg","videoSegmentCount":3,)"
        R"("width":1920})");
}

TEST(RecordingMetadataJSONTests, MissingThumbnailHasNoKey)
{
    auto metadata = silentTake();
    metadata.thumbnailPath.reset();
    EXPECT_FALSE(toJSON(metadata).contains("thumbnailPath"));
    EXPECT_EQ(toJSON(metadata).size(), 12U);
}

TEST(RecordingMetadataJSONTests, PathThatIsNoUTF8CanBeEncoded)
{
    auto metadata = silentTake();
    metadata.path = "/takes/\xE9t\xE9";
    EXPECT_EQ(toJSON(metadata)["path"], "/takes/\xEF\xBF\xBDt\xEF\xBF\xBD");
    EXPECT_NO_THROW(encodeScreenCaptureJSON(toJSON(metadata)));
}

} // namespace
} // namespace glimto
