#include <atomic>

#include <gtest/gtest.h>

#include "AudioMixerFixture.h"
#include "Support/Errors.h"
#include "Support/SerialQueue.h"

namespace glimto {
namespace {

// When output comes, and in which pieces.
using AudioMixerOutputTests = AudioMixerFixture;

TEST_F(AudioMixerOutputTests, BuffersAreReadyInterleavedStereoFloatAtTheMixersRate)
{
    const auto mixer = makeMixer({systemSource}, 44100);
    const AudioFormat input{44100, 2, AudioSampleType::float32, AudioLayout::planar};
    mixer->append(AudioSamples(input, 441, {0.5F, 0.25F}).buffer(), systemSource, {1, 10});
    ASSERT_EQ(track.buffers.size(), 1U);
    const AudioBuffer& buffer = track.buffers.front();
    EXPECT_EQ(buffer.format, (AudioFormat{44100, 2, AudioSampleType::float32, AudioLayout::interleaved}));
    EXPECT_EQ(buffer.frameCount, 441U);
    EXPECT_EQ(buffer.presentationTime, (MediaTime{4410, 44100}));
    EXPECT_EQ(buffer.bytes.size(), 441U * 8);
    EXPECT_TRUE(buffer.isReady);
}

TEST_F(AudioMixerOutputTests, SingleSourceIsHandedOnAtOnce)
{
    const auto mixer = makeMixer({microphoneSource});
    append(*mixer, microphoneSource, 100, 480, 0.5F);
    append(*mixer, microphoneSource, 580, 480, 0.5F);
    EXPECT_EQ(track.pieces, (Pieces{{100, 480}, {580, 480}}));
}

TEST_F(AudioMixerOutputTests, PiecesHaveAtMost1024Frames)
{
    const auto mixer = makeMixer({systemSource});
    append(*mixer, systemSource, 10, 2500, 0.5F);
    append(*mixer, systemSource, 2510, 2048, 0.5F);
    EXPECT_EQ(track.pieces, (Pieces{{10, 1024}, {1034, 1024}, {2058, 452}, {2510, 1024}, {3534, 1024}}));
    EXPECT_EQ(track.stretches(), (Stretches{{10, 4548, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerOutputTests, SystemAloneTrailsItsNewestFrameByTwoHundredMilliseconds)
{
    const auto mixer = makeMixer({systemSource, microphoneSource});
    append(*mixer, systemSource, 0, 9600, 0.25F);
    EXPECT_TRUE(track.frames.empty());
    append(*mixer, systemSource, 9600, 1, 0.25F);
    EXPECT_EQ(track.endFrame(), 1);
    append(*mixer, systemSource, 9601, 479, 0.25F);
    EXPECT_EQ(track.endFrame(), 480);
}

TEST_F(AudioMixerOutputTests, OutputGoesOnToTheSlowerSourceWhenBothHaveDelivered)
{
    const auto mixer = makeMixer({systemSource, microphoneSource});
    append(*mixer, systemSource, 0, 20000, 0.25F);
    EXPECT_EQ(track.endFrame(), 10400);
    append(*mixer, microphoneSource, 9000, 6000, 0.5F);
    EXPECT_EQ(track.endFrame(), 15000);
    append(*mixer, systemSource, 20000, 480, 0.25F);
    EXPECT_EQ(track.endFrame(), 15000);
    append(*mixer, microphoneSource, 15000, 6000, 0.5F);
    EXPECT_EQ(track.endFrame(), 20480);
    EXPECT_EQ(track.stretches(), (Stretches{{0, 10400, {0.25F, 0.25F}}, {10400, 10080, {0.75F, 0.75F}}}));
}

TEST_F(AudioMixerOutputTests, MicrophoneThatEndsBehindTheTrailingPointHoldsNothingBack)
{
    const auto mixer = makeMixer({systemSource, microphoneSource});
    append(*mixer, systemSource, 0, 20000, 0.25F);
    append(*mixer, microphoneSource, 5000, 480, 0.5F);
    append(*mixer, systemSource, 20000, 480, 0.25F);
    EXPECT_EQ(track.endFrame(), 10880);
    EXPECT_EQ(track.stretches(), (Stretches{{0, 10880, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerOutputTests, StalledSourceStallsTheOtherByTwoHundredMillisecondsAtMost)
{
    const auto mixer = makeMixer({systemSource, microphoneSource});
    append(*mixer, microphoneSource, 0, 480, 0.5F);
    for (std::int64_t start = 0; start < 48000; start += 480)
        append(*mixer, systemSource, start, 480, 0.25F);
    EXPECT_EQ(track.endFrame(), 48000 - 9600);
}

TEST_F(AudioMixerOutputTests, LimitsInFramesAreRoundedDown)
{
    // 0.2 s are 2205.2 frames and 10 ms are 110.26.
    const AudioFormat format{11026, 1, AudioSampleType::float32, AudioLayout::planar};
    const auto mixer = makeMixer({systemSource, microphoneSource}, 11026);
    mixer->append(AudioSamples(format, 3000, {0.5F}).buffer(), systemSource, {0, 11026});
    EXPECT_EQ(track.endFrame(), 3000 - 2205);
    mixer->append(AudioSamples(format, 3000, {0.25F}).buffer(), systemSource, {3000 + 111, 11026});
    mixer->finish();
    EXPECT_EQ(track.stretches(),
        (Stretches{{0, 3000, {0.5F, 0.5F}}, {3000, 111, {0, 0}}, {3111, 3000, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerOutputTests, FinishHandsOnEverythingThatIsLeft)
{
    const auto mixer = makeMixer({systemSource, microphoneSource});
    append(*mixer, systemSource, 50, 1500, 0.25F);
    mixer->finish();
    EXPECT_EQ(track.pieces, (Pieces{{50, 1024}, {1074, 476}}));
}

TEST_F(AudioMixerOutputTests, NothingComesAfterFinish)
{
    const auto mixer = makeMixer({systemSource, microphoneSource});
    append(*mixer, systemSource, 0, 480, 0.25F);
    mixer->finish();
    append(*mixer, systemSource, 480, 48000, 0.25F);
    append(*mixer, microphoneSource, 480, 48000, 0.25F);
    mixer->finish();
    EXPECT_EQ(track.pieces, (Pieces{{0, 480}}));
}

TEST_F(AudioMixerOutputTests, FinishWithoutAnySoundHandsOnNothing)
{
    const auto mixer = makeMixer({systemSource, microphoneSource});
    mixer->finish();
    append(*mixer, systemSource, 0, 48000, 0.25F);
    EXPECT_TRUE(track.frames.empty());
}

TEST_F(AudioMixerOutputTests, SourceThatWasNotAskedForIsIgnored)
{
    const auto mixer = makeMixer({systemSource});
    append(*mixer, microphoneSource, 0, 48000, 0.5F);
    append(*mixer, systemSource, 0, 480, 0.25F);
    EXPECT_EQ(track.stretches(), (Stretches{{0, 480, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerOutputTests, MixerWithoutSourcesIgnoresAll)
{
    const auto mixer = makeMixer({});
    append(*mixer, systemSource, 0, 48000, 0.5F);
    mixer->finish();
    EXPECT_TRUE(track.frames.empty());
}

TEST_F(AudioMixerOutputTests, BufferWithoutAValidTimeIsIgnored)
{
    const auto mixer = makeMixer({systemSource});
    mixer->append(AudioSamples(stereo, 480, {0.5F, 0.5F}).buffer(), systemSource, MediaTime{});
    mixer->finish();
    EXPECT_TRUE(track.frames.empty());
}

TEST_F(AudioMixerOutputTests, BufferThatIsNotReadyIsIgnored)
{
    const auto mixer = makeMixer({systemSource});
    const AudioSamples samples(stereo, 480, {0.5F, 0.5F});
    AudioBuffer buffer = samples.buffer();
    buffer.isReady = false;
    mixer->append(buffer, systemSource, {0, 48000});
    mixer->finish();
    EXPECT_TRUE(track.frames.empty());
    EXPECT_EQ(standardOutput.text(), "");
}

TEST_F(AudioMixerOutputTests, EmptyBufferChangesNothing)
{
    const auto mixer = makeMixer({systemSource});
    append(*mixer, systemSource, 0, 480, 0.25F);
    append(*mixer, systemSource, 20000, 0, 0.5F);
    append(*mixer, systemSource, 480, 480, 0.25F);
    mixer->finish();
    EXPECT_EQ(track.stretches(), (Stretches{{0, 960, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerOutputTests, RateWithoutAFormatIsRefused)
{
    try {
        makeMixer({systemSource}, 0);
        FAIL() << "made a mixer without a rate";
    } catch (const CLIError& error) {
        EXPECT_STREQ(error.what(), "Could not create the mixed audio format (1).");
    }
}

TEST_F(AudioMixerOutputTests, SourcesOnTwoThreadsGetOneOutputAtATimeInOrder)
{
    std::atomic<int> callsInside = 0;
    std::int64_t nextFrame = 0;
    int mistakes = 0;
    const std::vector<AudioMixerSource> sources{systemSource, microphoneSource};
    AudioMixer mixer(
        sources, 48000,
        [&](const AudioBuffer& buffer) {
            mistakes += callsInside.fetch_add(1) != 0;
            mistakes += buffer.presentationTime.value != nextFrame;
            nextFrame += static_cast<std::int64_t>(buffer.frameCount);
            callsInside.fetch_sub(1);
        },
        converters, standardOutput);
    const AudioSamples samples(stereo, 480, {0.25F, 0.25F});
    mixer.append(samples.buffer(), systemSource, {0, 48000});
    mixer.append(samples.buffer(), microphoneSource, {0, 48000});
    {
        SerialQueue system("test.system");
        SerialQueue microphone("test.microphone");
        for (std::int64_t start = 480; start < 480 * 2000; start += 480) {
            system.post([&, start] { mixer.append(samples.buffer(), systemSource, {start, 48000}); });
            microphone.post([&, start] { mixer.append(samples.buffer(), microphoneSource, {start, 48000}); });
        }
    }
    mixer.finish();
    EXPECT_EQ(mistakes, 0);
    EXPECT_EQ(nextFrame, 480 * 2000);
}

} // namespace
} // namespace glimto
