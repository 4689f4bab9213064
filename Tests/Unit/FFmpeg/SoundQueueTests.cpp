#include "Backends/FFmpeg/SoundQueue.h"

#include <algorithm>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;

constexpr std::int64_t tolerance = 3;

// Mono, so that a frame is a number.
void append(SoundQueue& queue, std::int64_t start, const std::vector<float>& samples)
{
    queue.append(start, std::as_bytes(std::span(samples)));
}

std::vector<float> takeUpTo(SoundQueue& queue, std::size_t count)
{
    std::vector<float> samples(count);
    samples.resize(queue.take(samples));
    return samples;
}

TEST(SoundQueueTests, SoundComesOutInPiecesOfAnySize)
{
    SoundQueue queue(1, 8, tolerance);
    append(queue, 0, {1, 2, 3});
    append(queue, 3, {4, 5});
    EXPECT_THAT(takeUpTo(queue, 4), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(takeUpTo(queue, 4), ElementsAre(5));
    EXPECT_TRUE(takeUpTo(queue, 4).empty());
}

TEST(SoundQueueTests, ChannelsStayTogether)
{
    SoundQueue queue(2, 3, tolerance);
    append(queue, 0, {1, -1, 2, -2});
    EXPECT_THAT(takeUpTo(queue, 2), ElementsAre(1)); // one frame, which is two samples
    append(queue, 2, {3, -3, 4, -4});
    std::vector<float> samples(6);
    EXPECT_EQ(queue.take(samples), 3U);
    EXPECT_THAT(samples, ElementsAre(2, -2, 3, -3, 4, -4));
}

TEST(SoundQueueTests, GapAndLateBeginningAreSilent)
{
    SoundQueue queue(1, 8, tolerance);
    append(queue, 4, {1});
    append(queue, 8, {2});
    EXPECT_THAT(takeUpTo(queue, 20), ElementsAre(0, 0, 0, 0, 1, 0, 0, 0, 2));
}

TEST(SoundQueueTests, OverlapIsLeftOut)
{
    SoundQueue queue(1, 8, tolerance);
    append(queue, 0, {1, 2, 3, 4, 5});
    append(queue, 2, {10, 11, 12, 13});
    EXPECT_THAT(takeUpTo(queue, 20), ElementsAre(1, 2, 3, 4, 5, 13));
    EXPECT_EQ(queue.end(), 6);
}

TEST(SoundQueueTests, SoundThatOverlapsWhollyIsLeftOut)
{
    SoundQueue queue(1, 8, tolerance);
    append(queue, 0, {1, 2, 3, 4, 5});
    append(queue, -10, {10, 11});
    EXPECT_EQ(queue.end(), 5);
    EXPECT_EQ(queue.soundFrameCount(), 5U);
}

TEST(SoundQueueTests, LessThanTheToleranceIsContinuous)
{
    SoundQueue queue(1, 8, tolerance);
    append(queue, 2, {1, 2, 3});
    append(queue, 1, {4});
    append(queue, 6, {5});
    EXPECT_THAT(takeUpTo(queue, 20), ElementsAre(1, 2, 3, 4, 5));
}

TEST(SoundQueueTests, JustTheToleranceIsAGap)
{
    SoundQueue queue(1, 8, tolerance);
    append(queue, 3, {1});
    EXPECT_THAT(takeUpTo(queue, 20), ElementsAre(0, 0, 0, 1));
}

TEST(SoundQueueTests, SilenceIsFilledOnlyBeyondTheEnd)
{
    SoundQueue queue(1, 8, tolerance);
    append(queue, 0, {1, 2});
    queue.fillWithSilence(1);
    queue.fillWithSilence(4);
    append(queue, 4, {3});
    EXPECT_THAT(takeUpTo(queue, 20), ElementsAre(1, 2, 0, 0, 3));
}

TEST(SoundQueueTests, HoursOfSilenceTakeNoRoom)
{
    SoundQueue queue(1, 8, tolerance);
    queue.fillWithSilence(1'000'000'000'000);
    EXPECT_EQ(queue.soundFrameCount(), 0U);
    EXPECT_THAT(takeUpTo(queue, 3), ElementsAre(0, 0, 0));
    EXPECT_EQ(queue.end(), 1'000'000'000'000);
}

TEST(SoundQueueTests, MoreThanTheCapacityIsHeldAllTheSame)
{
    SoundQueue queue(1, 4, tolerance);
    append(queue, 0, {1, 2, 3});
    EXPECT_THAT(takeUpTo(queue, 2), ElementsAre(1, 2));
    append(queue, 3, {4, 5, 6, 7, 8, 9});
    EXPECT_THAT(takeUpTo(queue, 20), ElementsAre(3, 4, 5, 6, 7, 8, 9));
}

// Random operations, against a list of all frames.
TEST(SoundQueueTests, RandomOperationsAgreeWithAPlainList)
{
    std::minstd_rand random(7);
    const auto upTo = [&](int most) { return std::uniform_int_distribution(0, most)(random); };
    SoundQueue queue(1, 16, tolerance);
    std::vector<float> expected;
    std::vector<float> taken;
    float next = 1;
    for (int step = 0; step < 20'000; ++step) {
        const auto end = static_cast<std::int64_t>(expected.size());
        const std::int64_t start = end - 12 + upTo(24);
        switch (upTo(2)) {
        case 0: {
            std::vector<float> samples(static_cast<std::size_t>(upTo(12)));
            std::generate(samples.begin(), samples.end(), [&] { return next++; });
            append(queue, start, samples);
            std::int64_t skipped = 0;
            if (start >= end + tolerance)
                expected.resize(static_cast<std::size_t>(start));
            else if (start <= end - tolerance)
                skipped = std::min<std::int64_t>(end - start, std::ssize(samples));
            expected.insert(expected.end(), samples.begin() + skipped, samples.end());
            break;
        }
        case 1:
            queue.fillWithSilence(start);
            expected.resize(static_cast<std::size_t>(std::max(start, end)));
            break;
        default: {
            const auto samples = takeUpTo(queue, static_cast<std::size_t>(upTo(20)));
            taken.insert(taken.end(), samples.begin(), samples.end());
        }
        }
        ASSERT_EQ(queue.end(), std::ssize(expected)) << "step " << step;
    }
    const auto rest = takeUpTo(queue, expected.size());
    taken.insert(taken.end(), rest.begin(), rest.end());
    EXPECT_GT(taken.size(), 10'000U);
    EXPECT_EQ(taken, expected);
}

} // namespace
} // namespace glimto
