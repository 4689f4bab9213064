#include "Audio/StereoFrameQueue.h"

#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

std::vector<float> samples(StereoFrameQueue& queue)
{
    const auto all = queue.frames(0, queue.frameCount());
    return {all.begin(), all.end()};
}

TEST(StereoFrameQueueTests, ExtendsWithSilence)
{
    StereoFrameQueue queue(0);
    queue.extendTo(2);
    EXPECT_EQ(samples(queue), (std::vector<float>{0, 0, 0, 0}));
    queue.extendTo(1);
    EXPECT_EQ(queue.frameCount(), 2U);
}

TEST(StereoFrameQueueTests, FramesAreTakenFromTheFront)
{
    StereoFrameQueue queue(0);
    queue.extendTo(3);
    for (std::size_t frame = 0; frame < 3; ++frame)
        queue.frames(frame, 1)[0] = static_cast<float>(frame);
    queue.removeFirst(1);
    EXPECT_EQ(samples(queue), (std::vector<float>{1, 0, 2, 0}));
}

TEST(StereoFrameQueueTests, KeepsItsFramesWhenItRunsOutOfRoom)
{
    StereoFrameQueue queue(4);
    queue.extendTo(4);
    queue.frames(3, 1)[1] = 0.5F;
    queue.removeFirst(3);
    queue.extendTo(4);
    EXPECT_EQ(samples(queue), (std::vector<float>{0, 0.5F, 0, 0, 0, 0, 0, 0}));
}

TEST(StereoFrameQueueTests, IsSilentAgainWhereSoundWasTakenAway)
{
    StereoFrameQueue queue(4);
    queue.extendTo(2);
    queue.frames(0, 1)[0] = 1;
    queue.frames(1, 1)[1] = 1;
    queue.removeFirst(2);
    queue.extendTo(2);
    EXPECT_EQ(samples(queue), (std::vector<float>{0, 0, 0, 0}));
}

TEST(StereoFrameQueueTests, ClearedQueueIsEmpty)
{
    StereoFrameQueue queue(0);
    queue.extendTo(5);
    queue.removeFirst(1);
    queue.clear();
    EXPECT_EQ(queue.frameCount(), 0U);
}

} // namespace
} // namespace glimto
