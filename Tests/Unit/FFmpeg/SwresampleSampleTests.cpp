#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"

#include <cstring>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/AudioSamples.h"

namespace glimto {
namespace {

using testing::ElementsAre;

std::vector<float> channelOf(const AudioBuffer& buffer, int channel)
{
    const int count = buffer.format.channelCount;
    const auto converter = SwresampleAudioConverterFactory().makeConverter(buffer.format,
        {buffer.format.sampleRate, count, AudioSampleType::float32, AudioLayout::planar},
        ChannelMapping::firstChannels);
    std::vector<std::vector<float>> channels(
        static_cast<std::size_t>(count), std::vector<float>(buffer.frameCount));
    const std::vector<std::span<float>> planes(channels.begin(), channels.end());
    EXPECT_EQ(converter->convert(buffer, planes), buffer.frameCount);
    return channels[static_cast<std::size_t>(channel)];
}

class SwresampleSampleTests : public testing::TestWithParam<std::tuple<AudioSampleType, AudioLayout>> { };

TEST_P(SwresampleSampleTests, ChannelsComeApartWithTheirExactValues)
{
    const auto [type, layout] = GetParam();
    const AudioSamples samples({48000, 3, type, layout},
        {{0, 0.5F, -1, 0.25F}, {-0.5F, 0.75F, -0.25F, 0}, {0x1p-15F, -0x1p-15F, 0.125F, 0.375F}});
    EXPECT_THAT(channelOf(samples.buffer(), 0), ElementsAre(0, 0.5F, -1, 0.25F));
    EXPECT_THAT(channelOf(samples.buffer(), 1), ElementsAre(-0.5F, 0.75F, -0.25F, 0));
    EXPECT_THAT(channelOf(samples.buffer(), 2), ElementsAre(0x1p-15F, -0x1p-15F, 0.125F, 0.375F));
}

TEST_P(SwresampleSampleTests, SamplesMayStandAnywhereInMemory)
{
    const auto [type, layout] = GetParam();
    const AudioSamples samples({48000, 2, type, layout}, {{0.5F, -0.5F}, {0.25F, -0.25F}});
    AudioBuffer buffer = samples.buffer();
    std::vector<std::byte> shifted(buffer.bytes.size() + 1);
    std::memcpy(shifted.data() + 1, buffer.bytes.data(), buffer.bytes.size());
    buffer.bytes = std::span(shifted).subspan(1);
    EXPECT_THAT(channelOf(buffer, 1), ElementsAre(0.25F, -0.25F));
}

INSTANTIATE_TEST_SUITE_P(Formats, SwresampleSampleTests,
    testing::Combine(testing::Values(AudioSampleType::integer16, AudioSampleType::integer24,
                         AudioSampleType::integer32, AudioSampleType::float32),
        testing::Values(AudioLayout::interleaved, AudioLayout::planar)));

template <typename Sample> float oneSample(AudioSampleType type, Sample sample)
{
    const AudioFormat mono = {48000, 1, type, AudioLayout::interleaved};
    return channelOf({mono, 1, {}, std::as_bytes(std::span(&sample, 1)), true}, 0).front();
}

TEST(SwresampleSampleRangeTests, FullScaleIntegersReachMinusOneAndStayBelowOne)
{
    EXPECT_EQ(oneSample(AudioSampleType::integer16, std::numeric_limits<std::int16_t>::min()), -1);
    EXPECT_EQ(oneSample(AudioSampleType::integer16, std::numeric_limits<std::int16_t>::max()), 1 - 0x1p-15F);
    EXPECT_EQ(oneSample(AudioSampleType::integer32, std::numeric_limits<std::int32_t>::min()), -1);
    EXPECT_EQ(oneSample(AudioSampleType::integer32, std::numeric_limits<std::int32_t>::max()), 1 - 0x1p-24F);
}

TEST(SwresampleSampleRangeTests, TwentyFourBitsAreExact)
{
    using Bytes = std::array<std::uint8_t, 3>;
    EXPECT_EQ(oneSample(AudioSampleType::integer24, Bytes{0x00, 0x00, 0x80}), -1);
    EXPECT_EQ(oneSample(AudioSampleType::integer24, Bytes{0xFF, 0xFF, 0x7F}), 1 - 0x1p-23F);
    EXPECT_EQ(oneSample(AudioSampleType::integer24, Bytes{0xFF, 0xFF, 0xFF}), -0x1p-23F);
    EXPECT_EQ(oneSample(AudioSampleType::integer24, Bytes{0x01, 0x02, 0x03}), 0x030201 * 0x1p-23F);
}

TEST(SwresampleSampleRangeTests, FloatsBeyondFullScaleAreKept)
{
    EXPECT_EQ(oneSample(AudioSampleType::float32, 2.5F), 2.5F);
}

} // namespace
} // namespace glimto
