#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "AudioMixerFixture.h"
#include "AudioMixerModel.h"

namespace glimto {
namespace {

// Two sources that drift, jitter, overlap, pause, stall and jump, the same for every seed on every machine.
class RandomSchedule {
public:
    struct Step {
        AudioMixerSource source = systemSource;
        MediaTime time;
        AudioFormat format;
        std::vector<std::vector<float>> channels;
    };

    RandomSchedule(unsigned seed, int sampleRate)
        : random_(seed)
        , sampleRate_(sampleRate)
        , second_(sampleRate)
        , firstFrame_(between(-2 * second_, 10 * second_))
    {
    }

    std::vector<AudioMixerSource> sources()
    {
        const std::vector<std::vector<AudioMixerSource>> choices{{systemSource, microphoneSource},
            {microphoneSource, systemSource}, {systemSource, microphoneSource}, {systemSource},
            {microphoneSource}};
        return choices[static_cast<std::size_t>(between(0, 4))];
    }

    Step next(const AudioMixerModel& model)
    {
        if (stepsOfStall_-- <= 0) {
            source_ = slowerSource(model);
            if (between(0, 9) == 0)
                source_ = between(0, 1) == 0 ? systemSource : microphoneSource;
            if (between(0, 19) == 0)
                stepsOfStall_ = static_cast<int>(between(1, 30));
        }
        Step step;
        step.source = source_;
        step.time = timeOf(startOf(model));
        const bool isMono = between(0, 2) == 0;
        step.format = {sampleRate_, isMono ? 1 : 2,
            between(0, 2) == 0 ? AudioSampleType::integer16 : AudioSampleType::float32,
            between(0, 1) == 0 ? AudioLayout::planar : AudioLayout::interleaved};
        const auto frameCount
            = static_cast<std::size_t>(between(0, 9) == 0 ? between(0, second_) : between(0, second_ / 50));
        for (int channel = 0; channel < step.format.channelCount; ++channel)
            step.channels.push_back(noise(frameCount, step.format.sampleType));
        return step;
    }

private:
    // Uniform enough, and the same everywhere, which the standard's distributions are not.
    std::int64_t between(std::int64_t low, std::int64_t high)
    {
        return low + static_cast<std::int64_t>(random_() % static_cast<std::uint64_t>(high - low + 1));
    }

    AudioMixerSource slowerSource(const AudioMixerModel& model)
    {
        const auto system = model.endOf(systemSource);
        const auto microphone = model.endOf(microphoneSource);
        return system.value_or(firstFrame_) <= microphone.value_or(firstFrame_) ? systemSource
                                                                                : microphoneSource;
    }

    std::int64_t startOf(const AudioMixerModel& model)
    {
        const auto end = model.endOf(source_);
        if (!end) // the other one may be running for long
            return model.latestEnd.value_or(firstFrame_) + between(-second_ / 2, second_ / 4);
        const std::int64_t sign = between(0, 1) == 0 ? -1 : 1;
        switch (between(0, 15)) {
        case 0: // around the tolerance
            return *end + sign * (second_ / 100 + between(-1, 1));
        case 1: // a gap or an overlap
            return *end + sign * between(0, second_ / 10);
        case 2:
            return *end + sign * between(0, second_);
        case 3: // around the end of the run
            return *model.latestEnd + second_ + between(-1, 1);
        case 4: // far off, either way
            return *end + (between(0, 3) == 0 ? sign * between(0, 3 * second_) : 0);
        case 5: // back in step with the other one
            return *model.latestEnd;
        default:
            return *end + between(-second_ / 100, second_ / 100);
        }
    }

    // In different timescales, between two frames where the scale allows it.
    MediaTime timeOf(std::int64_t frame)
    {
        switch (between(0, 3)) {
        case 0:
            return {frame, sampleRate_};
        case 1: // half frames are rounded away from zero
            return {2 * frame + between(-1, 1), 2 * sampleRate_};
        case 2:
            return {frame * 90000 / sampleRate_, 90000};
        default:
            return MediaTime::fromNanoseconds(frame * 1'000'000'000 / sampleRate_
                + between(-400'000'000 / sampleRate_, 400'000'000 / sampleRate_));
        }
    }

    // Multiples of 1/64, so that sums are exact in any order.
    std::vector<float> noise(std::size_t frameCount, AudioSampleType type)
    {
        const std::int64_t loudest = type == AudioSampleType::float32 ? 90 : 63;
        std::vector<float> samples(frameCount);
        for (float& sample : samples)
            sample = static_cast<float>(between(-loudest, loudest)) / 64;
        return samples;
    }

    std::mt19937_64 random_;
    int sampleRate_;
    std::int64_t second_;
    std::int64_t firstFrame_;
    AudioMixerSource source_ = systemSource;
    int stepsOfStall_ = 0;
};

class AudioMixerPropertyTests : public AudioMixerFixture {
protected:
    // Everything that the mixer handed on since the last call.
    AudioMixerModel::Frames takeFrames()
    {
        for (const auto& piece : track.pieces)
            EXPECT_TRUE(piece.frameCount >= 1 && piece.frameCount <= 1024);
        track.buffers.clear();
        track.pieces.clear();
        return std::exchange(track.frames, {});
    }

    // Whether mixer and model agree about one schedule, buffer by buffer.
    bool agree(unsigned seed, int sampleRate, int steps)
    {
        RandomSchedule schedule(seed, sampleRate);
        const auto sources = schedule.sources();
        AudioMixerModel model(sources, sampleRate);
        const auto mixer = makeMixer(sources, sampleRate);
        bool same = true;
        for (int number = 0; number < steps && same; ++number) {
            const auto step = schedule.next(model);
            mixer->append(AudioSamples(step.format, step.channels).buffer(), step.source, step.time);
            std::vector<StereoFrame> sound;
            for (std::size_t frame = 0; frame < step.channels.front().size(); ++frame)
                sound.push_back({step.channels.front()[frame], step.channels.back()[frame]});
            const auto expected = model.append(step.source, step.time, sound);
            framesCompared += expected.size();
            same = takeFrames() == expected;
        }
        mixer->finish();
        return same && takeFrames() == model.finish();
    }

    std::size_t framesCompared = 0;
};

TEST_F(AudioMixerPropertyTests, AgreesWithTheModelOnThousandsOfSchedules)
{
    for (unsigned seed = 0; seed < 4000; ++seed)
        ASSERT_TRUE(agree(seed, 1000, 60)) << "seed " << seed;
    EXPECT_GT(framesCompared, 4000U * 1000U);
    EXPECT_EQ(standardOutput.text(), "");
}

TEST_F(AudioMixerPropertyTests, AgreesWithTheModelAtOtherRates)
{
    for (unsigned seed = 0; seed < 100; ++seed) {
        ASSERT_TRUE(agree(seed, 8000, 60)) << "8000 Hz, seed " << seed;
        ASSERT_TRUE(agree(seed, 11025, 60)) << "11025 Hz, seed " << seed;
    }
    for (unsigned seed = 0; seed < 20; ++seed)
        ASSERT_TRUE(agree(seed, 48000, 60)) << "48000 Hz, seed " << seed;
    EXPECT_GT(framesCompared, 1'000'000U);
}

} // namespace
} // namespace glimto
