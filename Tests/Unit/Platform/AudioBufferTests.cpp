#include "Platform/AudioBuffer.h"

#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

AudioFormat format(int channelCount, AudioSampleType type, AudioLayout layout = AudioLayout::interleaved)
{
    return {48000, channelCount, type, layout};
}

TEST(AudioFormatTests, FrameHasOneSampleOfEveryChannel)
{
    EXPECT_EQ(format(2, AudioSampleType::integer16).bytesPerFrame(), 4U);
    EXPECT_EQ(format(2, AudioSampleType::integer24).bytesPerFrame(), 6U);
    EXPECT_EQ(format(1, AudioSampleType::integer32).bytesPerFrame(), 4U);
    EXPECT_EQ(format(6, AudioSampleType::float32).bytesPerFrame(), 24U);
}

TEST(AudioFormatTests, RatesAndChannelCountsWithinTheLimitsAreUsable)
{
    EXPECT_TRUE((AudioFormat{1000, 1, AudioSampleType::float32, AudioLayout::planar}).isUsable());
    EXPECT_TRUE((AudioFormat{1000000, 64, AudioSampleType::float32, AudioLayout::planar}).isUsable());
    EXPECT_EQ((AudioFormat{999, 2, {}, {}}).status(), AudioFormatStatus::sampleRateOutOfRange);
    EXPECT_EQ((AudioFormat{1000001, 2, {}, {}}).status(), AudioFormatStatus::sampleRateOutOfRange);
    EXPECT_EQ((AudioFormat{48000, 0, {}, {}}).status(), AudioFormatStatus::channelCountOutOfRange);
    EXPECT_EQ((AudioFormat{48000, 65, {}, {}}).status(), AudioFormatStatus::channelCountOutOfRange);
}

TEST(AudioFormatTests, EveryFieldTellsFormatsApart)
{
    const AudioFormat stereo = format(2, AudioSampleType::integer16);
    AudioFormat otherRate = stereo;
    otherRate.sampleRate = 44100;
    EXPECT_EQ(stereo, format(2, AudioSampleType::integer16));
    EXPECT_NE(stereo, otherRate);
    EXPECT_NE(stereo, format(3, AudioSampleType::integer16));
    EXPECT_NE(stereo, format(2, AudioSampleType::integer24));
    EXPECT_NE(stereo, format(2, AudioSampleType::integer16, AudioLayout::planar));
}

TEST(AudioFormatTests, SingleChannelIsTheSameInBothLayouts)
{
    EXPECT_EQ(format(1, AudioSampleType::float32, AudioLayout::interleaved),
        format(1, AudioSampleType::float32, AudioLayout::planar));
}

TEST(AudioFormatTests, DescriptionNamesChannelsRateTypeAndLayout)
{
    EXPECT_EQ((AudioFormat{44100, 2, AudioSampleType::integer16, AudioLayout::interleaved}).description(),
        "2 channels, 44100 Hz, 16-bit integer, interleaved");
    EXPECT_EQ((AudioFormat{96000, 6, AudioSampleType::integer24, AudioLayout::planar}).description(),
        "6 channels, 96000 Hz, 24-bit integer, planar");
    EXPECT_EQ(format(1, AudioSampleType::integer32).description(), "1 channel, 48000 Hz, 32-bit integer");
    EXPECT_EQ(format(1, AudioSampleType::float32).description(), "1 channel, 48000 Hz, 32-bit float");
}

TEST(AudioBufferTests, DataIsWholeWhenAllFramesHaveBytes)
{
    const std::vector<std::byte> bytes(40);
    AudioBuffer buffer{format(2, AudioSampleType::integer16), 10, {}, bytes, true};
    EXPECT_EQ(buffer.dataStatus(), AudioDataStatus::whole);
    buffer.frameCount = 9;
    EXPECT_EQ(buffer.dataStatus(), AudioDataStatus::whole);
    buffer.frameCount = 11;
    EXPECT_EQ(buffer.dataStatus(), AudioDataStatus::bytesMissing);
}

TEST(AudioBufferTests, FrameCountWhoseBytesNoSizeCanHoldIsMissingBytes)
{
    const std::vector<std::byte> bytes(40);
    const std::size_t frameCount = std::numeric_limits<std::size_t>::max() / 4 + 2;
    const AudioBuffer buffer{format(2, AudioSampleType::integer16), frameCount, {}, bytes, true};
    EXPECT_EQ(buffer.dataStatus(), AudioDataStatus::bytesMissing);
}

} // namespace
} // namespace glimto
