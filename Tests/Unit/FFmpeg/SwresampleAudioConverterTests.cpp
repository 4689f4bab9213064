#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/AudioSamples.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using Channels = std::vector<std::vector<float>>;

constexpr int outputRate = 48000;

AudioFormat planarFloat(int sampleRate, int channelCount)
{
    return {sampleRate, channelCount, AudioSampleType::float32, AudioLayout::planar};
}

// A converter and all that came out of it so far.
class Conversion {
public:
    Conversion(
        const AudioFormat& input, int outputChannels, ChannelMapping mapping = ChannelMapping::firstChannels)
        : output(static_cast<std::size_t>(outputChannels))
        , format_(input)
        , converter_(SwresampleAudioConverterFactory().makeConverter(
              input, planarFloat(outputRate, outputChannels), mapping))
    {
    }

    // Takes what comes out in planes of `room` frames.
    void convert(const Channels& channels, std::size_t room)
    {
        const AudioSamples samples(format_, channels);
        std::size_t written
            = take(room, [&](auto planes) { return converter_->convert(samples.buffer(), planes); });
        while (written == room)
            written = take(room, [&](auto planes) { return converter_->convertRemaining(planes); });
    }

    void convert(const Channels& channels) { convert(channels, 10'000); }

    std::size_t count() const { return output.front().size(); }

    Channels output;

private:
    template <typename Convert> std::size_t take(std::size_t room, Convert convertInto)
    {
        Channels block(output.size(), std::vector<float>(room));
        std::vector<std::span<float>> planes(block.begin(), block.end());
        const std::size_t written = convertInto(std::span<const std::span<float>>(planes));
        for (std::size_t channel = 0; channel < output.size(); ++channel)
            output[channel].insert(output[channel].end(), block[channel].begin(),
                block[channel].begin() + static_cast<std::ptrdiff_t>(written));
        return written;
    }

    AudioFormat format_;
    std::unique_ptr<AudioConverter> converter_;
};

std::vector<float> sine(double frequency, int sampleRate, std::int64_t first, std::size_t frameCount)
{
    std::vector<float> samples(frameCount);
    for (std::size_t index = 0; index < frameCount; ++index) {
        const double seconds = static_cast<double>(first + static_cast<std::int64_t>(index)) / sampleRate;
        samples[index] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * frequency * seconds));
    }
    return samples;
}

TEST(SwresampleAudioConverterTests, EqualRatesComeOutAtOnceAndUnchanged)
{
    Conversion conversion({outputRate, 2, AudioSampleType::integer16, AudioLayout::interleaved}, 2);
    conversion.convert({{0.5F, -0.25F, 0.125F}, {0, 0.75F, -1}});
    EXPECT_EQ(conversion.output, (Channels{{0.5F, -0.25F, 0.125F}, {0, 0.75F, -1}}));
}

TEST(SwresampleAudioConverterTests, WhatHasNoRoomWaits)
{
    Conversion conversion({outputRate, 1, AudioSampleType::integer24, AudioLayout::interleaved}, 1);
    conversion.convert({{0.1F, 0.2F, 0.3F, 0.4F, 0.5F}}, 2);
    conversion.convert({{0.6F}}, 1);
    ASSERT_EQ(conversion.count(), 6U);
    EXPECT_NEAR(conversion.output[0][5], 0.6F, 1e-6F);
}

TEST(SwresampleAudioConverterTests, WhatWaitsComesBeforeNewInput)
{
    const AudioFormat mono = planarFloat(outputRate, 1);
    const auto converter
        = SwresampleAudioConverterFactory().makeConverter(mono, mono, ChannelMapping::firstChannels);
    const AudioSamples first(mono, {{1, 2, 3}});
    const AudioSamples second(mono, {{4, 5}});
    std::array<float, 2> one = {};
    std::array<float, 8> other = {};
    const std::array<std::span<float>, 1> few = {one};
    const std::array<std::span<float>, 1> many = {other};
    EXPECT_EQ(converter->convert(first.buffer(), few), 2U);
    EXPECT_EQ(converter->convert(second.buffer(), many), 3U);
    EXPECT_THAT(std::span(other).first(3), testing::ElementsAre(3, 4, 5));
    EXPECT_EQ(converter->convertRemaining(many), 0U);
}

TEST(SwresampleAudioConverterTests, MonoGoesToBothSidesAtFullLevelAlsoWhenResampled)
{
    Conversion conversion({16000, 1, AudioSampleType::integer16, AudioLayout::interleaved}, 2);
    conversion.convert({std::vector<float>(1600, 0.5F)});
    EXPECT_NEAR(conversion.output[0][2400], 0.5F, 1e-3F);
    EXPECT_EQ(conversion.output[0], conversion.output[1]);
}

TEST(SwresampleAudioConverterTests, SurroundIsMixedDown)
{
    Conversion conversion(
        {outputRate, 6, AudioSampleType::float32, AudioLayout::interleaved}, 2, ChannelMapping::downmix);
    conversion.convert({{0.1F}, {0.2F}, {0.4F}, {0.9F}, {0.3F}, {0.5F}});
    EXPECT_NEAR(conversion.output[0][0], 0.1 + 0.70710678 * (0.4 + 0.3), 1e-6);
    EXPECT_NEAR(conversion.output[1][0], 0.2 + 0.70710678 * (0.4 + 0.5), 1e-6);
}

class SwresampleAudioConverterRateTests : public testing::TestWithParam<int> { };

TEST_P(SwresampleAudioConverterRateTests, ClicksComeOutAtTheirTimeToWithinASample)
{
    const int rate = GetParam();
    // A smooth click, that a lower rate can hold, too; from the first frames on.
    const std::vector<std::int64_t> clicks = {40, 3001, 7777};
    std::vector<float> samples(9000);
    for (std::int64_t frame = 0; frame < std::ssize(samples); ++frame) {
        for (const std::int64_t click : clicks)
            samples[static_cast<std::size_t>(frame)]
                += static_cast<float>(std::exp(-std::pow(static_cast<double>(frame - click) / 6, 2)));
    }
    Conversion conversion(planarFloat(rate, 1), 1);
    conversion.convert({samples});
    const auto& output = conversion.output[0];
    const double ratio = static_cast<double>(outputRate) / rate;
    for (const std::int64_t click : clicks) {
        const double wanted = static_cast<double>(click) * ratio;
        const auto begin = output.begin() + std::lround(wanted - 30 * ratio);
        const auto end = output.begin() + std::lround(wanted + 30 * ratio);
        EXPECT_NEAR(static_cast<double>(std::max_element(begin, end) - output.begin()), wanted, 1.0);
    }
}

TEST_P(SwresampleAudioConverterRateTests, NoFrameIsLostOrInventedInManyOddBuffers)
{
    const int rate = GetParam();
    Conversion conversion({rate, 2, AudioSampleType::integer16, AudioLayout::interleaved}, 2);
    std::minstd_rand random(3);
    std::int64_t given = 0;
    while (given < 20 * rate) {
        const auto count = static_cast<std::size_t>(std::uniform_int_distribution(1, 700)(random));
        const auto room = static_cast<std::size_t>(std::uniform_int_distribution(1, 900)(random));
        conversion.convert({sine(997, rate, given, count), sine(1499, rate, given, count)}, room);
        given += static_cast<std::int64_t>(count);
        const double expected = static_cast<double>(given) * outputRate / rate;
        // Held back: 16 frames of the lower rate on each side of the filter, and what rounding leaves.
        const double mostHeld = 32 * std::max(1.0, static_cast<double>(outputRate) / rate) + 2;
        ASSERT_LE(static_cast<double>(conversion.count()), expected + 1);
        ASSERT_GE(static_cast<double>(conversion.count()), expected - mostHeld) << "after " << given;
    }
    // Still the same tone in the same place, long after the beginning.
    const std::int64_t first = std::ssize(conversion.output[0]) - 4800;
    const auto left = sine(997, outputRate, first, 4000);
    for (std::size_t index = 0; index < left.size(); ++index)
        ASSERT_NEAR(conversion.output[0][static_cast<std::size_t>(first) + index], left[index], 0.005);
}

INSTANTIATE_TEST_SUITE_P(Rates, SwresampleAudioConverterRateTests,
    testing::Values(8000, 11025, 16000, 22050, 32000, 44100, 47987, 48000, 88200, 96000, 176400, 192000));

TEST(SwresampleAudioConverterTests, EveryUsableInputCanBeConverted)
{
    for (const int rate : {1'000, 192'000, 1'000'000}) {
        for (const int channels : {1, 2, 8, 64}) {
            Conversion conversion({rate, channels, AudioSampleType::integer24, AudioLayout::planar}, 2);
            const auto frames = static_cast<std::size_t>(rate);
            conversion.convert(
                Channels(static_cast<std::size_t>(channels), std::vector<float>(frames, 0.25F)));
            ASSERT_GT(conversion.count(), 40'000U);
            EXPECT_NEAR(conversion.output[1][20'000], 0.25F, 1e-3F);
        }
    }
}

TEST(SwresampleAudioConverterTests, FormatsThatAreNoneAreRefused)
{
    SwresampleAudioConverterFactory factory;
    const auto isRefused = [&](const AudioFormat& input, const AudioFormat& output) {
        return factory.makeConverter(input, output, ChannelMapping::downmix) == nullptr;
    };
    const AudioFormat stereo = planarFloat(48000, 2);
    EXPECT_FALSE(isRefused(stereo, stereo));
    EXPECT_TRUE(isRefused(planarFloat(999, 2), stereo));
    EXPECT_TRUE(isRefused(planarFloat(48000, 65), stereo));
    EXPECT_TRUE(isRefused(stereo, planarFloat(0, 2)));
    EXPECT_TRUE(isRefused(stereo, {48000, 2, AudioSampleType::integer16, AudioLayout::planar}));
    EXPECT_TRUE(isRefused(stereo, {48000, 2, AudioSampleType::float32, AudioLayout::interleaved}));
}

TEST(SwresampleAudioConverterTests, SoundOfAnotherFormatIsAnErrorAndTheConverterGoesOn)
{
    const AudioFormat stereo = planarFloat(48000, 2);
    const auto converter
        = SwresampleAudioConverterFactory().makeConverter(stereo, stereo, ChannelMapping::firstChannels);
    std::array<float, 4> left = {};
    std::array<float, 4> right = {};
    const std::array<std::span<float>, 2> planes = {left, right};
    const AudioSamples mono(planarFloat(48000, 1), {{1, 2}});
    EXPECT_THROW(converter->convert(mono.buffer(), planes), PlatformError);
    AudioSamples good(stereo, {{1, 2}, {3, 4}});
    AudioBuffer tooShort = good.buffer();
    tooShort.frameCount = 3;
    EXPECT_THROW(converter->convert(tooShort, planes), PlatformError);
    EXPECT_EQ(converter->convert(good.buffer(), planes), 2U);
    EXPECT_THAT(right, testing::ElementsAre(3, 4, 0, 0));
}

} // namespace
} // namespace glimto
