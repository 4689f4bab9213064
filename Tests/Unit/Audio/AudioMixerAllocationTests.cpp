// A sanitizer has operators of its own.
#ifndef GLIMTO_SANITIZED

#include <atomic>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include "AudioMixerFixture.h"

namespace {

std::atomic<std::int64_t> allocationCount = 0;

} // namespace

// Every allocation of this test program is counted.
void* operator new(std::size_t size)
{
    ++allocationCount;
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace glimto {
namespace {

// Buffers of 10 ms; the first seconds may allocate, the minute after them may not.
class AudioMixerAllocationTests : public testing::Test {
protected:
    static constexpr std::int64_t settlingBuffers = 500;
    static constexpr std::int64_t countedBuffers = 6000;

    AudioMixer mixer{std::vector<AudioMixerSource>{systemSource, microphoneSource}, 48000,
        [this](const AudioBuffer& buffer) { framesOut += buffer.frameCount; }, converters, standardOutput};

    // Allocations of the counted calls of `deliver`, which gets the number of each buffer's first frame.
    template <typename Deliver> std::int64_t allocationsOf(Deliver deliver)
    {
        for (std::int64_t number = 0; number < settlingBuffers; ++number)
            deliver(number * 480);
        const std::int64_t before = allocationCount;
        framesOut = 0;
        for (std::int64_t number = settlingBuffers; number < settlingBuffers + countedBuffers; ++number)
            deliver(number * 480);
        return allocationCount - before;
    }

    FakeAudioConverterFactory converters;
    FakeLineOutput standardOutput;
    std::size_t framesOut = 0;
    AudioSamples stereo{{48000, 2, AudioSampleType::float32, AudioLayout::planar}, 480, {0.25F, 0.5F}};
    AudioSamples integers{
        {48000, 2, AudioSampleType::integer16, AudioLayout::interleaved}, 480, {0.25F, 0.5F}};
};

TEST_F(AudioMixerAllocationTests, CounterCounts)
{
    const std::int64_t before = allocationCount;
    const auto memory = std::make_unique<StereoFrameQueue>(100);
    EXPECT_EQ(allocationCount, before + 2);
}

TEST_F(AudioMixerAllocationTests, TwoSourcesAllocateNothing)
{
    const auto allocations = allocationsOf([this](std::int64_t start) {
        mixer.append(stereo.buffer(), systemSource, {start, 48000});
        mixer.append(stereo.buffer(), microphoneSource, {start + 100, 48000});
    });
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(framesOut, countedBuffers * 480U);
}

TEST_F(AudioMixerAllocationTests, ConversionAllocatesNothing)
{
    const auto allocations = allocationsOf([this](std::int64_t start) {
        mixer.append(stereo.buffer(), systemSource, {start, 48000});
        mixer.append(integers.buffer(), microphoneSource, {start + 100, 48000});
    });
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(framesOut, countedBuffers * 480U);
}

TEST_F(AudioMixerAllocationTests, SourceThatWaitsForTheOtherAllocatesNothing)
{
    const auto allocations = allocationsOf([this](std::int64_t start) {
        mixer.append(stereo.buffer(), systemSource, {start, 48000});
    });
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(framesOut, countedBuffers * 480U);
}

TEST_F(AudioMixerAllocationTests, GapsAndNewRunsAllocateNothing)
{
    const auto allocations = allocationsOf([this](std::int64_t start) {
        const std::int64_t pauses = start / 4800;
        mixer.append(stereo.buffer(), systemSource, {start + pauses * 40000, 48000});
        mixer.append(
            stereo.buffer(), microphoneSource, {start + pauses * 40000 + (pauses / 10) * 90000, 48000});
    });
    EXPECT_EQ(allocations, 0);
    EXPECT_GT(framesOut, countedBuffers * 480U);
}

} // namespace
} // namespace glimto

#endif
