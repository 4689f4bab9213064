#include "Backends/X264/X264VideoEncoder.h"

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "Unit/X264/GrayPicture.h"

namespace glimto {
namespace {

constexpr int width = 320;
constexpr int height = 240;
constexpr int framesBetweenKeyframes = 120;
constexpr VideoTime frameDuration = VideoTime(std::chrono::seconds(1)) / 30;

// Gives frames to an encoder, one each thirtieth of a second.
class Recording {
public:
    explicit Recording(std::int64_t bitsPerSecond = 2'000'000)
        : encoder_(factory_.makeEncoder({.width = width,
            .height = height,
            .framesPerSecond = 30,
            .averageBitRate = bitsPerSecond,
            .maxKeyFrameInterval = framesBetweenKeyframes,
            .maxKeyFrameIntervalDuration = std::chrono::seconds(4)}))
    {
    }

    // Returns the times of the pictures that come out, in frames.
    template <typename Level> std::vector<int> show(Level level)
    {
        const GrayPicture picture(width, height, level);
        const MemoryPicture frame(picture.pixels());
        const auto kind
            = frame_ % framesBetweenKeyframes == 0 ? PictureKind::keyframe : PictureKind::predicted;
        return framesOf(encoder_->encode(frame, std::array{picture.bounds()}, nextTime(), kind));
    }

    std::vector<int> rest()
    {
        const auto finer = encoder_->refine(nextTime());
        return finer ? framesOf(*finer) : std::vector<int>{};
    }

    std::vector<int> finish() { return framesOf(encoder_->finish()); }

private:
    VideoTime nextTime() { return frameDuration * frame_++; }

    static std::vector<int> framesOf(const std::vector<EncodedPicture>& pictures)
    {
        std::vector<int> frames;
        for (const EncodedPicture& picture : pictures)
            frames.push_back(static_cast<int>(picture.time / frameDuration));
        return frames;
    }

    X264VideoEncoderFactory factory_;
    std::unique_ptr<VideoEncoder> encoder_;
    int frame_ = 0;
};

using Frames = std::vector<int>;

bool isOut(int frame, const Frames& frames)
{
    return std::ranges::find(frames, frame) != frames.end();
}

auto scrolledBy(int pixels)
{
    return [pixels](int x, int y) { return grain(x, y + pixels); };
}

auto movedBy(double pixels)
{
    return [pixels](int x, int y) { return grainBetween(x + pixels, y); };
}

TEST(X264VideoEncoderTests, FirstPictureWaitsForTheNextOne)
{
    Recording recording;
    EXPECT_EQ(recording.show(scrolledBy(0)), Frames{});
    EXPECT_EQ(recording.show(scrolledBy(3)), (Frames{0, 1}));
}

TEST(X264VideoEncoderTests, FirstPictureComesOutWhenItRests)
{
    Recording recording;
    EXPECT_EQ(recording.show(scrolledBy(0)), Frames{});
    EXPECT_EQ(recording.rest(), (Frames{0, 1}));
}

TEST(X264VideoEncoderTests, FirstPictureComesOutAtTheEnd)
{
    Recording recording;
    recording.show(scrolledBy(0));
    EXPECT_EQ(recording.finish(), Frames{0});
}

TEST(X264VideoEncoderTests, ScrolledPicturesComeOutAtOnce)
{
    Recording recording;
    recording.show(scrolledBy(0));
    recording.show(scrolledBy(3));
    for (int frame = 2; frame < 20; ++frame)
        EXPECT_EQ(recording.show(scrolledBy(3 * frame)), Frames{frame});
}

// However coarse they have to be.
TEST(X264VideoEncoderTests, LogThatNeedsMoreBitsThanThereAreComesOutAtOnce)
{
    Recording recording(400'000);
    recording.show(scrolledBy(0));
    recording.show(scrolledBy(40));
    for (int frame = 2; frame < 40; ++frame)
        EXPECT_EQ(recording.show(scrolledBy(40 * frame)), Frames{frame});
}

// Two of three are predicted from the third one as well.
// 60 pictures that move by parts of a pixel, in the order in which they come out.
struct MovingTake {
    explicit MovingTake(int bitsPerSecond)
    {
        Recording recording(bitsPerSecond);
        for (int frame = 0; frame < count; ++frame) {
            const Frames frames = recording.show(movedBy(1.37 * frame));
            waiting += isOut(frame, frames) ? 0 : 1;
            order.insert(order.end(), frames.begin(), frames.end());
        }
        const Frames rest = recording.finish();
        order.insert(order.end(), rest.begin(), rest.end());
    }

    int backwards() const
    {
        int steps = 0;
        for (std::size_t index = 1; index < order.size(); ++index)
            steps += order[index] < order[index - 1] ? 1 : 0;
        return steps;
    }

    static constexpr int count = 60;
    int waiting = 0; // did not come out at once
    Frames order;
};

Frames everyFrame()
{
    Frames frames(MovingTake::count);
    std::iota(frames.begin(), frames.end(), 0);
    return frames;
}

TEST(X264VideoEncoderTests, PicturesThatMoveBetweenPixelsArePredictedFromTheNextOnesWhereBitsAreShort)
{
    MovingTake take(400'000);
    EXPECT_GE(take.waiting, 30);
    EXPECT_GE(take.backwards(), 15);
    std::ranges::sort(take.order);
    EXPECT_EQ(take.order, everyFrame());
}

TEST(X264VideoEncoderTests, PicturesThatMoveBetweenPixelsFollowOneAnotherWhereBitsSuffice)
{
    const MovingTake take(20'000'000);
    EXPECT_GE(take.waiting, 30);
    EXPECT_EQ(take.order, everyFrame());
}

// What quick tools find as well is not worth waiting for.
TEST(X264VideoEncoderTests, PicturesComeOutAtOnceAgainWhenThoseBeforeAKeyframeWereCopied)
{
    Recording recording;
    for (int frame = 0; frame < 60; ++frame)
        recording.show(movedBy(1.37 * frame));
    std::size_t waiting = 0;
    for (int frame = 60; frame < framesBetweenKeyframes; ++frame)
        waiting += isOut(frame, recording.show(scrolledBy(3 * frame))) ? 0U : 1U;
    EXPECT_GE(waiting, 30U);
    recording.show(scrolledBy(3 * framesBetweenKeyframes));
    for (int frame = framesBetweenKeyframes + 1; frame < 150; ++frame)
        EXPECT_EQ(recording.show(scrolledBy(3 * frame)), Frames{frame});
}

TEST(X264VideoEncoderTests, PicturesGoOnWaitingAfterAKeyframeWhileTheyMoveBetweenPixels)
{
    Recording recording;
    for (int frame = 0; frame <= framesBetweenKeyframes; ++frame)
        recording.show(movedBy(1.37 * frame));
    std::size_t waiting = 0;
    for (int frame = framesBetweenKeyframes + 1; frame < 150; ++frame)
        waiting += isOut(frame, recording.show(movedBy(1.37 * frame))) ? 0U : 1U;
    EXPECT_GE(waiting, 15U);
}

TEST(X264VideoEncoderTests, PicturesThatWaitComeOutWhenNothingMoves)
{
    Recording recording;
    Frames all;
    const auto add = [&](const Frames& frames) { all.insert(all.end(), frames.begin(), frames.end()); };
    for (int frame = 0; frame < 20; ++frame)
        add(recording.show(movedBy(1.37 * frame)));
    for (int frame = 0; frame < 5; ++frame)
        add(recording.rest());
    std::ranges::sort(all);
    Frames given(20);
    std::iota(given.begin(), given.end(), 0);
    ASSERT_GE(all.size(), given.size());
    EXPECT_EQ(Frames(all.begin(), all.begin() + 20), given);
}

TEST(X264VideoEncoderTests, StillPictureIsMadeFinerAtOnce)
{
    Recording recording;
    recording.show(scrolledBy(0));
    for (int frame = 1; frame < 6; ++frame)
        recording.rest();
    recording.show(scrolledBy(5000)); // something else
    const Frames frames = recording.rest();
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames.back(), 7);
}

// A film shows some pictures twice, a log shows each of them twice.
TEST(X264VideoEncoderTests, PictureIsNotMadeFinerBetweenOthersThatMove)
{
    Recording recording;
    recording.show(scrolledBy(0));
    for (int round = 1; round < 10; ++round) {
        recording.show(scrolledBy(3 * round));
        EXPECT_EQ(recording.rest(), Frames{}) << round;
    }
    Frames later;
    for (int frame = 0; frame < 5 && later.empty(); ++frame)
        later = recording.rest();
    EXPECT_EQ(later.size(), 1U);
}

} // namespace
} // namespace glimto
