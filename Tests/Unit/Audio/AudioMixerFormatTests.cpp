#include <gtest/gtest.h>

#include "AudioMixerFixture.h"

namespace glimto {
namespace {

// Sources in other formats than the mixer's own, and what cannot be read.
class AudioMixerFormatTests : public AudioMixerFixture {
protected:
    std::unique_ptr<AudioMixer> mixer = makeMixer({systemSource, microphoneSource});

    static constexpr AudioFormat integers{48000, 2, AudioSampleType::integer16, AudioLayout::interleaved};

    void appendFrames(AudioMixerSource source, std::int64_t startFrame, const AudioSamples& samples)
    {
        mixer->append(samples.buffer(), source, {startFrame, 48000});
    }
};

TEST_F(AudioMixerFormatTests, FormatOfTheMixerNeedsNoConverter)
{
    appendFrames(systemSource, 0, AudioSamples(stereo, 480, {0.5F, 0.25F}));
    appendFrames(microphoneSource, 0,
        AudioSamples({48000, 1, AudioSampleType::float32, AudioLayout::interleaved}, 480, {0.125F}));
    EXPECT_TRUE(converters.requests.empty());
    EXPECT_EQ(track.stretches(), (Stretches{{0, 480, {0.625F, 0.375F}}}));
}

TEST_F(AudioMixerFormatTests, SamplesMayLieAtAnyAddress)
{
    std::vector<std::byte> shifted(1);
    const AudioSamples samples(stereo, 480, {0.5F, 0.25F});
    shifted.insert(shifted.end(), samples.buffer().bytes.begin(), samples.buffer().bytes.end());
    AudioBuffer buffer = samples.buffer();
    buffer.bytes = std::span(shifted).subspan(1);
    mixer->append(buffer, systemSource, {0, 48000});
    mixer->finish();
    EXPECT_EQ(track.stretches(), (Stretches{{0, 480, {0.5F, 0.25F}}}));
}

TEST_F(AudioMixerFormatTests, OtherStereoFormatIsConvertedToFloatPlanes)
{
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, -0.25F}));
    appendFrames(systemSource, 480, AudioSamples(integers, 480, {0.5F, -0.25F}));
    mixer->finish();
    ASSERT_EQ(converters.requests.size(), 1U);
    EXPECT_EQ(converters.requests[0].input, integers);
    EXPECT_EQ(converters.requests[0].output, stereo);
    EXPECT_EQ(converters.requests[0].mapping, ChannelMapping::firstChannels);
    EXPECT_EQ(track.stretches(), (Stretches{{0, 960, {0.5F, -0.25F}}}));
}

TEST_F(AudioMixerFormatTests, InterleavedFloatStereoIsConverted)
{
    const AudioFormat interleaved{48000, 2, AudioSampleType::float32, AudioLayout::interleaved};
    appendFrames(systemSource, 0, AudioSamples(interleaved, 480, {0.5F, -0.25F}));
    mixer->finish();
    EXPECT_EQ(converters.requests.size(), 1U);
    EXPECT_EQ(track.stretches(), (Stretches{{0, 480, {0.5F, -0.25F}}}));
}

TEST_F(AudioMixerFormatTests, EveryChannelCountAndTypeGoesThroughAConverterOfItsOwn)
{
    const AudioFormat mono24{48000, 1, AudioSampleType::integer24, AudioLayout::interleaved};
    appendFrames(microphoneSource, 0, AudioSamples(mono24, 480, {0.5F}));
    mixer->finish();
    ASSERT_EQ(converters.requests.size(), 1U);
    EXPECT_EQ(converters.requests[0].output, mono);
    EXPECT_EQ(track.stretches(), (Stretches{{0, 480, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerFormatTests, ThreeAndMoreChannelsAreMixedDown)
{
    const AudioFormat three{48000, 3, AudioSampleType::integer32, AudioLayout::planar};
    const AudioFormat six{48000, 6, AudioSampleType::float32, AudioLayout::planar};
    appendFrames(systemSource, 0, AudioSamples(three, 480, {0.25F, 0.25F, 0.25F}));
    appendFrames(microphoneSource, 0, AudioSamples(six, 480, {0, 0, 0, 0, 0, 0.75F}));
    ASSERT_EQ(converters.requests.size(), 2U);
    EXPECT_EQ(converters.requests[0].mapping, ChannelMapping::downmix);
    EXPECT_EQ(converters.requests[1].mapping, ChannelMapping::downmix);
    EXPECT_EQ(converters.requests[1].output, stereo);
    EXPECT_EQ(track.stretches(), (Stretches{{0, 480, {0.375F, 0.375F}}}));
}

TEST_F(AudioMixerFormatTests, OtherRateIsConverted)
{
    const AudioFormat half{24000, 1, AudioSampleType::float32, AudioLayout::planar};
    appendFrames(systemSource, 0, AudioSamples(half, {{0.5F, 0.25F}}));
    mixer->finish();
    EXPECT_EQ(converters.requests.size(), 1U);
    EXPECT_EQ(track.stretches(), (Stretches{{0, 2, {0.5F, 0.5F}}, {2, 2, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerFormatTests, FramesThatTheConverterHoldsBackFollowLater)
{
    converters.behavior.framesBeforeFirstOutput = 481;
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, 0.5F}));
    EXPECT_TRUE(track.frames.empty());
    appendFrames(systemSource, 480, AudioSamples(integers, 480, {0.25F, 0.25F}));
    mixer->finish();
    // A buffer that yielded nothing left no trace, so the frames start where the second one does.
    EXPECT_EQ(track.stretches(), (Stretches{{480, 480, {0.5F, 0.5F}}, {960, 480, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerFormatTests, ConversionGoesOnWhileItFillsItsRoom)
{
    // The third buffer finds 480 + 480 + 480 frames and has room for 544 at a time.
    converters.behavior.framesBeforeFirstOutput = 1440;
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, 0.125F}));
    appendFrames(systemSource, 480, AudioSamples(integers, 480, {0.25F, 0.25F}));
    appendFrames(systemSource, 960, AudioSamples(integers, 480, {-0.5F, 0.5F}));
    mixer->finish();
    EXPECT_EQ(track.stretches(),
        (Stretches{{960, 480, {0.5F, 0.125F}}, {1440, 480, {0.25F, 0.25F}}, {1920, 480, {-0.5F, 0.5F}}}));
}

TEST_F(AudioMixerFormatTests, NewFormatOfASourceGetsANewConverter)
{
    const AudioFormat mono16{48000, 1, AudioSampleType::integer16, AudioLayout::interleaved};
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, 0.25F}));
    appendFrames(systemSource, 480, AudioSamples(mono16, 480, {0.75F}));
    appendFrames(systemSource, 960, AudioSamples(stereo, 480, {0.125F, 0.25F}));
    appendFrames(systemSource, 1440, AudioSamples(integers, 480, {0.5F, 0.25F}));
    mixer->finish();
    EXPECT_EQ(converters.requests.size(), 3U);
    EXPECT_EQ(track.stretches(),
        (Stretches{{0, 480, {0.5F, 0.25F}}, {480, 480, {0.75F, 0.75F}}, {960, 480, {0.125F, 0.25F}},
            {1440, 480, {0.5F, 0.25F}}}));
    EXPECT_EQ(standardOutput.text(), "");
}

TEST_F(AudioMixerFormatTests, UnsupportedFormatIsWarnedOfOnceAndDropped)
{
    converters.refusedType = AudioSampleType::integer16;
    for (std::int64_t start = 0; start < 48000; start += 480)
        appendFrames(microphoneSource, start, AudioSamples(integers, 480, {0.5F, 0.5F}));
    mixer->finish();
    EXPECT_TRUE(track.frames.empty());
    EXPECT_EQ(converters.requests.size(), 1U);
    EXPECT_EQ(standardOutput.text(),
        "warning: unsupported microphone audio format 2 channels, 48000 Hz, 16-bit integer, interleaved\n");
}

TEST_F(AudioMixerFormatTests, SourceIsHeardAgainOnceItsFormatIsSupported)
{
    converters.refusedType = AudioSampleType::integer16;
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, 0.5F}));
    appendFrames(systemSource, 480, AudioSamples(stereo, 480, {0.25F, 0.25F}));
    mixer->finish();
    EXPECT_EQ(track.stretches(), (Stretches{{480, 480, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerFormatTests, SourceIsSilentWhileItsFormatIsUnsupported)
{
    converters.refusedType = AudioSampleType::integer32;
    const AudioFormat refused{48000, 2, AudioSampleType::integer32, AudioLayout::planar};
    appendFrames(systemSource, 0, AudioSamples(stereo, 480, {0.25F, 0.25F}));
    appendFrames(systemSource, 480, AudioSamples(refused, 480, {0.5F, 0.5F}));
    appendFrames(systemSource, 960, AudioSamples(refused, 480, {0.5F, 0.5F}));
    mixer->finish();
    EXPECT_EQ(track.stretches(), (Stretches{{0, 480, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerFormatTests, WithoutAnyConverterOtherFormatsAreUnsupported)
{
    converters.isMissing = true;
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, 0.5F}));
    EXPECT_EQ(standardOutput.text(),
        "warning: unsupported system audio format 2 channels, 48000 Hz, 16-bit integer, interleaved\n");
}

TEST_F(AudioMixerFormatTests, FormatBeyondAllLimitsIsUnsupported)
{
    const AudioSamples samples(stereo, 480, {0.5F, 0.5F});
    AudioBuffer buffer = samples.buffer();
    buffer.format.sampleRate = 0;
    mixer->append(buffer, systemSource, {0, 48000});
    EXPECT_TRUE(converters.requests.empty());
    EXPECT_EQ(standardOutput.text(),
        "warning: unsupported system audio format 2 channels, 0 Hz, 32-bit float, planar\n");
}

TEST_F(AudioMixerFormatTests, FormatWithoutChannelsHasNoMixFormat)
{
    const AudioSamples samples(stereo, 480, {0.5F, 0.5F});
    AudioBuffer buffer = samples.buffer();
    buffer.format.channelCount = 0;
    mixer->append(buffer, systemSource, {0, 48000});
    mixer->append(buffer, systemSource, {480, 48000});
    mixer->finish();
    EXPECT_TRUE(track.frames.empty());
    EXPECT_EQ(standardOutput.text(), "warning: could not create the system mix format\n");
}

TEST_F(AudioMixerFormatTests, BufferThatMissesBytesIsDropped)
{
    const AudioSamples samples(stereo, 480, {0.5F, 0.5F});
    AudioBuffer buffer = samples.buffer();
    buffer.bytes = buffer.bytes.first(buffer.bytes.size() - 1);
    mixer->append(buffer, microphoneSource, {0, 48000});
    appendFrames(microphoneSource, 480, AudioSamples(stereo, 480, {0.25F, 0.25F}));
    mixer->finish();
    EXPECT_EQ(track.stretches(), (Stretches{{480, 480, {0.25F, 0.25F}}}));
    EXPECT_EQ(standardOutput.text(), "warning: could not read microphone audio samples (1)\n");
}

TEST_F(AudioMixerFormatTests, FailedConversionIsWarnedOfAndDropped)
{
    converters.behavior.fails = true;
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, 0.5F}));
    converters.behavior.fails = false;
    appendFrames(systemSource, 480, AudioSamples(integers, 480, {0.25F, 0.25F}));
    mixer->finish();
    EXPECT_EQ(track.stretches(), (Stretches{{480, 480, {0.25F, 0.25F}}}));
    EXPECT_EQ(
        standardOutput.text(), "warning: system audio conversion failed: the fake cannot convert this\n");
}

TEST_F(AudioMixerFormatTests, ErrorWithoutTextIsUnknown)
{
    converters.behavior.fails = true;
    converters.behavior.failureText = "";
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, 0.5F}));
    EXPECT_EQ(standardOutput.text(), "warning: system audio conversion failed: unknown error\n");
}

TEST_F(AudioMixerFormatTests, WarningIsOneLine)
{
    converters.behavior.fails = true;
    converters.behavior.failureText = "bad\ninput";
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, 0.5F}));
    EXPECT_EQ(standardOutput.text(), "warning: system audio conversion failed: bad input\n");
}

TEST_F(AudioMixerFormatTests, EachSourceWarnsOnceWhateverFailsLater)
{
    converters.refusedType = AudioSampleType::integer16;
    appendFrames(systemSource, 0, AudioSamples(integers, 480, {0.5F, 0.5F}));
    const AudioSamples samples(stereo, 480, {0.5F, 0.5F});
    AudioBuffer buffer = samples.buffer();
    buffer.bytes = {};
    mixer->append(buffer, systemSource, {480, 48000});
    EXPECT_EQ(standardOutput.lines().size(), 1U);
    mixer->append(buffer, microphoneSource, {480, 48000});
    mixer->append(buffer, microphoneSource, {960, 48000});
    EXPECT_EQ(standardOutput.text(),
        "warning: unsupported system audio format 2 channels, 48000 Hz, 16-bit integer, interleaved\n"
        "warning: could not read microphone audio samples (1)\n");
}

TEST_F(AudioMixerFormatTests, TroubleOfOneSourceLeavesTheOtherAlone)
{
    converters.refusedType = AudioSampleType::integer16;
    appendFrames(systemSource, 0, AudioSamples(stereo, 20000, {0.25F, 0.25F}));
    appendFrames(microphoneSource, 0, AudioSamples(integers, 20000, {0.5F, 0.5F}));
    appendFrames(systemSource, 20000, AudioSamples(stereo, 480, {0.25F, 0.25F}));
    EXPECT_EQ(track.stretches(), (Stretches{{0, 10880, {0.25F, 0.25F}}}));
}

} // namespace
} // namespace glimto
