#include "Backends/FFmpeg/FFmpegAudioAssetWriter.h"

#include "FFmpegAudioAssetWriterFixture.h"

namespace glimto {
namespace {

// Where the sound lies in the decoded track.
using FFmpegAudioAssetWriterTests = FFmpegAudioAssetWriterFixture;

TEST_F(FFmpegAudioAssetWriterTests, ClicksLieWhereTheyWereAppended)
{
    startWriter();
    auto samples = silence(216'000);
    const std::vector<std::int64_t> clicks = {1500, 24'000, 48'128, 96'001, 215'500};
    for (const std::int64_t click : clicks)
        addClick(samples, click);
    append(0, samples);

    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.start, 0);
    for (const std::int64_t click : clicks) {
        EXPECT_EQ(loudestFrame(sound.channels[0], click - 400, 800), click);
        EXPECT_EQ(loudestFrame(sound.channels[1], click - 400, 800), click);
        EXPECT_GT(peak(sound.channels[0], click - 400, 800), 0.6F);
    }
}

TEST_F(FFmpegAudioAssetWriterTests, ToneIsContinuousOverManySegments)
{
    startWriter(0.25);
    append(0, tones(0, 20 * sampleRate));

    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(collector_.segments.size(), 80U);
    EXPECT_LT(worstToneError(sound, framesPerBlock, 20 * sampleRate - framesPerBlock), toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterTests, LoudPureTonesKeepTheirLevelAndShape)
{
    constexpr std::int64_t length = sampleRate;
    for (const double frequency : {60.0, 250.0, 440.0, 1000.0, 3000.0, 9000.0}) {
        for (const bool isStereo : {true, false}) {
            startWriter();
            auto samples = silence(length);
            for (std::size_t index = 0; index < samples.size(); ++index) {
                const double turns = frequency * static_cast<double>(index / 2) / sampleRate;
                const bool isHeard = isStereo || index % 2 == 0;
                samples[index]
                    = isHeard ? static_cast<float>(0.9 * std::sin(2 * std::numbers::pi * turns)) : 0;
            }
            append(0, samples);
            const DecodedSound sound = finishAndDecode();
            double error = 0;
            for (std::size_t frame = framesPerBlock; frame < length - framesPerBlock; ++frame)
                for (std::size_t channel = 0; channel < 2; ++channel)
                    error += std::pow(sound.channels[channel][frame] - samples[frame * 2 + channel], 2);
            EXPECT_LT(std::sqrt(error / (2 * length)), 0.006)
                << frequency << " Hz, " << (isStereo ? "both channels" : "left only");
            collector_.segments.clear();
        }
    }
}

TEST_F(FFmpegAudioAssetWriterTests, FirstBlockFadesInWithoutBeingLouder)
{
    startWriter();
    append(0, tones(0, sampleRate));
    const DecodedSound sound = finishAndDecode();
    EXPECT_LT(peak(sound.channels[0], 0, framesPerBlock), 0.55F);
    EXPECT_GT(peak(sound.channels[0], framesPerBlock / 2, framesPerBlock / 2), 0.3F);
}

TEST_F(FFmpegAudioAssetWriterTests, TrackIsAACLowComplexityInStereoAtTheGivenRate)
{
    startWriter();
    append(0, tones(0, sampleRate));
    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.sampleRate, sampleRate);
    EXPECT_EQ(sound.profile, 1);
    EXPECT_EQ(sound.channels.size(), 2U);
}

TEST_F(FFmpegAudioAssetWriterTests, LateBeginningIsSilent)
{
    startWriter();
    append(3 * sampleRate, tones(3 * sampleRate, sampleRate));

    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.start, 0);
    EXPECT_EQ(sound.duration, 4 * sampleRate);
    EXPECT_EQ(peak(sound.channels[0], 0, 3 * sampleRate - 2 * framesPerBlock), 0);
    EXPECT_LT(worstToneError(sound, 3 * sampleRate + framesPerBlock, 4 * sampleRate - framesPerBlock),
        toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterTests, GapIsSilentAndSoundAfterItLiesRight)
{
    startWriter();
    append(0, tones(0, sampleRate));
    append(3 * sampleRate, tones(3 * sampleRate, sampleRate));

    const DecodedSound sound = finishAndDecode();
    EXPECT_LT(worstToneError(sound, framesPerBlock, sampleRate - framesPerBlock), toneTolerance);
    EXPECT_EQ(
        peak(sound.channels[1], sampleRate + 2 * framesPerBlock, 2 * sampleRate - 4 * framesPerBlock), 0);
    EXPECT_LT(worstToneError(sound, 3 * sampleRate + framesPerBlock, 4 * sampleRate - framesPerBlock),
        toneTolerance);
    EXPECT_EQ(sound.duration, 4 * sampleRate);
}

TEST_F(FFmpegAudioAssetWriterTests, OverlapIsLeftOut)
{
    startWriter();
    append(0, tones(0, sampleRate));
    const auto again = tones(sampleRate / 2, sampleRate); // the same tone, half of it known already
    EXPECT_TRUE(writer_->append(buffer(sampleRate / 2, again)));

    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.duration, 3 * sampleRate / 2);
    EXPECT_LT(worstToneError(sound, framesPerBlock, 3 * sampleRate / 2 - framesPerBlock), toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterTests, LessThanAMillisecondBetweenBuffersIsContinuous)
{
    startWriter();
    for (std::int64_t number = 0; number < 100; ++number) {
        const std::int64_t jitter = number % 2 == 0 ? 47 : -47;
        append(number * 480 + jitter, tones(number * 480, 480));
    }
    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.duration, sampleRate);
    EXPECT_LT(worstToneError(sound, framesPerBlock, sampleRate - framesPerBlock), toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterTests, AMillisecondIsAGap)
{
    startWriter();
    append(48, tones(48, sampleRate));
    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.duration, sampleRate + 48);
    EXPECT_LT(worstToneError(sound, framesPerBlock, sampleRate - framesPerBlock), toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterTests, TimesMayBeOfAnyTimescale)
{
    startWriter();
    const auto first = tones(0, sampleRate);
    const auto second = tones(sampleRate, sampleRate);
    AudioBuffer late = buffer(0, second);
    late.presentationTime = MediaTime::fromNanoseconds(1'000'000'000);
    EXPECT_TRUE(writer_->append(buffer(0, first)));
    EXPECT_TRUE(writer_->append(late));
    const DecodedSound sound = finishAndDecode();
    EXPECT_LT(worstToneError(sound, framesPerBlock, 2 * sampleRate - framesPerBlock), toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterTests, SilenceFilledInWinsOverSoundThatComesTooLate)
{
    startWriter();
    append(0, tones(0, sampleRate));
    writer_->fillWithSilence(at(2 * sampleRate));
    append(sampleRate, tones(sampleRate, 2 * sampleRate));

    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.duration, 3 * sampleRate);
    EXPECT_EQ(peak(sound.channels[0], sampleRate + 2 * framesPerBlock, sampleRate - 4 * framesPerBlock), 0);
    EXPECT_LT(worstToneError(sound, 2 * sampleRate + framesPerBlock, 3 * sampleRate - framesPerBlock),
        toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterTests, SilenceAloneMakesATrack)
{
    startWriter();
    writer_->fillWithSilence(at(5 * sampleRate / 2));
    writer_->fillWithSilence(at(sampleRate)); // no longer than it is
    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(collector_.segments.size(), 3U);
    EXPECT_EQ(sound.duration, 5 * sampleRate / 2);
    EXPECT_EQ(peak(sound.channels[0], 0, 5 * sampleRate / 2), 0);
}

TEST_F(FFmpegAudioAssetWriterTests, SamplesBeyondFullScaleAndNoNumbersDoNoHarm)
{
    startWriter();
    auto samples = silence(sampleRate);
    samples[20'000] = std::nanf("");
    samples[20'002] = INFINITY;
    samples[20'004] = -INFINITY;
    samples[20'006] = 3e38F;
    append(0, samples);
    append(sampleRate, tones(sampleRate, sampleRate));
    const DecodedSound sound = finishAndDecode();
    EXPECT_LT(peak(sound.channels[0], 0, sampleRate), 1.5F);
    EXPECT_LT(
        worstToneError(sound, sampleRate + framesPerBlock, 2 * sampleRate - framesPerBlock), toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterTests, MonoAtAnotherRateIsEncoded)
{
    auto writer = FFmpegAudioAssetWriter::make({44100, 1, 64'000}, {1, 1}, collector_);
    ASSERT_TRUE(writer);
    ASSERT_TRUE(writer->startWriting());
    std::vector<float> samples(66'150);
    samples[40'000] = 0.9F;
    const AudioFormat mono = {44100, 1, AudioSampleType::float32, AudioLayout::planar};
    EXPECT_TRUE(writer->append({mono, samples.size(), {0, 1}, std::as_bytes(std::span(samples)), true}));
    EXPECT_EQ(writer->finishWriting(), AssetWriterStatus::completed);
    const DecodedSound sound = decodeSound(collector_.playable(collector_.segments));
    EXPECT_EQ(sound.sampleRate, 44100);
    EXPECT_EQ(sound.duration, 66'150);
    ASSERT_EQ(sound.channels.size(), 1U);
    EXPECT_EQ(loudestFrame(sound.channels[0], 2000, 60'000), 40'000);
}

} // namespace
} // namespace glimto
