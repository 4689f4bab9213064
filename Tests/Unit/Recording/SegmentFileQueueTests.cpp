#include "Recording/SegmentFileQueue.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

// A disk that answers only when it is told to. Shared with the tasks on the queue.
struct StuckDisk {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::promise<void> reached;
};

std::shared_ptr<StuckDisk> occupy(SegmentFileQueue& queue, std::size_t bytes)
{
    auto disk = std::make_shared<StuckDisk>();
    queue.post(bytes, [disk] {
        disk->reached.set_value();
        disk->released.wait();
    });
    disk->reached.get_future().wait();
    return disk;
}

TEST(SegmentFileQueueTests, RunsTasksInOrder)
{
    std::vector<int> order;
    SegmentFileQueue queue;
    for (int number = 0; number < 5; ++number)
        queue.post(10, [&order, number] { order.push_back(number); });
    queue.drain();

    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(SegmentFileQueueTests, PostingDoesNotWaitForTheDiskWhileThereIsRoom)
{
    SegmentFileQueue queue(100);
    const auto disk = occupy(queue, 50);
    queue.post(50, [] {});

    disk->release.set_value();
    queue.drain();
}

TEST(SegmentFileQueueTests, PostingWaitsWhenTooMuchIsWaiting)
{
    SegmentFileQueue queue(100);
    const auto disk = occupy(queue, 60);
    auto encoder = std::async(std::launch::async, [&] { queue.post(60, [] {}); });

    EXPECT_EQ(encoder.wait_for(20ms), std::future_status::timeout);
    disk->release.set_value();
    EXPECT_EQ(encoder.wait_for(10s), std::future_status::ready);
}

TEST(SegmentFileQueueTests, APieceLargerThanTheLimitPassesAlone)
{
    bool ran = false;
    SegmentFileQueue queue(100);
    queue.post(1000, [&] { ran = true; });
    queue.drain();

    EXPECT_TRUE(ran);
}

TEST(SegmentFileQueueTests, ClosingLetsGoOfWhoWaitsForRoomAndDropsItsTask)
{
    std::atomic<bool> ran = false;
    SegmentFileQueue queue(100);
    const auto disk = occupy(queue, 100);
    std::thread encoder([&] { queue.post(1, [&] { ran = true; }); });
    queue.close();
    encoder.join();
    disk->release.set_value();
    queue.drain();

    EXPECT_FALSE(ran);
}

TEST(SegmentFileQueueTests, FinishingRunsWhatWasPostedAndThenTheLastTask)
{
    std::vector<int> order;
    SegmentFileQueue queue;
    queue.post(1, [&] { order.push_back(1); });
    queue.finish([&] { order.push_back(2); }, 10s);
    queue.post(1, [&] { order.push_back(3); });
    queue.drain();

    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(SegmentFileQueueTests, FinishingLetsGoOfADiskThatHangs)
{
    auto queue = std::make_unique<SegmentFileQueue>();
    const auto disk = occupy(*queue, 10);
    queue->finish([] {}, 1ms);
    queue->drain();
    queue.reset();

    // Neither the drain nor the destructor waited; the task ends on its own.
    disk->release.set_value();
}

TEST(SegmentFileQueueTests, FinishingWaitsForASlowDiskThatMakesProgress)
{
    std::atomic<int> done = 0;
    SegmentFileQueue queue;
    for (int number = 0; number < 60; ++number)
        queue.post(1, [&] {
            std::this_thread::sleep_for(5ms);
            ++done;
        });
    queue.finish([] {}, 250ms);

    EXPECT_EQ(done, 60);
}

} // namespace
} // namespace glimto
