#include "Backends/FFmpeg/ChannelWeights.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::Pair;

constexpr float minus3dB = 0.70710678F;

// What each input gives to the left and the right of two outputs.
std::vector<std::pair<float, float>> stereoWeights(int inputCount, ChannelMapping mapping)
{
    std::vector<std::pair<float, float>> found;
    for (int input = 0; input < inputCount; ++input)
        found.emplace_back(
            channelWeight(input, inputCount, 0, 2, mapping), channelWeight(input, inputCount, 1, 2, mapping));
    return found;
}

TEST(ChannelWeightsTests, SingleInputGoesWholeToAllOutputs)
{
    EXPECT_THAT(stereoWeights(1, ChannelMapping::firstChannels), ElementsAre(Pair(1, 1)));
    EXPECT_THAT(stereoWeights(1, ChannelMapping::downmix), ElementsAre(Pair(1, 1)));
}

TEST(ChannelWeightsTests, StereoStaysAsItIs)
{
    EXPECT_THAT(stereoWeights(2, ChannelMapping::firstChannels), ElementsAre(Pair(1, 0), Pair(0, 1)));
    EXPECT_THAT(stereoWeights(2, ChannelMapping::downmix), ElementsAre(Pair(1, 0), Pair(0, 1)));
}

TEST(ChannelWeightsTests, FirstChannelsDropTheOthers)
{
    EXPECT_THAT(stereoWeights(4, ChannelMapping::firstChannels),
        ElementsAre(Pair(1, 0), Pair(0, 1), Pair(0, 0), Pair(0, 0)));
}

TEST(ChannelWeightsTests, OutputsBeyondTheInputsAreSilent)
{
    EXPECT_EQ(channelWeight(0, 2, 2, 3, ChannelMapping::downmix), 0);
    EXPECT_EQ(channelWeight(1, 2, 2, 3, ChannelMapping::downmix), 0);
    EXPECT_EQ(channelWeight(1, 2, 1, 3, ChannelMapping::downmix), 1);
}

TEST(ChannelWeightsTests, FiveToSevenPointOneAreMixedAroundTheListener)
{
    EXPECT_THAT(stereoWeights(6, ChannelMapping::downmix),
        ElementsAre(Pair(1, 0), Pair(0, 1), Pair(minus3dB, minus3dB), Pair(0, 0), Pair(minus3dB, 0),
            Pair(0, minus3dB)));
    EXPECT_THAT(stereoWeights(7, ChannelMapping::downmix),
        ElementsAre(Pair(1, 0), Pair(0, 1), Pair(minus3dB, minus3dB), Pair(0, 0), Pair(0.5F, 0.5F),
            Pair(minus3dB, 0), Pair(0, minus3dB)));
    EXPECT_EQ(stereoWeights(8, ChannelMapping::downmix)[7], std::pair(0.0F, minus3dB));
}

TEST(ChannelWeightsTests, QuadraphonicHasNoCenter)
{
    EXPECT_THAT(stereoWeights(4, ChannelMapping::downmix),
        ElementsAre(Pair(1, 0), Pair(0, 1), Pair(minus3dB, 0), Pair(0, minus3dB)));
}

TEST(ChannelWeightsTests, ManyChannelsGoLeftAndRightByTurns)
{
    const auto weights = stereoWeights(64, ChannelMapping::downmix);
    EXPECT_EQ(weights[0], std::pair(minus3dB, 0.0F));
    EXPECT_EQ(weights[63], std::pair(0.0F, minus3dB));
}

TEST(ChannelWeightsTests, SingleOutputIsTheMeanOfLeftAndRight)
{
    EXPECT_EQ(channelWeight(0, 2, 0, 1, ChannelMapping::downmix), 0.5F);
    EXPECT_EQ(channelWeight(1, 2, 0, 1, ChannelMapping::downmix), 0.5F);
    EXPECT_EQ(channelWeight(0, 2, 0, 1, ChannelMapping::firstChannels), 1);
    EXPECT_EQ(channelWeight(1, 2, 0, 1, ChannelMapping::firstChannels), 0);
}

} // namespace
} // namespace glimto
