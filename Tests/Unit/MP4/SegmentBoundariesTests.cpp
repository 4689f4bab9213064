#include "Backends/MP4/SegmentBoundaries.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr VideoTime start{0};
constexpr VideoTime second = std::chrono::seconds(1);
constexpr VideoTime tick{1};
constexpr VideoTime frame{3'000}; // 30 frames a second

TEST(SegmentBoundariesTests, FirstFrameStartsTheFirstSegment)
{
    const SegmentBoundaries boundaries(4 * second, frame);
    EXPECT_TRUE(boundaries.startsSegment(start));
}

TEST(SegmentBoundariesTests, FrameNearestToAMultipleStartsTheNextSegment)
{
    SegmentBoundaries boundaries(4 * second, frame);
    boundaries.startSegment(start);
    EXPECT_FALSE(boundaries.startsSegment(4 * second - frame));
    EXPECT_TRUE(boundaries.startsSegment(4 * second - 10 * tick));
    EXPECT_TRUE(boundaries.startsSegment(4 * second + 10 * tick));
}

TEST(SegmentBoundariesTests, SegmentStartedALittleEarlyStillEndsAtTheNextMultiple)
{
    SegmentBoundaries boundaries(4 * second, frame);
    boundaries.startSegment(4 * second - 10 * tick);
    EXPECT_EQ(boundaries.boundary(), 8 * second);
}

TEST(SegmentBoundariesTests, PictureIsRepeatedOnlyWhenTheBoundaryLiesAFrameBack)
{
    SegmentBoundaries boundaries(4 * second, frame);
    boundaries.startSegment(start);
    EXPECT_FALSE(boundaries.needsRepeatBefore(4 * second + frame - tick));
    EXPECT_TRUE(boundaries.needsRepeatBefore(4 * second + frame));
}

TEST(SegmentBoundariesTests, IntervalShorterThanAFrameGivesASegmentAFrame)
{
    SegmentBoundaries boundaries(10 * tick, frame);
    boundaries.startSegment(start);
    EXPECT_FALSE(boundaries.startsSegment(frame / 5));
    EXPECT_TRUE(boundaries.startsSegment(frame - 5 * tick));
}

TEST(SegmentBoundariesTests, IntervalOfThreeFramesIsKept)
{
    SegmentBoundaries boundaries(second / 10, frame);
    boundaries.startSegment(start);
    EXPECT_FALSE(boundaries.startsSegment(2 * frame));
    EXPECT_TRUE(boundaries.startsSegment(3 * frame));
}

} // namespace
} // namespace glimto
