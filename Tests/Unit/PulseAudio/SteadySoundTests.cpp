#include "Backends/PulseAudio/SteadySound.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

#include "SimulatedDevice.h"

namespace glimto {
namespace {

constexpr double toneHertz = 440; // as heard in truth

struct Delivered {
    HostTime time = {};
    HostTime now = {};
    std::vector<float> samples;

    HostTime end() const
    {
        const double nanoseconds = static_cast<double>(samples.size()) * 1e9 / SimulatedDevice::sampleRate;
        return time + HostClock::duration(std::llround(nanoseconds));
    }
};

double nanoseconds(HostClock::duration duration)
{
    return static_cast<double>(duration.count());
}

class SteadySoundTests : public testing::Test {
protected:
    // The sound of so many seconds, reported truthfully; a sine of the host clock.
    void play(double seconds)
    {
        const auto blocks
            = static_cast<int>(seconds * SimulatedDevice::sampleRate / SimulatedDevice::blockFrames);
        for (int block = 0; block < blocks; ++block) {
            std::vector<float> samples;
            for (std::int64_t at = 0; at < SimulatedDevice::blockFrames; ++at)
                samples.push_back(toneAt(device.heardAt(static_cast<double>(frame + at))));
            frame += SimulatedDevice::blockFrames;
            now = device.arrivalOf(frame) - earliness;
            sound.append(samples, now);
            if (sound.isWaitingForReports() || ++sinceReport == 10) {
                sound.observe(device.reportOf(frame));
                sinceReport = 0;
            }
        }
    }

    static float toneAt(double hostTime)
    {
        return static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * toneHertz * hostTime / 1e9));
    }

    // Between the tone's samples that lie so many seconds apart.
    static double differenceWithin(double seconds)
    {
        return 0.5 * 2 * std::numbers::pi * toneHertz * seconds;
    }

    // Between buffers, in nanoseconds.
    double worstSeam() const
    {
        double worst = 0;
        for (std::size_t at = 1; at < delivered.size(); ++at)
            worst = std::max(worst, std::abs(nanoseconds(delivered[at].time - delivered[at - 1].end())));
        return worst;
    }

    // The largest difference from the tone at the time that each sample claims.
    double worstSample(std::size_t firstBuffer) const
    {
        double worst = 0;
        for (std::size_t at = firstBuffer; at < delivered.size(); ++at) {
            const auto& buffer = delivered[at];
            for (std::size_t sample = 0; sample < buffer.samples.size(); ++sample) {
                const double time = nanoseconds(buffer.time.time_since_epoch())
                    + static_cast<double>(sample) * 1e9 / SimulatedDevice::sampleRate;
                worst = std::max(worst, std::abs(static_cast<double>(buffer.samples[sample] - toneAt(time))));
            }
        }
        return worst;
    }

    void take(const AudioBuffer& buffer)
    {
        Delivered one{.time = HostTime(HostClock::duration(buffer.presentationTime.nanoseconds())),
            .now = now,
            .samples = {}};
        one.samples.resize(buffer.frameCount);
        std::memcpy(one.samples.data(), buffer.bytes.data(), buffer.bytes.size());
        EXPECT_EQ(buffer.dataStatus(), AudioDataStatus::whole);
        EXPECT_TRUE(buffer.isReady);
        delivered.push_back(std::move(one));
    }

    SimulatedDevice device;
    HostClock::duration earliness{0}; // of the arrivals
    std::int64_t frame = 0;
    HostTime now;
    int sinceReport = 0;
    std::vector<Delivered> delivered;
    SteadySound sound{SimulatedDevice::sampleRate, 1, [this](const AudioBuffer& buffer) { take(buffer); }};
};

TEST_F(SteadySoundTests, NothingComesBeforeItsTimeIsKnownAndNothingIsLost)
{
    play(0.05);
    EXPECT_TRUE(delivered.empty());
    play(0.1);
    ASSERT_FALSE(delivered.empty());
    EXPECT_NEAR(nanoseconds(delivered.front().time.time_since_epoch()), device.heardAt(0), 1000);
}

TEST_F(SteadySoundTests, BuffersJoinAndEverySampleLiesAtItsTime)
{
    device = SimulatedDevice(0.0002);
    play(20);
    EXPECT_LE(worstSeam(), 1);
    EXPECT_LT(worstSample(0), differenceWithin(300e-6));
    EXPECT_LT(worstSample(delivered.size() - 40), differenceWithin(15e-6));
}

TEST_F(SteadySoundTests, WhatIsPlayedLaterIsHandedOutWhenItIsPlayed)
{
    earliness = SimulatedDevice::delay + 60ms;
    play(2);
    ASSERT_FALSE(delivered.empty());
    for (const auto& buffer : delivered)
        ASSERT_LE(buffer.end(), buffer.now);
    EXPECT_EQ(sound.nextDelivery(), delivered.back().end() + 25ms);
    now = sound.nextDelivery();
    const auto before = delivered.size();
    sound.deliver(now - 1ns);
    EXPECT_EQ(delivered.size(), before);
    sound.deliver(now);
    EXPECT_EQ(delivered.size(), before + 1);
}

TEST_F(SteadySoundTests, AStallWithLossLeavesAGapOfItsLength)
{
    play(10);
    const auto before = delivered.back().end();
    const auto count = delivered.size();
    device.lose(3s);
    play(1);
    ASSERT_GT(delivered.size(), count);
    EXPECT_NEAR(nanoseconds(delivered[count].time - before), 3e9, 2e6);
}

TEST_F(SteadySoundTests, AStallWithoutLossLeavesNoGap)
{
    play(10);
    sound.didPause();
    play(10);
    EXPECT_LE(worstSeam(), 1);
}

TEST_F(SteadySoundTests, LostFramesAreSilent)
{
    play(1);
    frame += SimulatedDevice::blockFrames;
    now = device.arrivalOf(frame);
    sound.appendSilence(SimulatedDevice::blockFrames, now);
    play(1);
    EXPECT_LE(worstSeam(), 1);
    const auto isSilent = [](const Delivered& buffer) {
        return std::all_of(buffer.samples.begin() + 100, buffer.samples.end() - 100,
            [](float sample) { return sample == 0; });
    };
    EXPECT_EQ(std::count_if(delivered.begin(), delivered.end(), isSilent), 1);
}

} // namespace
} // namespace glimto
