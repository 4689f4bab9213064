#include "Backends/FFmpeg/SegmentBoundaries.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::int64_t second = 90'000;
constexpr std::int64_t frame = 3'000; // 30 frames a second

TEST(SegmentBoundariesTests, FirstFrameStartsTheFirstSegment)
{
    const SegmentBoundaries boundaries(4 * second, frame);
    EXPECT_TRUE(boundaries.startsSegment(0));
}

TEST(SegmentBoundariesTests, FrameNearestToAMultipleStartsTheNextSegment)
{
    SegmentBoundaries boundaries(4 * second, frame);
    boundaries.startSegment(0);
    EXPECT_FALSE(boundaries.startsSegment(4 * second - frame));
    EXPECT_TRUE(boundaries.startsSegment(4 * second - 10));
    EXPECT_TRUE(boundaries.startsSegment(4 * second + 10));
}

TEST(SegmentBoundariesTests, SegmentStartedALittleEarlyStillEndsAtTheNextMultiple)
{
    SegmentBoundaries boundaries(4 * second, frame);
    boundaries.startSegment(4 * second - 10);
    EXPECT_EQ(boundaries.boundary(), 8 * second);
}

TEST(SegmentBoundariesTests, PictureIsRepeatedOnlyWhenTheBoundaryLiesAFrameBack)
{
    SegmentBoundaries boundaries(4 * second, frame);
    boundaries.startSegment(0);
    EXPECT_FALSE(boundaries.needsRepeatBefore(4 * second + frame - 1));
    EXPECT_TRUE(boundaries.needsRepeatBefore(4 * second + frame));
}

TEST(SegmentBoundariesTests, IntervalShorterThanAFrameGivesASegmentAFrame)
{
    SegmentBoundaries boundaries(10, frame);
    boundaries.startSegment(0);
    EXPECT_FALSE(boundaries.startsSegment(frame / 5));
    EXPECT_TRUE(boundaries.startsSegment(frame - 5));
}

TEST(SegmentBoundariesTests, IntervalOfThreeFramesIsKept)
{
    SegmentBoundaries boundaries(second / 10, frame);
    boundaries.startSegment(0);
    EXPECT_FALSE(boundaries.startsSegment(2 * frame));
    EXPECT_TRUE(boundaries.startsSegment(3 * frame));
}

} // namespace
} // namespace glimto
