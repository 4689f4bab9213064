#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "AudioMixerFixture.h"

namespace glimto {
namespace {

// Where the buffers of sources come to lie; all output is looked at after finish().
class AudioMixerTimelineTests : public AudioMixerFixture {
protected:
    std::unique_ptr<AudioMixer> mixer = makeMixer({systemSource, microphoneSource});

    Stretches finished()
    {
        mixer->finish();
        return track.stretches();
    }
};

TEST_F(AudioMixerTimelineTests, OverlappingSourcesAreSummed)
{
    append(*mixer, systemSource, 1000, 960, 0.25F);
    append(*mixer, microphoneSource, 1600, 960, 0.5F);
    EXPECT_EQ(finished(),
        (Stretches{{1000, 600, {0.25F, 0.25F}}, {1600, 360, {0.75F, 0.75F}}, {1960, 600, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, LeftAndRightStayApart)
{
    mixer->append(AudioSamples(stereo, 100, {0.25F, -0.5F}).buffer(), systemSource, {0, 48000});
    EXPECT_EQ(finished(), (Stretches{{0, 100, {0.25F, -0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, FramesKeepTheirOrder)
{
    mixer->append(
        AudioSamples(stereo, {{0.1F, 0.2F, 0.3F}, {0.4F, 0.5F, 0.6F}}).buffer(), systemSource, {7, 48000});
    EXPECT_EQ(finished(), (Stretches{{7, 1, {0.1F, 0.4F}}, {8, 1, {0.2F, 0.5F}}, {9, 1, {0.3F, 0.6F}}}));
}

TEST_F(AudioMixerTimelineTests, MonoSourceIsHeardOnBothSides)
{
    mixer->append(AudioSamples(mono, {{0.5F, 0.25F}}).buffer(), microphoneSource, {0, 48000});
    EXPECT_EQ(finished(), (Stretches{{0, 1, {0.5F, 0.5F}}, {1, 1, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerTimelineTests, HostTimeIsRoundedToTheNearestFrameAwayFromZero)
{
    // 31250 ns are one and a half frames.
    mixer->append(
        AudioSamples(stereo, 10, {0.5F, 0.5F}).buffer(), systemSource, MediaTime::fromNanoseconds(31250));
    mixer->append(AudioSamples(stereo, 10, {0.25F, 0.25F}).buffer(), microphoneSource,
        MediaTime::fromNanoseconds(31249));
    EXPECT_EQ(finished(), (Stretches{{2, 9, {0.75F, 0.75F}}, {11, 1, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, TimesBeforeZeroAreRoundedAwayFromZeroToo)
{
    mixer->append(
        AudioSamples(stereo, 10, {0.5F, 0.5F}).buffer(), systemSource, MediaTime::fromNanoseconds(-31250));
    EXPECT_EQ(finished(), (Stretches{{-2, 10, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, BufferThatComesFiveMillisecondsLateContinuesItsSource)
{
    append(*mixer, systemSource, 0, 480, 0.25F);
    append(*mixer, microphoneSource, 0, 480, 0.5F);
    append(*mixer, systemSource, 720, 480, 0.25F);
    append(*mixer, microphoneSource, 720, 480, 0.5F);
    EXPECT_EQ(finished(), (Stretches{{0, 960, {0.75F, 0.75F}}}));
}

TEST_F(AudioMixerTimelineTests, ExactlyTenMillisecondsOfGapAreAbsorbed)
{
    append(*mixer, systemSource, 0, 1000, 0.25F);
    append(*mixer, systemSource, 1480, 1000, 0.5F);
    EXPECT_EQ(finished(), (Stretches{{0, 1000, {0.25F, 0.25F}}, {1000, 1000, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, OneFrameMoreThanTenMillisecondsStaysAGap)
{
    append(*mixer, systemSource, 0, 1000, 0.25F);
    append(*mixer, systemSource, 1481, 1000, 0.5F);
    EXPECT_EQ(
        finished(), (Stretches{{0, 1000, {0.25F, 0.25F}}, {1000, 481, {0, 0}}, {1481, 1000, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, ExactlyTenMillisecondsOfOverlapAreAbsorbed)
{
    append(*mixer, systemSource, 0, 1000, 0.25F);
    append(*mixer, systemSource, 520, 1000, 0.5F);
    EXPECT_EQ(finished(), (Stretches{{0, 1000, {0.25F, 0.25F}}, {1000, 1000, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, OverlapOfOneFrameMoreLosesAllOverlappingFrames)
{
    append(*mixer, systemSource, 0, 1000, 0.25F);
    append(*mixer, systemSource, 519, 1000, 0.5F);
    EXPECT_EQ(finished(), (Stretches{{0, 1000, {0.25F, 0.25F}}, {1000, 519, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, MicrophoneBufferThatOverlapsByThirtyMillisecondsLosesItsFirstFrames)
{
    std::vector<float> ramp(4800);
    for (std::size_t frame = 0; frame < ramp.size(); ++frame)
        ramp[frame] = static_cast<float>(frame) / 8192;
    append(*mixer, microphoneSource, 0, 4800, 0.5F);
    mixer->append(AudioSamples(mono, {ramp}).buffer(), microphoneSource, {4800 - 1440, 48000});
    mixer->finish();
    ASSERT_EQ(track.frames.size(), 4800U + 4800U - 1440U);
    EXPECT_EQ(track.frames[4799].second.left, 0.5F);
    EXPECT_EQ(track.frames[4800].second.left, 1440.0F / 8192);
    EXPECT_EQ(track.frames.back().second.right, 4799.0F / 8192);
}

TEST_F(AudioMixerTimelineTests, BufferThatTheSourceHasAlreadyPassedIsDropped)
{
    append(*mixer, systemSource, 0, 4800, 0.25F);
    append(*mixer, systemSource, 1000, 3800, 0.5F);
    append(*mixer, systemSource, 4800, 480, 0.75F);
    EXPECT_EQ(finished(), (Stretches{{0, 4800, {0.25F, 0.25F}}, {4800, 480, {0.75F, 0.75F}}}));
}

TEST_F(AudioMixerTimelineTests, HalfASecondOfGapIsSilent)
{
    append(*mixer, systemSource, 0, 480, 0.25F);
    append(*mixer, systemSource, 480 + 24000, 480, 0.5F);
    EXPECT_EQ(
        finished(), (Stretches{{0, 480, {0.25F, 0.25F}}, {480, 24000, {0, 0}}, {24480, 480, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, ExactlyOneSecondOfGapIsSilent)
{
    append(*mixer, systemSource, 0, 480, 0.25F);
    append(*mixer, systemSource, 480 + 48000, 480, 0.5F);
    EXPECT_EQ(
        finished(), (Stretches{{0, 480, {0.25F, 0.25F}}, {480, 48000, {0, 0}}, {48480, 480, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, OneFrameMoreThanASecondBeginsANewRun)
{
    append(*mixer, systemSource, 0, 480, 0.25F);
    append(*mixer, systemSource, 480 + 48001, 480, 0.5F);
    EXPECT_EQ(finished(), (Stretches{{0, 480, {0.25F, 0.25F}}, {48481, 480, {0.5F, 0.5F}}}));
}

TEST_F(AudioMixerTimelineTests, NewRunHandsOnWhatIsLeftOfTheOldOneAtOnce)
{
    append(*mixer, systemSource, 0, 480, 0.25F);
    append(*mixer, microphoneSource, 240, 480, 0.5F);
    append(*mixer, systemSource, 720 + 72000, 480, 0.125F);
    // The microphone lags now: the new run waits, all of the old one is out.
    EXPECT_EQ(track.stretches(),
        (Stretches{{0, 240, {0.25F, 0.25F}}, {240, 240, {0.75F, 0.75F}}, {480, 240, {0.5F, 0.5F}}}));
    EXPECT_EQ(finished().back(), (MixedTrack::Stretch{72720, 480, {0.125F, 0.125F}}));
}

TEST_F(AudioMixerTimelineTests, NewRunIsMeasuredFromTheNewestFrameOfAnySource)
{
    append(*mixer, systemSource, 0, 480, 0.25F);
    append(*mixer, microphoneSource, 30000, 480, 0.5F);
    append(*mixer, systemSource, 60000, 480, 0.125F);
    EXPECT_EQ(finished(),
        (Stretches{{0, 480, {0.25F, 0.25F}}, {480, 29520, {0, 0}}, {30000, 480, {0.5F, 0.5F}},
            {30480, 29520, {0, 0}}, {60000, 480, {0.125F, 0.125F}}}));
}

TEST_F(AudioMixerTimelineTests, SourceThatIsLateForANewRunLosesWhatLiesBeforeIt)
{
    append(*mixer, systemSource, 0, 480, 0.25F);
    append(*mixer, microphoneSource, 0, 480, 0.25F);
    append(*mixer, systemSource, 100000, 480, 0.25F);
    append(*mixer, microphoneSource, 99900, 480, 0.5F);
    EXPECT_EQ(finished(),
        (Stretches{{0, 480, {0.5F, 0.5F}}, {100000, 380, {0.75F, 0.75F}}, {100380, 100, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerTimelineTests, SecondSourceThatBeginsEarlierThanTheFirstLosesWhatLiesBefore)
{
    append(*mixer, systemSource, 1000, 480, 0.25F);
    append(*mixer, microphoneSource, 700, 480, 0.5F);
    EXPECT_EQ(finished(), (Stretches{{1000, 180, {0.75F, 0.75F}}, {1180, 300, {0.25F, 0.25F}}}));
}

TEST_F(AudioMixerTimelineTests, OverlapAndLatenessAddUp)
{
    append(*mixer, microphoneSource, 0, 480, 0.5F);
    append(*mixer, systemSource, 0, 12000, 0.25F); // hands on up to 2400
    EXPECT_EQ(track.endFrame(), 2400);
    std::vector<float> ramp(4000);
    for (std::size_t frame = 0; frame < ramp.size(); ++frame)
        ramp[frame] = static_cast<float>(frame) / 8192;
    // Frames up to 480 overlap the microphone, those up to 2400 are out already.
    mixer->append(AudioSamples(mono, {ramp}).buffer(), microphoneSource, {-1000, 48000});
    mixer->finish();
    EXPECT_EQ(track.frames[2399].second.left, 0.25F);
    EXPECT_EQ(track.frames[2400].second.left, 0.25F + 3400.0F / 8192);
    EXPECT_EQ(track.frames[2999].second.left, 0.25F + 3999.0F / 8192);
    EXPECT_EQ(track.frames[3000].second.left, 0.25F);
}

TEST_F(AudioMixerTimelineTests, SumsBeyondFullScaleAreClamped)
{
    append(*mixer, systemSource, 0, 480, 0.75F);
    append(*mixer, microphoneSource, 0, 240, 0.5F);
    append(*mixer, microphoneSource, 240 + 481, 240, -0.75F);
    append(*mixer, systemSource, 480, 480, -0.75F);
    EXPECT_EQ(finished(),
        (Stretches{{0, 240, {1, 1}}, {240, 240, {0.75F, 0.75F}}, {480, 241, {-0.75F, -0.75F}},
            {721, 239, {-1, -1}}, {960, 1, {-0.75F, -0.75F}}}));
}

TEST_F(AudioMixerTimelineTests, SumIsClampedOnlyWhenItIsComplete)
{
    append(*mixer, systemSource, 0, 480, 1.5F);
    append(*mixer, microphoneSource, 0, 480, -0.75F);
    EXPECT_EQ(finished(), (Stretches{{0, 480, {0.75F, 0.75F}}}));
}

TEST_F(AudioMixerTimelineTests, WhatIsNoNumberIsSilent)
{
    const float infinity = std::numeric_limits<float>::infinity();
    mixer->append(AudioSamples(stereo, {{std::nanf(""), infinity}, {0.5F, -infinity}}).buffer(), systemSource,
        {0, 48000});
    EXPECT_EQ(finished(), (Stretches{{0, 1, {0, 0.5F}}, {1, 1, {1, -1}}}));
}

} // namespace
} // namespace glimto
