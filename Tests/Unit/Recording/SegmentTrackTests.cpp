#include "Recording/SegmentTrack.h"

#include <memory>

#include <gtest/gtest.h>

#include "RecordingTestSupport.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

class SegmentTrackTests : public ::testing::Test {
protected:
    SegmentTrackTests() { std::filesystem::create_directories(take.path() / "segments" / "video"); }

    static std::span<const std::byte> bytes(std::string_view text)
    {
        return std::as_bytes(std::span(text.data(), text.size()));
    }
    static MediaTime seconds(double value) { return MediaTime::fromSeconds(value, 600); }

    void putSegment(std::string_view text, double duration)
    {
        track.didOutputSegmentData(bytes(text));
        track.didFinishSegment({.duration = seconds(duration), .earliestPresentationTime = std::nullopt});
    }

    TakeDirectory take;
    SegmentFileQueue queue;
    SegmentTrack track{take.path(), "video", Seconds(4), queue};
};

TEST_F(SegmentTrackTests, WritesTheInitializationSegment)
{
    track.didOutputInitializationSegment(bytes("ftypmoov"));
    queue.drain();

    EXPECT_EQ(take.text("segments/video/init.mp4"), "ftypmoov");
    EXPECT_EQ(track.initializationSegmentKey(), "segments/video/init.mp4");
}

TEST_F(SegmentTrackTests, HasNoInitializationSegmentKeyAtFirst)
{
    EXPECT_EQ(track.initializationSegmentKey(), std::nullopt);
    EXPECT_TRUE(track.segments().empty());
}

TEST_F(SegmentTrackTests, JoinsThePiecesOfASegment)
{
    track.didOutputSegmentData(bytes("one "));
    track.didOutputSegmentData(bytes("two"));
    track.didFinishSegment({.duration = seconds(4.0), .earliestPresentationTime = seconds(1.5)});
    queue.drain();

    ASSERT_EQ(track.segments().size(), 1U);
    const auto segment = track.segments().front();
    EXPECT_EQ(segment.index, 0);
    EXPECT_EQ(segment.relativeKey, "segments/video/segment_000.m4s");
    EXPECT_EQ(segment.duration, 4.0);
    EXPECT_EQ(segment.bytes, 7);
    EXPECT_EQ(segment.earliestPresentationTime, 1.5);
    EXPECT_EQ(take.text("segments/video/segment_000.m4s"), "one two");
}

TEST_F(SegmentTrackTests, NumbersSegmentsInOrder)
{
    putSegment("a", 4.0);
    putSegment("b", 1.5);
    queue.drain();

    EXPECT_EQ(take.files(),
        (std::vector<std::string>{"segments/video/segment_000.m4s", "segments/video/segment_001.m4s"}));
    EXPECT_EQ(track.segments()[1].index, 1);
    EXPECT_EQ(track.segments()[1].earliestPresentationTime, std::nullopt);
}

TEST_F(SegmentTrackTests, SegmentNumbersWidenAboveThreeDigits)
{
    EXPECT_EQ(segmentFileName(0), "segment_000.m4s");
    EXPECT_EQ(segmentFileName(999), "segment_999.m4s");
    EXPECT_EQ(segmentFileName(1000), "segment_1000.m4s");
}

TEST_F(SegmentTrackTests, AnUnfinishedSegmentHasNoFinalName)
{
    track.didOutputSegmentData(bytes("half"));
    queue.drain();

    EXPECT_FALSE(std::filesystem::exists(take.path() / "segments/video/segment_000.m4s"));
    EXPECT_TRUE(track.segments().empty());
}

TEST_F(SegmentTrackTests, RemovingTheUnfinishedSegmentKeepsFinishedOnes)
{
    putSegment("whole", 4.0);
    track.didOutputSegmentData(bytes("half"));
    queue.finish(track.unfinishedSegmentRemoval(), std::chrono::seconds(10));

    EXPECT_EQ(take.files(), (std::vector<std::string>{"segments/video/segment_000.m4s"}));
}

TEST_F(SegmentTrackTests, ASegmentWithoutDurationLeavesNoFileAndUsesNoIndex)
{
    putSegment("nothing", 0.0);
    track.didOutputSegmentData(bytes("less than nothing"));
    track.didFinishSegment({.duration = seconds(-1.0), .earliestPresentationTime = std::nullopt});
    putSegment("something", 2.0);
    queue.drain();

    EXPECT_EQ(take.files(), (std::vector<std::string>{"segments/video/segment_000.m4s"}));
    EXPECT_EQ(take.text("segments/video/segment_000.m4s"), "something");
    EXPECT_EQ(track.segments().size(), 1U);
    EXPECT_EQ(track.segments()[0].index, 0);
}

TEST_F(SegmentTrackTests, AnUntoldDurationIsThePreferredOne)
{
    track.didOutputSegmentData(bytes("x"));
    track.didFinishSegment({});
    queue.drain();

    ASSERT_EQ(track.segments().size(), 1U);
    EXPECT_EQ(track.segments()[0].duration, 4.0);
}

TEST_F(SegmentTrackTests, AnUntoldDurationWithoutPreferredLengthSkipsTheSegment)
{
    SegmentTrack other(take.path(), "video", Seconds(0), queue);
    other.didOutputSegmentData(bytes("x"));
    other.didFinishSegment({});
    queue.drain();

    EXPECT_TRUE(other.segments().empty());
    EXPECT_TRUE(take.files().empty());
}

TEST_F(SegmentTrackTests, ASegmentThatDoesNotFitTheDiskLeavesNoFile)
{
    putSegment("fits", 4.0);
    queue.drain();
    {
        const FileSizeLimit limit(10);
        track.didOutputSegmentData(bytes("12345678"));
        track.didOutputSegmentData(bytes("12345678"));
        track.didOutputSegmentData(bytes("12345678"));
        track.didFinishSegment({.duration = seconds(4.0), .earliestPresentationTime = std::nullopt});
        queue.drain();
    }

    EXPECT_EQ(take.files(), (std::vector<std::string>{"segments/video/segment_000.m4s"}));
    EXPECT_EQ(track.segments().size(), 1U);
    EXPECT_EQ(track.writeFailures(), 1);
    EXPECT_EQ(errorFacts(track.firstFailure()).message,
        "Could not write " + (take.path() / "segments/video/segment_001.m4s").string() + ": File too large");
}

TEST_F(SegmentTrackTests, NothingIsWrittenAfterAFailureAndItIsRemembered)
{
    std::filesystem::remove_all(take.path() / "segments");
    track.didOutputInitializationSegment(bytes("ftypmoov"));
    queue.drain();
    std::filesystem::create_directories(take.path() / "segments" / "video");
    putSegment("x", 4.0);
    queue.drain();

    EXPECT_EQ(track.writeFailures(), 1);
    EXPECT_EQ(track.initializationSegmentKey(), std::nullopt);
    EXPECT_TRUE(track.segments().empty());
    EXPECT_TRUE(take.files().empty());
    EXPECT_EQ(errorFacts(track.firstFailure()).message,
        "Could not write " + (take.path() / "segments/video/init.mp4").string()
            + ": No such file or directory");
}

} // namespace
} // namespace glimto
