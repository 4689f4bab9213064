#include "Upload/RecordingUploadRunState.h"

#include <array>
#include <cstdio>

#include "UploadTestSupport.h"

namespace glimto {
namespace {

class RecordingUploadRunStateTests : public testing::Test {
protected:
    void discover(const std::string& track) { state.discoverTrackSegments(take(), track, "p"); }
    const std::filesystem::path& take() const { return directory.path(); }

    using Keys = std::vector<std::string>;

    TemporaryDirectory directory;
    RecordingUploadRunState state;
};

TEST_F(RecordingUploadRunStateTests, SegmentsAreDiscoveredUpToTheFirstThatIsMissing)
{
    writeTestSegment(take(), "video", 0);
    writeTestSegment(take(), "video", 1);
    writeTestSegment(take(), "video", 3);
    discover("video");
    EXPECT_EQ(state.nextVideoSegmentIndex, 2);
    EXPECT_EQ(state.nextAudioSegmentIndex, 0);
    EXPECT_EQ(state.pendingSegmentObjectKeys,
        Keys({"p/segments/video/segment_000.m4s", "p/segments/video/segment_001.m4s"}));
    writeTestSegment(take(), "video", 2);
    discover("video");
    EXPECT_EQ(state.nextVideoSegmentIndex, 4);
}

TEST_F(RecordingUploadRunStateTests, TracksAreCountedApart)
{
    writeTestSegment(take(), "video", 0);
    writeTestSegment(take(), "audio", 0);
    discover("audio");
    EXPECT_EQ(state.nextAudioSegmentIndex, 1);
    EXPECT_EQ(state.nextVideoSegmentIndex, 0);
    EXPECT_EQ(state.pendingSegmentObjectKeys, Keys({"p/segments/audio/segment_000.m4s"}));
}

TEST_F(RecordingUploadRunStateTests, ADirectoryIsNoSegment)
{
    std::filesystem::create_directories(take() / "segments/video/segment_000.m4s");
    discover("video");
    EXPECT_EQ(state.nextVideoSegmentIndex, 0);
}

TEST_F(RecordingUploadRunStateTests, NumbersOfFourDigitsComeInOrder)
{
    for (int index = 0; index <= 1000; ++index) {
        std::array<char, 32> name = {};
        std::snprintf(name.data(), name.size(), "segment_%03d.m4s", index);
        writeTestFile(take() / "segments/video" / name.data(), "x");
    }
    discover("video");
    EXPECT_EQ(state.nextVideoSegmentIndex, 1001);
    EXPECT_EQ(state.pendingSegmentObjectKeys.back(), "p/segments/video/segment_1000.m4s");
}

TEST_F(RecordingUploadRunStateTests, WhatIsSentIsPendingNoMore)
{
    writeTestSegment(take(), "video", 0);
    writeTestSegment(take(), "video", 1);
    discover("video");
    state.addUploadedKey("p/segments/video/segment_000.m4s");
    EXPECT_EQ(state.pendingSegmentObjectKeys, Keys({"p/segments/video/segment_001.m4s"}));
    EXPECT_TRUE(state.uploadedObjectKeys.contains("p/segments/video/segment_000.m4s"));
    EXPECT_FALSE(state.uploadedObjectKeys.contains("p/segments/video/segment_001.m4s"));
}

} // namespace
} // namespace glimto
