#include "Backends/FFmpeg/SoundSegmentCuts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::int64_t framesPerBlock = 1024;

std::vector<std::int64_t> firstCuts(MediaTime interval, int sampleRate, std::size_t count)
{
    SoundSegmentCuts cuts(interval, sampleRate, framesPerBlock);
    std::vector<std::int64_t> found;
    for (; found.size() < count; cuts.advance())
        found.push_back(cuts.next());
    return found;
}

TEST(SoundSegmentCutsTests, CutsAreTheBlockEndsNearestToTheMultiples)
{
    // 48000 / 1024 is 46.875.
    EXPECT_THAT(firstCuts({600, 600}, 48000, 5),
        testing::ElementsAre(47 * 1024, 94 * 1024, 141 * 1024, 188 * 1024, 234 * 1024));
}

TEST(SoundSegmentCutsTests, IntervalThatIsNoWholeNumberOfFramesDoesNotDrift)
{
    // A third of a second at 44100 Hz, ten thousand of which are 3333.33 seconds.
    EXPECT_EQ(firstCuts({1, 3}, 44100, 10'000).back(), (147'000'000 + 512) / 1024 * 1024);
}

TEST(SoundSegmentCutsTests, IntervalShorterThanABlockMeansOneSegmentABlock)
{
    EXPECT_THAT(firstCuts({1, 600}, 48000, 3), testing::ElementsAre(1024, 2048, 3072));
}

TEST(SoundSegmentCutsTests, IntervalOfABlockAndABitCutsEveryBlockButSome)
{
    const auto cuts = firstCuts({1, 40}, 48000, 6); // 1200 frames
    EXPECT_THAT(cuts, testing::ElementsAre(1024, 2048, 4096, 5120, 6144, 7168));
}

} // namespace
} // namespace glimto
