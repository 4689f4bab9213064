#include "Recording/VideoEncodingRules.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

TEST(VideoEncodingRulesTests, BitRateIsAnEighthOfAPixelRateThatIsHighEnough)
{
    EXPECT_EQ(videoEncodingSettings(1920, 1080, 30, 4s).averageBitRate, 7'776'000);
    EXPECT_EQ(videoEncodingSettings(1000, 1000, 16, 4s).averageBitRate, 2'000'000);
    EXPECT_EQ(videoEncodingSettings(1000, 1001, 16, 4s).averageBitRate, 2'002'000);
    EXPECT_EQ(videoEncodingSettings(7680, 4320, 120, 4s).averageBitRate, 497'664'000);
}

TEST(VideoEncodingRulesTests, BitRateHasAFloor)
{
    EXPECT_EQ(videoEncodingSettings(320, 240, 30, 4s).averageBitRate, 2'000'000);
    EXPECT_EQ(videoEncodingSettings(1000, 1000, 15, 4s).averageBitRate, 2'000'000);
}

TEST(VideoEncodingRulesTests, BitRateIsDividedAsIntegers)
{
    EXPECT_EQ(videoEncodingSettings(4001, 4001, 1, 4s).averageBitRate, 2'001'000);
}

TEST(VideoEncodingRulesTests, AFrameRateOfNothingCountsAsOne)
{
    EXPECT_EQ(videoEncodingSettings(8000, 4000, 0, 4s).averageBitRate, 4'000'000);
    EXPECT_EQ(videoEncodingSettings(8000, 4000, 0, 4s).maxKeyFrameInterval, 1);
}

TEST(VideoEncodingRulesTests, KeyframesComeAtLeastOnceASegment)
{
    const auto settings = videoEncodingSettings(640, 480, 30, 4s);
    EXPECT_EQ(settings.maxKeyFrameInterval, 120);
    EXPECT_EQ(settings.maxKeyFrameIntervalDuration, std::chrono::seconds(4));
    EXPECT_EQ(videoEncodingSettings(640, 480, 30, 1.5s).maxKeyFrameInterval, 60);
    EXPECT_EQ(videoEncodingSettings(640, 480, 30, 0.25s).maxKeyFrameInterval, 30);
}

TEST(VideoEncodingRulesTests, SizeAndFrameRateAreHandedOn)
{
    const auto settings = videoEncodingSettings(641, 479, 25, 4s);
    EXPECT_EQ(settings.width, 641);
    EXPECT_EQ(settings.height, 479);
    EXPECT_EQ(settings.framesPerSecond, 25);
}

TEST(VideoEncodingRulesTests, SegmentIntervalsHaveATimescaleOf600)
{
    EXPECT_EQ(preferredSegmentInterval(4.0s), (MediaTime{2400, 600}));
    EXPECT_EQ(preferredSegmentInterval(0.5s), (MediaTime{300, 600}));
}

TEST(VideoEncodingRulesTests, ExtremeSegmentLengthsStayUsable)
{
    EXPECT_EQ(preferredSegmentInterval(1e-9s), (MediaTime{1, 600}));
    EXPECT_EQ(preferredSegmentInterval(1e300s), (MediaTime{600'000'000'000, 600}));
    EXPECT_EQ(videoEncodingSettings(640, 480, 30, 1e300s).maxKeyFrameInterval, 30'000'000'000);
}

} // namespace
} // namespace glimto
