#include "Backends/X264/PictureMotion.h"

#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "Unit/X264/GrayPicture.h"

namespace glimto {
namespace {

constexpr int width = 320;
constexpr int height = 240;

template <typename First, typename Second> double likenessOf(First first, Second second)
{
    const GrayPicture before(width, height, first);
    const GrayPicture after(width, height, second);
    I420Picture earlier(width, height);
    I420Picture later(width, height);
    earlier.update(before.pixels(), std::array{before.bounds()});
    later.update(after.pixels(), std::array{after.bounds()});
    return likenessOf(earlier, later);
}

template <typename First, typename Second>
PictureMotion motionOf(First first, Second second, const PixelRect& changed = {0, 0, width, height})
{
    const GrayPicture before(width, height, first);
    const GrayPicture after(width, height, second);
    I420Picture earlier(width, height);
    I420Picture later(width, height);
    earlier.update(before.pixels(), std::array{before.bounds()});
    later.update(after.pixels(), std::array{changed});
    return motionBetween(earlier, later);
}

TEST(PictureMotionTests, ScrolledPageIsCopied)
{
    for (const int pixels : {1, 37, 120}) {
        const auto motion = motionOf(grain, [&](int x, int y) { return grain(x, y + pixels); });
        EXPECT_GT(motion.movedBlocks, 8);
        EXPECT_GE(motion.copiedShare(), 0.4) << pixels; // the rest has come in from below
    }
}

TEST(PictureMotionTests, DraggedWindowIsCopied)
{
    const auto motion = motionOf(grain, [](int x, int y) { return grain(x + 11, y - 7); });
    EXPECT_GE(motion.copiedShare(), 0.8);
}

TEST(PictureMotionTests, MotionBetweenPixelsIsNotCopied)
{
    const auto motion = motionOf(grain, [](int x, int y) { return grainBetween(x + 1.5, y); });
    EXPECT_GT(motion.movedBlocks, 8);
    EXPECT_EQ(motion.copiedBlocks, 0);
}

TEST(PictureMotionTests, WhatIsNewIsNotCopied)
{
    const auto motion = motionOf(grain, [](int x, int y) { return grain(x + 5000, y); });
    EXPECT_EQ(motion.copiedBlocks, 0);
}

// Waves some pixels long.
int waves(double x, double y)
{
    return static_cast<int>(128 + 50 * std::sin(x / 3) * std::sin(y / 4));
}

TEST(PictureMotionTests, SlowZoomIsAlike)
{
    const auto nearer = [](int x, int y) { return waves(x * 0.995, y * 0.995); };
    EXPECT_GT(likenessOf(waves, nearer), 2);
}

TEST(PictureMotionTests, WhatHasMovedByWholePixelsIsVeryMuchAlike)
{
    EXPECT_GT(likenessOf(grain, [](int x, int y) { return grain(x + 3, y - 2); }), 5);
}

TEST(PictureMotionTests, WhatIsNewIsNotAlike)
{
    EXPECT_LT(likenessOf(grain, [](int x, int y) { return grain(x + 5000, y); }), 1.7);
}

TEST(PictureMotionTests, PictureThatStandsStillIsNotComparedWithItself)
{
    EXPECT_EQ(likenessOf(grain, grain), 0);
}

TEST(PictureMotionTests, FlatAndUnchangedBlocksDoNotCount)
{
    const auto flat = [](int, int) { return 100; };
    EXPECT_EQ(motionOf(flat, [](int, int) { return 50; }).movedBlocks, 0);
    EXPECT_EQ(motionOf(grain, grain).movedBlocks, 0);
}

TEST(PictureMotionTests, OnlyWhatChangedIsLookedAt)
{
    const auto moved = [](int x, int y) { return grain(x + 5000, y); };
    EXPECT_EQ(motionOf(grain, moved, {0, 0, 0, 0}).movedBlocks, 0);
    const int half = motionOf(grain, moved, {0, 0, width / 2, height}).movedBlocks;
    const int whole = motionOf(grain, moved).movedBlocks;
    EXPECT_GT(half, 0);
    EXPECT_LT(half, whole);
}

TEST(PictureMotionTests, SmallestPictureIsLookedAt)
{
    const I420Picture before(2, 2);
    const I420Picture after(2, 2);
    EXPECT_EQ(motionBetween(before, after).copiedShare(), 0);
}

} // namespace
} // namespace glimto
