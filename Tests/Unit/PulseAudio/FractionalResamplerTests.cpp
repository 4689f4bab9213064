#include "Backends/PulseAudio/FractionalResampler.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

double sine(double frame, double cyclesPerFrame)
{
    return std::sin(2 * std::numbers::pi * cyclesPerFrame * frame);
}

// Mono, from frame 0 on.
std::vector<float> sineFrames(std::size_t count, double cyclesPerFrame)
{
    std::vector<float> frames(count);
    for (std::size_t at = 0; at < count; ++at)
        frames[at] = static_cast<float>(sine(static_cast<double>(at), cyclesPerFrame));
    return frames;
}

double worstDifference(const std::vector<float>& found, double position, double step, double cyclesPerFrame)
{
    double worst = 0;
    for (std::size_t at = 0; at < found.size(); ++at)
        worst = std::max(
            worst, std::abs(found[at] - sine(position + step * static_cast<double>(at), cyclesPerFrame)));
    return worst;
}

class FractionalResamplerTests : public testing::TestWithParam<double> { };

// 48 kHz: 1 kHz, 10 kHz, 17 kHz.
INSTANTIATE_TEST_SUITE_P(Tones, FractionalResamplerTests, testing::Values(1.0 / 48, 10.0 / 48, 17.0 / 48));

TEST_P(FractionalResamplerTests, ReadsAToneBetweenItsFrames)
{
    FractionalResampler resampler(1);
    resampler.append(sineFrames(48000, GetParam()));
    std::vector<float> found;
    resampler.read(100.37, 1.0002, 40000, found);
    ASSERT_EQ(found.size(), 40000U);
    EXPECT_LT(worstDifference(found, 100.37, 1.0002, GetParam()), 0.0003);
}

TEST_P(FractionalResamplerTests, ReadingInPiecesIsReadingAtOnce)
{
    const auto frames = sineFrames(48000, GetParam());
    FractionalResampler whole(1);
    whole.append(frames);
    std::vector<float> expected;
    whole.read(50, 1.0, 40000, expected);

    FractionalResampler pieces(1);
    std::vector<float> found;
    for (std::size_t at = 0; at < 400; ++at) {
        pieces.append(std::span(frames).subspan(at * 120, 120));
        if (at >= 2)
            pieces.read(50 + static_cast<double>(at - 2) * 100, 1.0, 100, found);
    }
    expected.resize(found.size());
    EXPECT_EQ(found, expected);
}

TEST(FractionalResamplerTests, WholeFramesComeThroughUnchanged)
{
    FractionalResampler resampler(1);
    const auto frames = sineFrames(1000, 0.01);
    resampler.append(frames);
    std::vector<float> found;
    resampler.read(0, 1, 900, found);
    for (std::size_t at = 0; at < found.size(); ++at)
        ASSERT_NEAR(found[at], frames[at], 1e-6);
}

TEST(FractionalResamplerTests, ChannelsStayApart)
{
    FractionalResampler resampler(3);
    std::vector<float> frames;
    for (int at = 0; at < 200; ++at)
        frames.insert(frames.end(), {0.25F, -0.5F, 1.0F});
    resampler.append(frames);
    std::vector<float> found;
    resampler.read(50.5, 1.001, 100, found);
    ASSERT_EQ(found.size(), 300U);
    for (std::size_t at = 0; at < found.size(); at += 3) {
        ASSERT_NEAR(found[at], 0.25, 1e-4);
        ASSERT_NEAR(found[at + 1], -0.5, 1e-4);
        ASSERT_NEAR(found[at + 2], 1.0, 1e-4);
    }
}

TEST(FractionalResamplerTests, SilenceIsSilent)
{
    FractionalResampler resampler(2);
    resampler.appendSilence(1000);
    std::vector<float> found;
    resampler.read(0.3, 1.0001, 900, found);
    EXPECT_TRUE(std::all_of(found.begin(), found.end(), [](float sample) { return sample == 0; }));
}

TEST(FractionalResamplerTests, NeighboursOnBothSidesAreNeeded)
{
    FractionalResampler resampler(1);
    resampler.appendSilence(100);
    EXPECT_EQ(resampler.appendedFrames(), 100);
    EXPECT_EQ(resampler.readableEnd(), 84);
}

} // namespace
} // namespace glimto
